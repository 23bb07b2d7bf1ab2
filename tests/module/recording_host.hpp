#pragma once

// A host for tests: loads the built libOPCUA.so as any host does, drives the ten functions and
// keeps every message and log line.

#include "opcua_module.h"
#include "zunohelper/log_sink.h"

#include <dlfcn.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::tests {

/// Owns a loaded library.
class shared_library {
  public:
    explicit shared_library(const char* path) : handle_{dlopen(path, RTLD_NOW | RTLD_LOCAL)} {
        if (!handle_) {
            throw std::runtime_error{dlerror()};
        }
    }

    template <typename Function>
    [[nodiscard]] Function* function(const char* name) const {
        void* const found = dlsym(handle_.get(), name);
        if (found == nullptr) {
            throw std::runtime_error{dlerror()};
        }
        return reinterpret_cast<Function*>(found);
    }

  private:
    struct closer {
        void operator()(void* handle) const { dlclose(handle); }
    };
    std::unique_ptr<void, closer> handle_;
};

struct log_line {
    std::string source;
    std::int32_t severity;
    std::string text;
};

/// The settings of one sensor or check, as text by key.
using setting_map = std::map<std::string, std::string>;

class recording_host {
  public:
    recording_host()
        : framework_{ZUNOHELPER_PATH},
          set_log_sink_{framework_.function<decltype(ZunoSetLogSink)>("ZunoSetLogSink")} {
        if (initialize() != OPCUA_MODULE_INITIALISED) {
            throw std::runtime_error{"InitializeModule failed"};
        }
    }
    recording_host(const recording_host&) = delete;
    recording_host& operator=(const recording_host&) = delete;
    ~recording_host() {
        cleanup();
        set_log_sink_(nullptr, nullptr);
    }

    template <typename Function>
    [[nodiscard]] Function* function(const char* name) const {
        return module_.function<Function>(name);
    }

    std::uint32_t initialize() {
        return function<decltype(InitializeModule)>("InitializeModule"
        )(reinterpret_cast<std::uintptr_t>(this), &recording_host::receive);
    }
    std::uint32_t cleanup() { return function<decltype(CleanupModule)>("CleanupModule")(); }

    std::uint32_t create(std::int32_t id, const std::string& record) {
        return function<decltype(CreateSensorInstance)>("CreateSensorInstance"
        )(id,
          reinterpret_cast<const std::uint8_t*>(record.data()),
          static_cast<std::uint32_t>(record.size()));
    }
    std::uint32_t scan(std::int32_t id) {
        return function<decltype(ExecuteSensorScan)>("ExecuteSensorScan")(id);
    }
    std::uint32_t destroy(std::int32_t id) {
        return function<decltype(DestroySensorInstance)>("DestroySensorInstance")(id);
    }
    std::uint32_t check(std::int32_t id, const std::string& record) {
        return function<decltype(ExecuteCheck)>("ExecuteCheck"
        )(id,
          reinterpret_cast<const std::uint8_t*>(record.data()),
          static_cast<std::uint32_t>(record.size()));
    }

    std::uint32_t meta_scan(std::int32_t id, std::uint32_t kind, const std::string& record) {
        return function<decltype(ExecuteMetaScan)>("ExecuteMetaScan"
        )(id,
          kind,
          reinterpret_cast<const std::uint8_t*>(record.data()),
          static_cast<std::uint32_t>(record.size()));
    }

    /// Keeps log lines from now on.
    void record_log() { set_log_sink_(&recording_host::receive_line, this); }

    /// Called with every message before it is kept, on the thread that brings it.
    void on_message(std::function<void(const nlohmann::json&)> hook) { hook_ = std::move(hook); }

    /// All messages so far, which are then forgotten.
    [[nodiscard]] std::vector<nlohmann::json> take_messages() {
        const std::lock_guard lock{mutex_};
        return std::exchange(messages_, {});
    }

    /// The only message since the last look.
    [[nodiscard]] nlohmann::json take_message() {
        auto messages = take_messages();
        if (messages.size() != 1) {
            throw std::runtime_error{"expected 1 message, have " + std::to_string(messages.size())};
        }
        return std::move(messages.front());
    }

    [[nodiscard]] std::vector<log_line> take_log() {
        const std::lock_guard lock{mutex_};
        return std::exchange(lines_, {});
    }

  private:
    static void receive(std::uint64_t context, const std::uint8_t* bytes, std::uint32_t size) {
        // The contract hands the context back as a number.
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        auto& self = *reinterpret_cast<recording_host*>(static_cast<std::uintptr_t>(context));
        auto message = nlohmann::json::parse(bytes, bytes + size);
        if (self.hook_) {
            self.hook_(message);
        }
        const std::lock_guard lock{self.mutex_};
        self.messages_.push_back(std::move(message));
    }

    static void receive_line(
        void* user,
        const char* source,
        std::int32_t severity,
        const char* text,
        std::uint32_t length
    ) {
        auto& self = *static_cast<recording_host*>(user);
        const std::lock_guard lock{self.mutex_};
        self.lines_.push_back({source, severity, {text, length}});
    }

    // Loaded until the process ends: what the library makes once, such as its key pair, serves
    // every test.
    static const shared_library& kept_module() {
        static const shared_library module{OPCUA_MODULE_PATH};
        return module;
    }

    const shared_library& module_ = kept_module();
    shared_library framework_;
    decltype(&ZunoSetLogSink) set_log_sink_;
    std::function<void(const nlohmann::json&)> hook_;
    std::mutex mutex_;
    std::vector<nlohmann::json> messages_; // guarded by mutex_
    std::vector<log_line> lines_;          // guarded by mutex_
};

/// A settings record as a host sends it.
inline std::string make_record(const std::string& kind, const setting_map& settings) {
    nlohmann::json record{{"kind", kind}, {"settings", nlohmann::json::object()}};
    for (const auto& [key, text] : settings) {
        record["settings"][key] = text;
    }
    return record.dump();
}

/// Settings of a custom sensor on loopback with the NodeIDs as its channels 1, 2, ...
inline setting_map custom_settings(
    std::uint16_t port, const std::vector<std::string>& node_ids, const setting_map& more = {}
) {
    setting_map settings{
        {"host", "127.0.0.1"}, {"credentials.connection_opcua.port", std::to_string(port)}};
    for (std::size_t i = 0; i < node_ids.size(); ++i) {
        const std::string channel = "custom.connection_custom.channel" + std::to_string(i + 1);
        settings[channel] = "enable";
        settings[channel + "_nodeid"] = node_ids[i];
    }
    settings.insert(more.begin(), more.end());
    return settings;
}

} // namespace tarvik::monitoring_modules::tests
