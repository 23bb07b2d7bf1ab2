#include "tests/interop/tested_server.hpp"

#include "simulator/plant_server.hpp"
#include "tests/interop/child_process.hpp"

#include <array>
#include <chrono>
#include <filesystem>
#include <iomanip>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <openssl/evp.h>

namespace tarvik::monitoring_modules::tests {

namespace {

constexpr std::chrono::seconds patience{60}; // a loaded machine takes its time

/// How a maker's program is started, with the options behind it.
struct foreign_maker {
    const char* name;
    std::vector<std::string> program;
    certificate_facts certificate;
};

const std::string build_folder = INTEROP_FOLDER;

const foreign_maker& foreign(maker value) {
    // The classes of its many small jars are loaded each time: compiling them well is not worth it.
    static const std::map<maker, foreign_maker> all{
        {maker::node_opcua,
         {"node_opcua",
          {"node", build_folder + "/node_opcua/server.mjs"},
          {"Interop Plant", 3072, 400}}},
        {maker::asyncua,
         {"asyncua",
          {build_folder + "/asyncua/venv/bin/python", build_folder + "/asyncua/server.py"},
          {"Interop Plant", 3072, 400}}},
        {maker::milo,
         {"milo",
          {"java",
           "-XX:TieredStopAtLevel=1",
           "-XX:+UseSerialGC",
           "-cp",
           build_folder + "/milo/target/classes:" + build_folder + "/milo/target/dependency/*",
           "InteropServer"},
          {"Interop Plant", 2048, 400}}},
    };
    return all.at(value);
}

/// Where a maker's servers keep their keys during this run; empty at its beginning.
const std::string& state_folder(maker value) {
    static std::map<maker, std::string> folders;
    std::string& folder = folders[value];
    if (folder.empty()) {
        folder = build_folder + "/state/" + foreign(value).name;
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    return folder;
}

/// A server of another maker, driven as servers.md says.
class foreign_server final : public tested_server {
  public:
    foreign_server(maker made_by, const server_options& options)
        : made_by_{made_by},
          options_{options} {
        start();
    }

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
        auto command = foreign(made_by_).program;
        command.push_back(options_text());
        auto process = std::make_unique<child_process>(std::move(command));
        const std::string line = process->read_line(patience);
        const std::string expected = "Endpoint: opc.tcp://127.0.0.1:";
        if (!line.starts_with(expected)) {
            throw std::runtime_error{name_of(made_by_) + " began with: " + line};
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
    [[nodiscard]] std::string options_text() const {
        auto modes = nlohmann::json::array();
        for (const auto& [mode, offered] :
             {std::pair{"none", options_.none},
              {"sign", options_.sign},
              {"sign_encrypt", options_.sign_encrypt}}) {
            if (offered) {
                modes.push_back(mode);
            }
        }
        return nlohmann::json{
            {"port", port_},
            {"restarted", port_ != 0},
            {"folder", state_folder(made_by_)},
            {"nodes", build_folder + "/nodes.json"},
            {"key_bits", foreign(made_by_).certificate.key_bits},
            {"modes", modes},
            {"anonymous", options_.anonymous},
            {"users", options_.users},
            {"trust", options_.trust_clients},
            {"raid", options_.raid_controller},
            {"max_sessions", options_.max_sessions},
            {"max_nodes_per_read", options_.max_nodes_per_read},
            {"max_message", options_.max_message}}
            .dump();
    }

    [[nodiscard]] std::string ask(const std::string& question) {
        process_->write_line(question);
        return process_->read_line(patience);
    }

    maker made_by_;
    server_options options_;
    std::uint16_t port_ = 0; // any, until the first start
    std::unique_ptr<child_process> process_;
};

/// A node of the plant that stands in for one that the other servers have.
struct stand_in {
    const char* node_id;
    double value;
    UA_StatusCode status;
};
const std::map<std::string, stand_in> stand_ins{
    {"Value.Bad", {"ns=2;i=1001", 0, UA_STATUSCODE_BADSENSORFAILURE}},
    {"Value.Uncertain", {"ns=2;i=1002", 3.5, UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE}},
    {"Value.NoDisplayName", {"ns=2;s=Text.NoDisplayName", 1.25, UA_STATUSCODE_GOOD}},
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
               .trust_clients = options.trust_clients,
               .raid_controller = options.raid_controller,
               .auto_change = false,
               .max_sessions =
                   options.max_sessions != 0 ? options.max_sessions : std::uint16_t{100},
               .max_nodes_per_read = options.max_nodes_per_read,
               .max_message_bytes = options.max_message}} {
        for (const auto& [name, node] : stand_ins) {
            plant_.set_value(node.node_id, node.value);
            plant_.set_read_status(node.node_id, node.status);
        }
        start();
    }

    [[nodiscard]] std::uint16_t port() const override { return plant_.port(); }
    [[nodiscard]] std::string node_id(const std::string& name) const override {
        const auto found = stand_ins.find(name);
        return found == stand_ins.end() ? "ns=2;s=" + name : found->second.node_id;
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

std::string name_of(maker value) {
    return value == maker::open62541 ? "open62541" : foreign(value).name;
}

certificate_facts certificate_of(maker value) {
    return value == maker::open62541 ? certificate_facts{"Tarvik plant simulator", 2048, 365}
                                     : foreign(value).certificate;
}

tested_server& running_server(maker made_by, const server_options& options, bool fresh) {
    struct running {
        server_options options;
        std::unique_ptr<tested_server> server;
    };
    static std::map<std::pair<maker, bool>, running> servers;
    running& kept = servers[{made_by, options == all_modes}];
    if (fresh || !kept.server || kept.options != options) {
        kept.server.reset();
        if (made_by == maker::open62541) {
            kept.server = std::make_unique<simulated_plant>(options);
        } else {
            kept.server = std::make_unique<foreign_server>(made_by, options);
        }
        kept.options = options;
    }
    kept.server->start(); // whoever had it before may have left it stopped
    return *kept.server;
}

} // namespace tarvik::monitoring_modules::tests
