#pragma once

// What `serve` answers from, with a module that has one good sensor.

#include "exporter/routes.hpp"
#include "tests/fuzz/own_module.hpp"

#include <chrono>
#include <memory>
#include <string>

namespace tarvik::monitoring_modules::fuzz {

class web_site {
  public:
    web_site() {
        auto config = std::make_shared<probe::serve_config>();
        config->modules["pumps"] = {"custom_sensor", {}, {"10.0.0.*", "*.example:*", "[::1]:4840"}};
        probes_.use(config);
        scans_.apply({{"one", "custom_sensor", "plc:4840", "record", "check", scan_interval}});
    }

    [[nodiscard]] probe::http_answer answer(const probe::http_request& request) {
        return probe::answer_to(request, {shown_, own_, time_, languages_, probes_});
    }

    void note(const std::string& path, int status) {
        own_.served(probe::route_class(path), status);
    }

  private:
    static constexpr std::chrono::hours scan_interval{24};

    class one_sensor final : public probe::module_access {
      public:
        probe::module_answer
        create(std::int32_t /*id*/, const std::string& /*record*/, probe::call_notes&) override {
            return {};
        }
        probe::module_answer scan(std::int32_t id, probe::call_notes& /*notes*/) override {
            probe::module_answer answer;
            probe::scan_result& result = answer.result.emplace();
            result.id = id;
            probe::channel_definition& speed = result.definitions.emplace_back();
            speed.id = 1;
            speed.name = "Speed";
            result.channels.push_back({1, 90.0});
            return answer;
        }
        void destroy(std::int32_t /*id*/) noexcept override {}
        std::optional<bool> has_matching_endpoint(const std::string& /*record*/) override {
            return true;
        }
    };

    const probe::time_source time_;
    one_sensor module_;
    const probe::module_document document_;
    probe::snapshot_store shown_{time_};
    probe::own_metrics own_{"1"};
    probe::monitoring_module information_{own_library()};
    probe::language_cache languages_{information_};
    const probe::scan_context context_{module_, document_, time_, shown_, own_};
    probe::scheduler scans_{context_, 4};
    probe::probe_requests probes_{scans_, time_, 2};
};

/// One that serves for the life of the process.
class web_server {
  public:
    explicit web_server(const probe::http_settings& settings)
        : server_{
              settings,
              [this](const probe::http_request& request) { return site_.answer(request); },
              [this](const std::string& path, int status) { site_.note(path, status); }} {}

    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }

  private:
    web_site site_;
    probe::http_server server_;
    std::uint16_t port_ = server_.start();
};

} // namespace tarvik::monitoring_modules::fuzz
