/*
 * A host of the module with eight threads, which scan all sensors in their interval, whichever
 * thread is free; now and then one makes its sensor anew, asks for a check or sends a notification.
 *
 * usage: soak_host MODULE SENSORS INTERVAL_MS
 *
 * MODULE   the library
 * SENSORS  file; each line {"id": 1, "record": {...}, "check": {...}, "notification": {...}},
 * where the record's first channel is the time of the server, in ms since 1970
 *
 * Answers each line of standard input with a line of JSON: what is known of each sensor. Ends with
 * its standard input, after it has destroyed all sensors.
 */
#include "host/monitoring_module.hpp"
#include "tests/soak/first_seen.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::soak {

namespace {

using monitoring_modules::probe::module_functions;
using monitoring_modules::probe::module_library;
using nlohmann::json;
using steady = std::chrono::steady_clock;

constexpr unsigned thread_count = 8;
constexpr std::uint64_t rounds_of_a_sensor = 20; // then it is made anew
constexpr std::uint64_t rounds_of_a_check = 7;
constexpr std::uint64_t rounds_of_a_notification = 11;

[[nodiscard]] std::int64_t milliseconds_now() {
    const auto passed = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::floor<std::chrono::milliseconds>(passed).count();
}

struct sensor {
    std::int32_t id = 0;
    std::string record;
    std::string check;
    std::string notification;
    bool busy = false; // guarded by the host's mutex, as are the next three
    steady::time_point due;
    std::uint64_t rounds = 0;
    json known = {{"scans", 0}, {"bad", 0}, {"stale", 0}, {"bad_begin", 0}, {"good_begin", 0}};
    bool created = false; // of the thread that has it
};

/// What came back for the call that this thread makes.
struct answer {
    std::int32_t id = 0;
    int results = 0;
    bool good = false;
    std::int64_t value = 0;
    std::string text;
};
thread_local answer* expected = nullptr; // NOLINT: the callback knows no other way to its caller

std::atomic<std::uint64_t> strays{0}; // NOLINT: messages that nobody waits for

void receive(std::uint64_t /*context*/, const std::uint8_t* bytes, std::uint32_t size) {
    const json message = json::parse(bytes, bytes + size, nullptr, false);
    if (message.value("type", "") != "sensor_scan_result") {
        return;
    }
    if (expected == nullptr || message["sensor_id"] != expected->id) {
        ++strays;
        return;
    }
    ++expected->results;
    expected->good = message["response_code"] == 0;
    expected->text = message["message"]["text"];
    if (expected->good) {
        expected->value = message["channels"].at(0)["value"];
    }
}

void drop_line(
    void* /*user*/,
    const char* /*source*/,
    std::int32_t /*severity*/,
    const char* /*text*/,
    std::uint32_t /*length*/
) {}

class host final {
  public:
    host(
        const module_functions& module,
        std::vector<sensor> sensors,
        std::chrono::milliseconds interval
    )
        : module_{module},
          sensors_{std::move(sensors)},
          interval_{interval} {
        const auto now = steady::now();
        for (std::size_t i = 0; i < sensors_.size(); ++i) {
            sensors_[i].due = now + interval_ * i / sensors_.size();
        }
        for (unsigned i = 0; i < thread_count; ++i) {
            threads_.emplace_back([this] { work(); });
        }
    }

    ~host() {
        {
            const std::lock_guard lock{mutex_};
            ending_ = true;
        }
        changed_.notify_all();
        for (std::thread& thread : threads_) {
            thread.join();
        }
        for (const sensor& one : sensors_) {
            if (one.created) {
                module_.destroy_sensor_instance(one.id);
            }
        }
    }
    host(const host&) = delete;
    host& operator=(const host&) = delete;

    [[nodiscard]] json report() {
        const std::lock_guard lock{mutex_};
        json all = json::array();
        for (const sensor& one : sensors_) {
            all.push_back(one.known);
        }
        return {{"strays", strays.load()}, {"sensors", std::move(all)}};
    }

  private:
    void work() {
        std::unique_lock lock{mutex_};
        while (!ending_) {
            sensor* const next = first_due();
            if (next == nullptr || next->due > steady::now()) {
                changed_.wait_until(lock, next == nullptr ? steady::now() + interval_ : next->due);
                continue;
            }
            next->busy = true;
            const std::uint64_t round = ++next->rounds;
            lock.unlock();
            json found = run(*next, round);
            lock.lock();
            note(next->known, std::move(found));
            next->busy = false;
            next->due = std::max(next->due + interval_, steady::now());
            changed_.notify_one();
        }
    }

