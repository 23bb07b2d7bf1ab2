#include "probe/serve/serve_command.hpp"

#include "probe/serve/config_reader.hpp"
#include "probe/serve/http/http_server.hpp"
#include "probe/serve/language_shelf.hpp"
#include "probe/serve/log_tap.hpp"
#include "probe/serve/metrics_observer.hpp"
#include "probe/serve/metrics_page.hpp"
#include "probe/serve/scan_scheduler.hpp"
#include "probe/serve/server_routes.hpp"
#include "probe/serve/service_manager.hpp"

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <memory>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t http_connections = 256;
constexpr std::size_t spare_threads = 8; // of the HTTP server, when all others wait for scans
constexpr auto time_to_stop = 20s;       // the longest scan takes some 15 s

/// Requests have half of the threads that scan, so that intervals are kept whatever is asked.
[[nodiscard]] std::size_t most_requested_scans(const serve_config& config) {
    return config.workers / 2;
}

[[nodiscard]] http_settings settings_of(const serve_config& config) {
    const listen_settings& listen = config.listen;
    http_settings settings;
    settings.address = listen.address;
    settings.port = listen.port;
    if (listen.tls) {
        settings.tls = http_tls_files{listen.tls->certificate, listen.tls->key};
    }
    if (listen.basic_auth) {
        settings.basic_auth =
            http_credentials{listen.basic_auth->user, listen.basic_auth->password};
    }
    settings.allowed_hosts = listen.allowed_hosts;
    settings.threads = most_requested_scans(config) + spare_threads;
    settings.limits.connections = http_connections;
    return settings;
}

[[nodiscard]] bool is_loopback(const std::string& address) {
    return address.starts_with("127.") || address == "::1" || address == "localhost";
}

[[nodiscard]] std::string url_of(const listen_settings& listen, std::uint16_t port) {
    const bool ipv6 = listen.address.find(':') != std::string::npos;
    return (listen.tls ? "https://" : "http://") +
           (ipv6 ? "[" + listen.address + "]" : listen.address) + ":" + std::to_string(port) + "/";
}

/// Everything that serves, in the order in which it depends on each other.
class probe_service final {
  public:
    probe_service(const command_context& context, const serve_options& options)
        : terminal_{context.terminal},
          path_{options.config},
          library_{find_module(context.module)},
          log_{library_, terminal_, options.log_level.value_or(severity_warning)},
          module_{library_},
          languages_{module_},
          document_{languages_.find("en")},
          config_{read()} {}

    /// @throws probe_error (usage) also when the files of TLS are not usable
    void check() const {
        const http_server unused{
            settings_of(*config_), [](const http_request& /*request*/) { return http_answer{}; }};
    }

    /// Serves until the program is to end.
    void run(interruption& interrupt) {
        scan_scheduler scheduler{{module_, *document_, board_, observer_}, config_->workers};
        probe_requests probes{scheduler, most_requested_scans(*config_)};
        const server_routes routes{board_, languages_, metrics_, probes};
        http_server server{
            settings_of(*config_),
            [&routes](const http_request& request) { return routes.answer(request); },
            [this](const http_record& record) {
                own_.served(route_class(record.path), record.status);
            }};
        probes.use(config_);
        const std::uint16_t port = server.start();
        scheduler.apply(config_->sensors);
        place_ = "Serving " + url_of(config_->listen, port);
        terminal_.line(place_);
        if (!is_loopback(config_->listen.address) && !config_->listen.basic_auth) {
            terminal_.line("opcua-probe: warning: whoever reaches this address can read all of it");
        }
        interrupt.let_hangup_reload();
        tell_that_it_serves(place_);
        while (interrupt.wait_for_reload()) {
            reload(scheduler, probes);
        }
        tell_that_it_ends();
        const auto deadline = std::chrono::steady_clock::now() + time_to_stop;
        probes.stop();
        server.stop();
        if (!scheduler.stop(deadline)) {
            terminal_.line("opcua-probe: a server does not answer; its sessions stay open");
            _exit(128 + interrupt.signal());
        }
    }

  private:
    [[nodiscard]] std::shared_ptr<const serve_config> read() const {
        return std::make_shared<const serve_config>(read_config(path_, *document_));
    }

    /// A configuration that is wrong changes nothing.
    void reload(scan_scheduler& scheduler, probe_requests& probes) {
        try {
            const auto config = read();
            if (config->listen != config_->listen || config->workers != config_->workers) {
                terminal_.line("opcua-probe: listen and workers change with a restart only");
            }
            config_ = config;
            probes.use(config);
            scheduler.apply(config->sensors);
            tell_that_it_serves(place_);
            terminal_.line(
                "Configuration read again: " + std::to_string(config->sensors.size()) + " sensors"
            );
        } catch (const std::exception& error) {
            terminal_.line(std::string{"opcua-probe: "} + error.what());
            terminal_.line("opcua-probe: the configuration stays as it was");
            tell_that_it_serves(place_ + " as before: the changed configuration is wrong");
        }
    }

    console& terminal_;
    const std::string path_;
    const module_library library_;
    const log_tap log_;
    const monitoring_module module_;
    language_shelf languages_;
    const std::shared_ptr<const module_document> document_;
    std::shared_ptr<const serve_config> config_;
    std::string place_; ///< "Serving URL"
    board board_;
    own_metrics own_{PROBE_VERSION};
    metrics_observer observer_{own_};
    metrics_page metrics_{board_, own_};
};

} // namespace

exit_code run_serve(const command_context& context, const serve_options& options) {
    // Each thread would get a heap of its own, of which little is ever used.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there are no other threads yet
    static_cast<void>(mallopt(M_ARENA_MAX, 2));
    probe_service service{context, options};
    if (options.check_only) {
        service.check();
        context.terminal.line("The configuration is right.");
        return exit_code::ok;
    }
    service.run(context.interrupt);
    return exit_code::ok;
}

} // namespace tarvik::monitoring_modules::probe
