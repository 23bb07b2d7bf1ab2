/*
 * Many simulated plants in one process, which does what standard input says, a line for each order,
 * and answers each with a line of JSON. Ends with its standard input.
 *
 * usage: soak_plants PLANTS SECURED      the last SECURED plants offer SignAndEncrypt and user1
 */
#include "simulator/plant_server.hpp"
#include "tests/simulator/test_client.hpp"
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarvik::soak {

namespace {

using simulator::plant_options;
using simulator::plant_server;
using simulator::test_client;

constexpr std::uint16_t places_for_sessions = 20;
constexpr std::chrono::seconds session_time_out{10}; // of sessions whose client has gone

/// Clients that keep their sessions.
class crowd final {
  public:
    /// Opens sessions until the server refuses one.
    void fill(const std::string& url) {
        while (clients_.size() < places_for_sessions) {
            auto client = std::make_unique<test_client>();
            if (client->connect(url) != UA_STATUSCODE_GOOD) {
                return;
            }
            clients_.push_back(std::move(client));
        }
    }
    /// To delete one that is connected takes 100 ms.
    void release() {
        for (const auto& client : clients_) {
            UA_Client_disconnectAsync(client->get());
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{1};
            while (has_channel(*client) && std::chrono::steady_clock::now() < end) {
                UA_Client_run_iterate(client->get(), 1);
            }
        }
        clients_.clear();
    }

  private:
    [[nodiscard]] static bool has_channel(const test_client& client) {
        UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
        UA_Client_getState(client.get(), &channel, nullptr, nullptr);
        return channel != UA_SECURECHANNELSTATE_CLOSED;
    }

    std::vector<std::unique_ptr<test_client>> clients_;
};

struct plant {
    std::unique_ptr<plant_server> server;
    crowd others;
};

[[nodiscard]] plant_options options_of(bool secured) {
    plant_options options;
    options.auto_change = false; // its clock moves
    options.max_sessions = places_for_sessions;
    options.session_timeout = session_time_out;
    options.endpoints.sign_encrypt = secured;
    options.users = secured;
    return options;
}

[[nodiscard]] std::string hexadecimal(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        constexpr const char* digits = "0123456789abcdef";
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

class plants final {
  public:
    plants(std::size_t count, std::size_t secured) {
        for (std::size_t i = 0; i < count; ++i) {
            all_.push_back({std::make_unique<plant_server>(options_of(i + secured >= count)), {}});
            all_.back().server->start();
        }
    }

    /// @return the answer, JSON
    [[nodiscard]] std::string obey(const std::string& order) {
        std::istringstream words{order};
        std::string what;
        std::size_t which = 0;
        long seconds = 0;
        words >> what >> which >> seconds;
        if (what == "describe") {
            return listed([](const plant& one) {
                return "{\"port\":" + std::to_string(one.server->port()) + ",\"certificate\":\"" +
                       hexadecimal(one.server->certificate()) + "\"}";
            });
        }
        if (what == "sessions") {
            return listed([](const plant& one) {
                return std::to_string(one.server->session_count());
            });
        }
        change(what, all_.at(which), std::chrono::seconds{seconds});
        return "true";
    }

  private:
    [[nodiscard]] std::string listed(const std::function<std::string(const plant&)>& text_of
    ) const {
        std::string list;
        for (const plant& one : all_) {
            list += (list.empty() ? "[" : ",") + text_of(one);
        }
        return list + "]";
    }

    static void change(const std::string& what, plant& one, std::chrono::seconds seconds) {
        const std::map<std::string, std::function<void()>> orders{
            {"stop", [&] { one.server->stop(); }},
            {"start", [&] { one.server->start(); }},
            {"freeze", [&] { one.server->freeze(); }},
            {"thaw", [&] { one.server->thaw(); }},
            {"close", [&] { one.server->close_all_sessions(); }},
            {"fill",
             [&] {
                 one.server->close_all_sessions();
                 one.others.fill(one.server->endpoint_url());
             }},
            {"release", [&] { one.others.release(); }},
            {"step", [&] { one.server->step_clock(seconds); }},
        };
        const auto found = orders.find(what);
        if (found == orders.end()) {
            throw std::invalid_argument{"no such order: " + what};
        }
        found->second();
    }

    std::vector<plant> all_;
};

void allow_many_descriptors() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

void run(std::size_t count, std::size_t secured) {
    allow_many_descriptors();
    plants all{count, secured};
    for (std::string order; std::getline(std::cin, order);) {
        std::cout << all.obey(order) << std::endl; // NOLINT(performance-avoid-endl): somebody waits
    }
}

} // namespace

} // namespace tarvik::soak

int main(int argument_count, char** arguments) {
    try {
        if (argument_count != 3) {
            throw std::invalid_argument{"usage: soak_plants PLANTS SECURED"};
        }
        tarvik::soak::run(std::stoul(arguments[1]), std::stoul(arguments[2]));
        return 0;
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "soak_plants: %s\n", error.what()));
        return 1;
    }
}
