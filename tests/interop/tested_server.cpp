#include "tests/interop/tested_server.hpp"

#include "simulator/plant_server.hpp"
#include "tests/interop/child_process.hpp"

#include <array>
#include <chrono>
#include <iomanip>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <openssl/evp.h>

namespace tarvik::monitoring_modules::tests {

namespace {

constexpr std::chrono::seconds patience{60}; // a loaded machine takes its time

class node_server final : public tested_server {
  public:
    explicit node_server(const server_options& options) : options_{options} { start(); }

    [[nodiscard]] std::uint16_t port() const override { return port_; }
    [[nodiscard]] std::string node_id(const std::string& name) const override {
        return "ns=1;s=" + name;
    }
    [[nodiscard]] std::string thumbprint() override { return ask("thumbprint"); }

    void stop() override { process_.reset(); }
    void start() override {
        if (process_) {
            return;
        }
        auto process = std::make_unique<child_process>(command());
        const std::string line = process->read_line(patience);
        const std::string expected = "Endpoint: opc.tcp://127.0.0.1:";
        if (!line.starts_with(expected)) {
            throw std::runtime_error{"server.mjs began with: " + line};
        }
        port_ = static_cast<std::uint16_t>(std::stoul(line.substr(expected.size())));
        process_ = std::move(process);
    }
    void close_sessions() override {
        if (ask("close sessions") == "0") {
            throw std::runtime_error{"there was no session to close"};
        }
    }
    [[nodiscard]] std::size_t session_count() override { return std::stoul(ask("count sessions")); }
    void set_diagnostics(bool enabled) override {
        static_cast<void>(ask(enabled ? "diagnostics on" : "diagnostics off"));
    }
    [[nodiscard]] std::string value_of(const std::string& name) override {
        return ask("value " + name);
    }

  private:
    [[nodiscard]] std::vector<std::string> command() const {
        const std::pair<const char*, bool> flags[] = {
            {"--no-none", !options_.none},
            {"--sign", options_.sign},
            {"--sign-encrypt", options_.sign_encrypt},
            {"--users", options_.users},
            {"--no-anonymous", !options_.anonymous},
            {"--strict", !options_.trust_clients},
            {"--no-diagnostics", !options_.diagnostics},
            {"--no-raid", !options_.raid_controller},
        };
        std::vector<std::string> words{
            "node",
            INTEROP_SERVER,
            "--port=" + std::to_string(port_),
            "--key-bits=" + std::to_string(options_.key_bits)};
        for (const auto& [flag, wanted] : flags) {
            if (wanted) {
                words.emplace_back(flag);
            }
        }
        return words;
    }

    [[nodiscard]] std::string ask(const std::string& question) {
        process_->write_line(question);
        return process_->read_line(patience);
    }

    server_options options_;
    std::uint16_t port_ = 0; // any, until the first start
    std::unique_ptr<child_process> process_;
};

class simulated_plant final : public tested_server {
  public:
    explicit simulated_plant(const server_options& options)
        : plant_{
              {.anonymous = options.anonymous,
               .users = options.users,
               .encrypt_passwords = options.users,
               .endpoints =
                   {.none = options.none,
                    .sign = options.sign,
                    .sign_encrypt = options.sign_encrypt},
               .certificate = {.key_bits = options.key_bits},
               .trust_clients = options.trust_clients,
               .diagnostics = options.diagnostics,
               .raid_controller = options.raid_controller,
               .auto_change = false}} {
        start();
    }

    [[nodiscard]] std::uint16_t port() const override { return plant_.port(); }
    [[nodiscard]] std::string node_id(const std::string& name) const override {
        return "ns=2;s=" + name;
    }
    [[nodiscard]] std::string thumbprint() override {
        const auto der = plant_.certificate();
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
        unsigned size = 0;
        EVP_Digest(der.data(), der.size(), digest.data(), &size, EVP_sha1(), nullptr);
        std::ostringstream text;
        for (unsigned i = 0; i < size; ++i) {
            text << std::hex << std::setw(2) << std::setfill('0') << unsigned{digest.at(i)};
        }
        return text.str();
    }

    void stop() override { plant_.stop(); }
    void start() override { plant_.start(); }
    void close_sessions() override { plant_.close_all_sessions(); }
    [[nodiscard]] std::size_t session_count() override { return plant_.session_count(); }
    void set_diagnostics(bool enabled) override { plant_.set_diagnostics(enabled); }
    [[nodiscard]] std::string value_of(const std::string& name) override {
        return simulator::value_text(plant_.get_value(node_id(name)).get());
    }

  private:
    simulator::plant_server plant_;
};

} // namespace

tested_server& running_server(maker made_by, const server_options& options, bool fresh) {
    struct running {
        server_options options;
        std::unique_ptr<tested_server> server;
    };
    static std::map<maker, running> servers;
    running& kept = servers[made_by];
    if (fresh || !kept.server || kept.options != options) {
        kept.server.reset();
        if (made_by == maker::node_opcua) {
            kept.server = std::make_unique<node_server>(options);
        } else {
            kept.server = std::make_unique<simulated_plant>(options);
        }
        kept.options = options;
    }
    kept.server->start(); // whoever had it before may have left it stopped
    return *kept.server;
}

} // namespace tarvik::monitoring_modules::tests