    [[nodiscard]] sensor* first_due() {
        sensor* first = nullptr;
        for (sensor& one : sensors_) {
            if (!one.busy && (first == nullptr || one.due < first->due)) {
                first = &one;
            }
        }
        return first;
    }

    /// One scan, and what else its turn brings.
    [[nodiscard]] json run(sensor& one, std::uint64_t round) const {
        const auto call = [](auto function, auto... arguments) {
            return [=](const std::string& text) {
                return function(
                    arguments...,
                    reinterpret_cast<const std::uint8_t*>(text.data()),
                    static_cast<std::uint32_t>(text.size())
                );
            };
        };
        if (round % rounds_of_a_check == 0) {
            call(module_.execute_check, one.id)(one.check);
        }
        if (round % rounds_of_a_notification == 0) {
            call(module_.execute_meta_scan, one.id, OPCUA_MODULE_META_SCAN_NOTIFICATION)(
                one.notification
            );
        }
        if (one.created && round % rounds_of_a_sensor == 0) {
            module_.destroy_sensor_instance(one.id);
            one.created = false;
        }
        answer got;
        got.id = one.id;
        const std::int64_t begin = milliseconds_now();
        expected = &got;
        if (!one.created) {
            one.created =
                call(module_.create_sensor_instance, one.id)(one.record) == OPCUA_MODULE_DONE;
        }
        if (one.created) {
            module_.execute_sensor_scan(one.id);
        }
        expected = nullptr;
        const std::int64_t end = milliseconds_now();
        const bool stale = got.good && (got.value < begin || got.value > end);
        return {
            {"begin", begin},
            {"end", end},
            {"good", got.good && got.results == 1},
            {"results", got.results},
            {"stale", stale},
            {"value", got.value},
            {"text", got.text}};
    }

    static void note(json& known, json found) {
        const bool good = found["good"];
        known["scans"] = known["scans"].get<int>() + 1;
        known["bad"] = known["bad"].get<int>() + (good ? 0 : 1);
        known["stale"] = known["stale"].get<int>() + (found["stale"].get<bool>() ? 1 : 0);
        known[good ? "good_begin" : "bad_begin"] = found["begin"];
        known["last"] = std::move(found);
    }

    const module_functions& module_;
    std::vector<sensor> sensors_; // as many as at the start
    const std::chrono::milliseconds interval_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ending_ = false; // guarded by mutex_
    std::vector<std::thread> threads_;
};

[[nodiscard]] std::vector<sensor> read_sensors(const std::string& path) {
    std::ifstream file{path};
    std::vector<sensor> all;
    for (std::string line; std::getline(file, line);) {
        const json one = json::parse(line);
        all.push_back(
            {.id = one["id"],
             .record = one["record"].dump(),
             .check = one["check"].dump(),
             .notification = one["notification"].dump(),
             .due = {},
             .rounds = one["id"]} // so that not all are made anew at one time
        );
    }
    return all;
}

int run(const std::vector<std::string>& words) {
    if (words.size() != 4) {
        throw std::invalid_argument{"usage: soak_host MODULE SENSORS INTERVAL_MS"};
    }
    const module_library library{words[1]};
    const module_functions& module = library.functions();
    first_seen trust;
    library.framework().set_log_sink(drop_line, nullptr);
    library.framework().set_server_trust(first_seen::judge, &trust);
    if (module.initialize_module(1, receive) != OPCUA_MODULE_INITIALISED) {
        throw std::runtime_error{"the module cannot be initialised"};
    }
    {
        host all{module, read_sensors(words[2]), std::chrono::milliseconds{std::stoi(words[3])}};
        for (std::string order; std::getline(std::cin, order);) {
            std::cout << all.report() << std::endl; // NOLINT(performance-avoid-endl): waited for
        }
    }
    const std::uint32_t cleaned = module.cleanup_module();
    library.framework().set_server_trust(nullptr, nullptr);
    return cleaned == 0 ? 0 : 1;
}

} // namespace

} // namespace tarvik::soak

int main(int argument_count, char** arguments) {
    try {
        return tarvik::soak::run({arguments, arguments + argument_count});
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "soak_host: %s\n", error.what()));
        return 1;
    }
}
