#include "exporter/exporter.hpp"

#include "exporter/configuration.hpp"
#include "exporter/http/http_server.hpp"
#include "exporter/module_access.hpp"
#include "exporter/own_metrics.hpp"
#include "exporter/routes.hpp"
#include "exporter/scheduler.hpp"
#include "host/log.hpp"
#include "host/probe_error.hpp"
#include <sys/resource.h>
#include <systemd/sd-daemon.h>

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <memory>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;

constexpr auto time_to_stop = 20s; // the longest scan takes some 15 s

/// Tells systemd how far the service is (Type=notify), so that `systemctl start` fails when a
/// configuration is wrong and `systemctl status` shows what is served. Whether it arrives is the
/// service manager's concern: without the word it ends the service by itself.
void notify_service_manager(const std::string& lines) {
    static_cast<void>(sd_notify(0, lines.c_str()));
}

/// Each session takes two descriptors, and the usual limit of a login, 1024, is there for programs
/// that use select(). Where it may not be raised it stays.
void allow_many_descriptors() noexcept {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        static_cast<void>(setrlimit(RLIMIT_NOFILE, &limit));
    }
}

[[nodiscard]] std::string url_of(const http_settings& listen, std::uint16_t port) {
    return (listen.tls ? "https://" : "http://") + server_address{listen.address, port}.text() +
           "/";
}

/// Everything that serves, in the order in which it depends on each other.
class exporter_service final {
  public:
    exporter_service(const std::string& module, const exporter_options& options, console& terminal)
        : terminal_{terminal},
          path_{options.config},
          module_{module, terminal_, options.log_level},
          languages_{module_.own()},
          document_{languages_.find("en")},
          config_{read()},
          judge_{
              module_.framework().set_server_trust,
              pki_folder{pki_path(config_->pki)},
              [this](const std::string& text) { terminal_.line("opcua-probe: " + text); }} {
        own_.watch_certificates(judge_);
    }

    /// @throws probe_error (usage) also when the files of TLS are not usable
    void check() const {
        const http_server unused{
            config_->listen, [](const http_request& /*request*/) { return http_answer{}; }};
    }

    /// Serves until the program is to end.
    void run(interruption& interrupt) {
        interrupt.let_hangup_reload(); // before anybody can know that it serves
        const auto tell = [this](std::int32_t severity, const std::string& line) {
            terminal_.line(severity, line);
        };
        scheduler scans{{module_, *document_, time_, store_, own_, tell}, config_->workers};
        probe_requests probes{scans, time_, config_->requested_scans()};
        const answer_sources sources{store_, own_, time_, languages_, probes};
        http_server server{
            config_->listen,
            [&sources](const http_request& request) { return answer_to(request, sources); },
            [this](const std::string& path, int status) {
                own_.served(route_class(path), status);
            }};
        prepare(*config_);
        probes.use(config_);
        const std::uint16_t port = server.start();
        scans.apply(config_->sensors);
        place_ = "Serving " + url_of(config_->listen, port);
        terminal_.line(place_);
        notify_service_manager("READY=1\nSTATUS=" + place_);
        while (interrupt.wait_for_reload()) {
            reload(scans, probes, server);
        }
        notify_service_manager("STOPPING=1\nSTATUS=Closing all sessions");
        const auto deadline = std::chrono::steady_clock::now() + time_to_stop;
        probes.stop();
        server.stop();
        if (!scans.stop(deadline)) {
            terminal_.line("opcua-probe: a server does not answer; its sessions stay open");
            _exit(128 + interrupt.signal());
        }
    }

  private:
    /// Shows all that is wrong with it.
    /// @throws probe_error (usage) when it cannot be used
    [[nodiscard]] std::shared_ptr<const serve_config> read() const {
        config_reading made = read_config(path_, *document_);
        for (const std::string& line : made.mistakes) {
            terminal_.line(severity_error, line);
        }
        for (const std::string& line : made.warnings) {
            terminal_.line(severity_warning, line);
        }
        if (made.config == nullptr) {
            throw usage_error{path_ + " has mistakes"};
        }
        return std::move(made.config);
    }

    /// Before anything is scanned, so that no scan waits for seconds with its place held.
    void prepare(const serve_config& config) const {
        if (takes_generated_key_pair(config)) {
            module_.own().prepare();
        }
    }

    /// A configuration that is wrong changes nothing.
    void reload(scheduler& scans, probe_requests& probes, http_server& server) {
        try {
            const auto config = read();
            if (config->listen != config_->listen || config->workers != config_->workers ||
                config->pki != config_->pki) {
                terminal_.line("opcua-probe: listen, workers and pki change with a restart only");
            }
            prepare(*config);
            server.renew_tls();
            config_ = config;
            probes.use(config);
            scans.apply(config->sensors);
            notify_service_manager("READY=1\nSTATUS=" + place_);
            terminal_.line(
                "Configuration read again: " + std::to_string(config->sensors.size()) + " sensors"
            );
        } catch (const std::exception& error) {
            terminal_.line(severity_error, std::string{"opcua-probe: "} + error.what());
            terminal_.line(severity_error, "opcua-probe: the configuration stays as it was");
            notify_service_manager(
                "READY=1\nSTATUS=" + place_ + " as before: the changed configuration is wrong"
            );
        }
    }

    console& terminal_;
    const std::string path_;
    called_module module_;
    language_cache languages_;
    const std::shared_ptr<const module_document> document_;
    std::shared_ptr<const serve_config> config_;
    server_judge judge_;
    std::string place_; ///< "Serving URL"
    const time_source time_{};
    snapshot_store store_{time_};
    own_metrics own_{PROBE_VERSION};
};

} // namespace

exit_code run_exporter(
    const std::string& module,
    const exporter_options& options,
    console& terminal,
    interruption& interrupt
) {
    // Each thread would get a heap of its own, of which little is ever used.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there are no other threads yet
    static_cast<void>(mallopt(M_ARENA_MAX, 2));
    allow_many_descriptors();
    exporter_service service{module, options, terminal};
    if (options.check_only) {
        service.check();
        terminal.line("The configuration is right.");
        return exit_code::ok;
    }
    service.run(interrupt);
    return exit_code::ok;
}

} // namespace tarvik::monitoring_modules::probe
