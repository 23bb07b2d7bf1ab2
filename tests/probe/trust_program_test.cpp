// Whom the program trusts, with real servers: one that is known, one that is exchanged, ones whose
// certificates are no good.

#include "simulator/plant_server.hpp"
#include "tests/probe/running_probe.hpp"
#include "text/words.hpp"

#include <filesystem>
#include <fstream>
#include <memory>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using simulator::plant_options;
using simulator::plant_server;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

plant_options secured(std::uint16_t port = 0) {
    return {
        .port = port,
        .users = true,
        .encrypt_passwords = true,
        .endpoints = {.none = true, .sign = true, .sign_encrypt = true}};
}

struct trust_program : testing::Test {
    trust_program() { run({"certificate", "create"}); }

    struct outcome {
        std::string text;
        int code;
    };
    outcome run(const std::vector<std::string>& arguments) const {
        running_probe program{arguments, state.path()};
        std::string text = program.read_all();
        return {text, program.exit_code()};
    }
    [[nodiscard]] outcome scan(
        const plant_server& plant, const std::string& mode, std::vector<std::string> more = {}
    ) const {
        more.insert(
            more.begin(),
            {"scan",
             "server_status_sensor",
             "--host",
             "127.0.0.1",
             "--port",
             std::to_string(plant.port()),
             "--security-mode",
             mode}
        );
        if (!contains(more, "plugin")) {
            more.insert(more.end(), {"--count", "1"});
        }
        if (mode == "none") { // where there is nothing to judge without a password
            std::ofstream{state.path() + "/pw"} << "password1";
            std::filesystem::permissions(state.path() + "/pw", std::filesystem::perms::owner_all);
            more.insert(more.end(), {"--user", "user1", "--password-file", state.path() + "/pw"});
        }
        return run(more);
    }
    [[nodiscard]] std::string put(const plant_server& plant, const std::string& name) const {
        const auto& der = plant.certificate();
        std::ofstream{state.path() + "/" + name, std::ios::binary}.write(
            reinterpret_cast<const char*>(der.data()), static_cast<std::streamsize>(der.size())
        );
        return state.path() + "/" + name;
    }
    void trust(const plant_server& plant) const {
        EXPECT_EQ(run({"trust", "add", put(plant, "server.der")}).code, 0);
    }

    state_for_tests state;
};

constexpr const char* modes[] = {"none", "sign", "sign_encrypt"};

TEST_F(trust_program, needs_a_person_to_begin_with) {
    plant_server plant{secured()};
    plant.start();
    for (const char* mode : modes) {
        const outcome refused = scan(plant, mode);
        EXPECT_EQ(refused.code, 2) << mode;
        EXPECT_THAT(
            refused.text,
            AllOf(HasSubstr("BadCertificateUntrusted"), HasSubstr("trust accept 127.0.0.1:"))
        );
        EXPECT_EQ(scan(plant, mode, {"--trust", "any"}).code, 0) << mode;
    }
    EXPECT_EQ(plant.session_count(), 0U);
    trust(plant);
    for (const char* mode : modes) {
        const outcome good = scan(plant, mode);
        EXPECT_EQ(good.code, 0) << mode << good.text;
    }
}

TEST_F(trust_program, takes_a_persons_word_for_a_server_that_is_called_otherwise) {
    plant_server plant{secured()};
    plant.start();
    trust(plant);
    const std::string server = "127.1:" + std::to_string(plant.port()); // the same to a resolver
    const auto check = [&] {
        return run(
            {"check",
             "connection",
             "--host",
             "127.1",
             "--port",
             std::to_string(plant.port()),
             "--security-mode",
             "sign"}
        );
    };
    EXPECT_THAT(
        check().text,
        AllOf(HasSubstr("BadCertificateHostNameInvalid"), HasSubstr("\"localhost\", \"127.0.0.1\""))
    );
    const std::string listed = run({"trust", "list"}).text;
    const std::string fingerprint = listed.substr(listed.find_last_not_of('\n') - 63, 64);
    EXPECT_EQ(run({"trust", "accept", server, "--fingerprint", fingerprint}).code, 0);
    EXPECT_EQ(check().code, 0);
}

TEST_F(trust_program, is_loud_when_somebody_else_answers) {
    auto first = std::make_unique<plant_server>(secured());
    first->start();
    const std::uint16_t port = first->port();
    trust(*first);
    EXPECT_EQ(scan(*first, "sign_encrypt").code, 0);
    first.reset();
    plant_server second{secured(port)};
    second.start();
    for (const char* mode : modes) {
        const outcome shown = scan(second, mode);
        EXPECT_EQ(shown.code, 2) << mode;
        EXPECT_THAT(shown.text, HasSubstr("HAS CHANGED")) << mode;
    }
    EXPECT_EQ(second.session_count(), 0U);
    const outcome plugin = scan(second, "sign", {"--format", "plugin"});
    EXPECT_EQ(plugin.code, 2);
    EXPECT_THAT(plugin.text, AllOf(HasSubstr("OPCUA CRITICAL"), HasSubstr("HAS CHANGED")));
    for (const char* kind : {"check", "browse", "notify"}) {
        std::vector<std::string> arguments{kind};
        if (kind == std::string{"check"}) {
            arguments.emplace_back("connection");
        }
        if (kind == std::string{"notify"}) {
            arguments.insert(
                arguments.end(),
                {"--target", "ns=2;s=Write.Int64", "--type", "Integer64", "--message", "7"}
            );
        }
        arguments.insert(
            arguments.end(),
            {"--host", "127.0.0.1", "--port", std::to_string(port), "--security-mode", "sign"}
        );
        const outcome shown = run(arguments);
        EXPECT_EQ(shown.code, 2) << kind;
        EXPECT_THAT(shown.text, HasSubstr("HAS CHANGED")) << kind;
    }
}

TEST_F(trust_program, accepts_what_a_script_expects_while_others_do) {
    plant_server plant{secured()};
    plant.start();
    const std::string server = "127.0.0.1:" + std::to_string(plant.port());
    static_cast<void>(scan(plant, "sign"));
    const std::string listed = run({"trust", "rejected"}).text;
    const std::string fingerprint = listed.substr(listed.find_last_not_of('\n') - 63, 64);
    std::vector<std::unique_ptr<running_probe>> programs;
    for (int i = 0; i < 4; ++i) {
        programs.push_back(std::make_unique<running_probe>(
            std::vector<std::string>{"trust", "accept", server, "--fingerprint", fingerprint},
            state.path()
        ));
    }
    for (const auto& program : programs) {
        const std::string text = program->read_all();
        EXPECT_EQ(program->exit_code(), 0) << text;
    }
    EXPECT_EQ(scan(plant, "sign").code, 0);
    EXPECT_THAT(run({"trust", "list"}).text, HasSubstr(server));
    EXPECT_EQ(run({"trust", "remove", server}).code, 0);
    EXPECT_EQ(scan(plant, "sign").code, 2);
}

TEST_F(trust_program, keeps_passwords_from_the_wire) {
    plant_server plant{{.anonymous = false, .users = true}};
    plant.start();
    const outcome refused = scan(plant, "none");
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(
        refused.text,
        AllOf(
            HasSubstr("BadSecurityModeInsufficient"),
            HasSubstr("--plain-password allow"),
            Not(HasSubstr("password1"))
        )
    );
    EXPECT_EQ(plant.session_count(), 0U);
    EXPECT_EQ(scan(plant, "none", {"--plain-password", "allow"}).code, 0);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
