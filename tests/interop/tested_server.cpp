#include "tests/interop/tested_server.hpp"

#include "simulator/plant_server.hpp"
#include "tests/interop/child_process.hpp"

#include <array>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include <openssl/evp.h>

namespace tarvik::monitoring_modules::tests {

namespace {

using namespace std::chrono_literals;

class node_server final : public tested_server {
  public:
    explicit node_server(const server_options& options) : options_{options} { start(); }

    [[nodiscard]] std::uint16_t port() const override { return port_; }
    [[nodiscard]] std::string node_id(const std::string& name) const override {
        return "ns=1;s=" + name;
    }
    [[nodiscard]] int certificate_days() const override { return 400; }
    [[nodiscard]] std::string thumbprint() override { return ask("thumbprint"); }

    void stop() override { process_.reset(); }
    void start() override {
        if (process_) {
            return;
        }
        auto process = std::make_unique<child_process>(command());
        const std::string line = process->read_line(30s);
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

  private:
    [[nodiscard]] std::vector<std::string> command() const {
        std::string modes;
        const auto offer = [&modes](bool wanted, const char* mode) {
            modes += wanted ? (modes.empty() ? "" : ",") + std::string{mode} : "";
        };
        offer(options_.none, "none");
        offer(options_.sign, "sign");
        offer(options_.sign_encrypt, "sign_encrypt");
        std::vector<std::string> words{
            "node",
            INTEROP_SERVER,
            "--modes",
            modes,
            "--port",
            std::to_string(port_),
            "--key-bits",
            std::to_string(options_.key_bits),
            "--days",
            std::to_string(certificate_days())};
        const auto add = [&words](bool wanted, const char* option) {
            if (wanted) {
                words.emplace_back(option);
            }
        };
        add(!options_.anonymous, "--no-anonymous");
        add(options_.users, "--users");
        add(!options_.trust_clients, "--strict");
        add(!options_.diagnostics, "--no-diagnostics");
        return words;
    }

    [[nodiscard]] std::string ask(const std::string& question) {
        process_->write_line(question);
        return process_->read_line(5s);
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
               .auto_change = false}} {
        start();
    }

    [[nodiscard]] std::uint16_t port() const override { return plant_.port(); }
    [[nodiscard]] std::string node_id(const std::string& name) const override {
        return "ns=2;s=" + name;
    }
    [[nodiscard]] int certificate_days() const override { return 365; }
    [[nodiscard]] std::string thumbprint() override {
        const auto der = plant_.certificate();
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
        unsigned size = 0;
        if (der.empty() ||
            EVP_Digest(der.data(), der.size(), digest.data(), &size, EVP_sha1(), nullptr) != 1) {
            return {};
        }
        std::string text;
        for (unsigned i = 0; i < size; ++i) {
            constexpr std::string_view digits = "0123456789abcdef";
            text += {digits[digest.at(i) / 16U], digits[digest.at(i) % 16U]};
        }
        return text;
    }

    void stop() override { plant_.stop(); }
    void start() override { plant_.start(); }
    void close_sessions() override { plant_.close_all_sessions(); }

  private:
    simulator::plant_server plant_;
};

} // namespace

tested_server& running_server(maker made_by, const server_options& options) {
    struct running {
        server_options options;
        std::unique_ptr<tested_server> server;
    };
    static std::map<maker, running> servers;
    running& kept = servers[made_by];
    if (!kept.server || kept.options != options) {
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
