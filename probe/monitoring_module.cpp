#include "probe/monitoring_module.hpp"

#include "probe/probe_error.hpp"

#include <exception>
#include <limits>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::uint32_t notification = 1; // the meta-scan that sends one

struct byte_view {
    const std::uint8_t* bytes;
    std::uint32_t size;
};

[[nodiscard]] byte_view bytes_of(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw probe_error{exit_code::usage, "The settings are too large"};
    }
    return {
        reinterpret_cast<const std::uint8_t*>(text.data()),
        static_cast<std::uint32_t>(text.size())};
}

/// Where the messages of the call that this thread makes go: they come on the thread that calls,
/// before the call returns.
struct inbox {
    inbox() noexcept;
    ~inbox();
    inbox(const inbox&) = delete;
    inbox& operator=(const inbox&) = delete;

    std::vector<std::string> messages;
    bool lost = false;
};

// The module knows no other way back to the caller.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local inbox* open_inbox = nullptr;

inbox::inbox() noexcept {
    open_inbox = this;
}

inbox::~inbox() {
    open_inbox = nullptr;
}

template <typename Call>
[[nodiscard]] call_result collect(Call call) {
    inbox received;
    const std::uint32_t status = call();
    if (received.lost) {
        throw probe_error{exit_code::call_failed, "A message was lost, out of memory"};
    }
    return {status, std::move(received.messages)};
}

} // namespace

extern "C" {

static void
receive_message(std::uint64_t /*context*/, const std::uint8_t* bytes, std::uint32_t size) {
    if (open_inbox == nullptr) { // no call of ours
        return;
    }
    try {
        open_inbox->messages.emplace_back(
            reinterpret_cast<const char*>(bytes), bytes == nullptr ? 0 : size
        );
    } catch (const std::exception&) {
        open_inbox->lost = true;
    }
}

} // extern "C"

std::string status_text(std::uint32_t status) {
    switch (status) {
    case OPCUA_MODULE_DONE:
        return "done";
    case OPCUA_MODULE_REFUSED:
        return "refused";
    case OPCUA_MODULE_FAILED:
        return "failed";
    case OPCUA_MODULE_NOT_INITIALISED:
        return "not initialised";
    default:
        return "answered " + std::to_string(status);
    }
}

monitoring_module::monitoring_module(const module_library& library)
    : functions_{library.functions()},
      framework_{library.framework()} {
    if (functions_.initialize_module(0, &receive_message) != OPCUA_MODULE_INITIALISED) {
        throw probe_error{exit_code::call_failed, "The module could not be initialised"};
    }
}

monitoring_module::~monitoring_module() {
    functions_.cleanup_module();
}

std::string monitoring_module::information(bool texts) const {
    std::uint32_t size = 0;
    const auto asked = functions_.get_module_information_sync(nullptr, &size, texts);
    std::string text(size, '\0');
    if (asked != OPCUA_MODULE_INFORMATION_DONE ||
        functions_.get_module_information_sync(
            reinterpret_cast<std::uint8_t*>(text.data()), &size, texts
        ) != OPCUA_MODULE_INFORMATION_DONE) {
        throw probe_error{exit_code::call_failed, "The module gives no information about itself"};
    }
    text.resize(size);
    return text;
}

call_result monitoring_module::create_sensor(std::int32_t id, std::string_view settings) const {
    return collect([&] {
        const auto [bytes, size] = bytes_of(settings);
        return functions_.create_sensor_instance(id, bytes, size);
    });
}

call_result monitoring_module::scan_sensor(std::int32_t id) const {
    return collect([&] { return functions_.execute_sensor_scan(id); });
}

call_result monitoring_module::check(std::int32_t id, std::string_view settings) const {
    return collect([&] {
        const auto [bytes, size] = bytes_of(settings);
        return functions_.execute_check(id, bytes, size);
    });
}

call_result monitoring_module::notify(std::int32_t id, std::string_view settings) const {
    return collect([&] {
        const auto [bytes, size] = bytes_of(settings);
        return functions_.execute_meta_scan(id, notification, bytes, size);
    });
}

void monitoring_module::destroy_sensor(std::int32_t id) const noexcept {
    functions_.destroy_sensor_instance(id);
}

void monitoring_module::prepare() const noexcept {
    if (framework_.prepare_module != nullptr) {
        framework_.prepare_module();
    }
}

} // namespace tarvik::monitoring_modules::probe
