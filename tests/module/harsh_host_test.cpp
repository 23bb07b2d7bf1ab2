// Hosts that exit or cancel threads in the midst of calls: what harsh_host.c does, in processes of
// its own.

#include "simulator/plant_server.hpp"
#include "tests/module/recording_host.hpp"
#include "tests/support/certificate_factory.hpp"
#include <sys/wait.h>

#include <spawn.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;
namespace simulator = tarvik::simulator;
namespace test_support = tarvik::monitoring_modules::test_support;

namespace {

/// How the host ended: its exit code, or the negative number of the signal that killed it.
int end_of_host(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {HARSH_HOST_PATH, OPCUA_MODULE_PATH});
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    // While a process exits, the thread sanitizer finds no names of functions, by which the stack's
    // order of locks is excepted; other tests watch ours.
    static const int deadlocks_unwatched = [] {
        const char* const given = std::getenv("TSAN_OPTIONS");
        const std::string options =
            (given != nullptr ? given : "") + std::string{":detect_deadlocks=0"};
        return setenv("TSAN_OPTIONS", options.c_str(), 1);
    }();
    static_cast<void>(deadlocks_unwatched);
    pid_t child = 0;
    if (posix_spawn(&child, HARSH_HOST_PATH, nullptr, nullptr, pointers.data(), environ) != 0) {
        return -1;
    }
    int status = 0;
    waitpid(child, &status, 0); // it ends itself after a while, whatever happens
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// One record for each thread of the host: plain and secured connections, values and certificates.
std::vector<std::string> records(std::uint16_t port) {
    const auto request = test_support::application_request("urn:harsh:host");
    // Its own pair, so that no host spends seconds on making one.
    const setting_map plain{
        {"credentials.connection_security.client_certificate",
         test_support::make_certificate(request).pem},
        {"credentials.connection_security.client_key", test_support::private_key_pem(request.key)},
    };
    setting_map secured = plain;
    secured["credentials.connection_security.security_mode"] = "sign_encrypt";
    secured["credentials.connection_security.security_policy"] = "Basic256Sha256";
    const auto settings = [&](const setting_map& more) {
        return custom_settings(port, {"ns=2;s=Boiler.Temperature"}, more);
    };
    return {
        make_record("custom_sensor", settings(plain)),
        make_record("custom_sensor", settings(secured)),
        make_record("certificate_sensor", settings(secured)),
        make_record("server_status_sensor", settings(plain)),
    };
}

TEST(harsh_host, ends_in_order_whatever_is_in_flight) {
    struct row {
        std::string what;
        std::vector<unsigned> messages; ///< after how many it happens: one host for each
    };
    const std::vector<row> rows{
        {"exit", {1, 9, 33, 60}},
        {"exit_in_callback", {2, 60}},
        {"cancel", {10}},
        {"cancel_at_once", {10}},
    };
    for (const row& wanted : rows) {
        simulator::plant_options options;
        options.auto_change = false;
        options.endpoints = {true, true, true};
        simulator::plant_server server{options};
        server.start();
        for (const unsigned messages : wanted.messages) {
            std::vector<std::string> arguments{wanted.what, std::to_string(messages)};
            const auto each_thread = records(server.port());
            arguments.insert(arguments.end(), each_thread.begin(), each_thread.end());
            EXPECT_EQ(end_of_host(arguments), 0) << wanted.what << " " << messages;
        }
    }
}

} // namespace
