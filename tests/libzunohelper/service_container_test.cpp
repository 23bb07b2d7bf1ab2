#include "support.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/module_instance.hpp"
#include "zunohelper/service_container.hpp"

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

struct clock_interface {
    virtual ~clock_interface() = default;
};

struct line {
    std::string address;
};
using line_factory = factory<line, std::string>;

/// Whether an error has this key and names all these types.
template <typename... Types>
bool names(const std::string& error, std::string_view key) {
    return error.starts_with("#:libzunohelper.error." + std::string{key} + "[") &&
           ((error.find(typeid(Types).name()) != std::string::npos) && ...);
}

TEST(service_container, makes_a_service_once) {
    service_container container;
    EXPECT_FALSE(container.find<clock_interface>());
    EXPECT_TRUE((names<factory<clock_interface>>(
        error_of([&] { (void)container.get<clock_interface>(); }), "factory_not_available"
    )));

    int made = 0;
    const auto make = [&]() -> std::unique_ptr<clock_interface> {
        if (++made == 1) {
            throw libi18n::error_generic{"not yet"};
        }
        return std::make_unique<clock_interface>();
    };
    container.register_factory<factory<clock_interface>>(make);
    EXPECT_TRUE((names<factory<clock_interface>>(
        error_of([&] { container.register_factory<factory<clock_interface>>(make); }),
        "already_contains_factory"
    )));
    EXPECT_THROW((void)container.get<clock_interface>(), libi18n::error_generic);
    const auto first = container.get<clock_interface>();
    EXPECT_EQ(container.get<clock_interface>(), first);
    EXPECT_EQ(container.find<clock_interface>(), first);
    EXPECT_EQ(made, 2);
    EXPECT_TRUE(names<clock_interface>(
        error_of([&] { container.register_instance<clock_interface>(first); }),
        "already_contains_instance"
    ));
}

TEST(service_container, tells_factories_apart_by_their_arguments) {
    service_container container;
    container.register_factory<factory<line, const std::string&>>([](const std::string& text) {
        return std::make_unique<line>(line{text});
    });
    const std::string text{"a"};
    const auto one = container.create<line, const std::string&>(text);
    const auto other = container.create<line, const std::string&>(text);
    EXPECT_EQ(one->address, "a");
    EXPECT_NE(one, other);
    EXPECT_THROW(
        (void)container.create<line>(std::string{"a"}), utils::exceptions::factory_not_available
    );
    EXPECT_THROW(container.register_factory(line_factory{}), std::invalid_argument);
    EXPECT_THROW(container.register_instance<line>(nullptr), std::invalid_argument);
}

TEST(service_container, keeps_keyed_instances_as_long_as_somebody_owns_them) {
    service_container container;
    int made = 0;
    container.register_factory<line_factory>([&](const std::string& key) {
        ++made;
        return std::make_unique<line>(line{key});
    });
    EXPECT_TRUE((names<line, std::string>(
        error_of([&] { (void)container.get_existing<line>(std::string{"a"}); }),
        "instance_not_available"
    )));
    const auto get = [&](const std::string& key) { return container.get_or_create<line>(key); };
    const auto a = get("a");
    EXPECT_EQ(get("a"), a);
    EXPECT_EQ(container.get_existing<line>(std::string{"a"}), a);
    EXPECT_NE(get("b"), a);
    EXPECT_EQ(made, 2);

    get("b"); // in place of the dead one
    EXPECT_EQ(made, 3);
    EXPECT_EQ((container.remembered_keys<line, std::string>()), 2U);
    for (int i = 0; i < 100; ++i) {
        get(std::to_string(i));
    }
    EXPECT_EQ((container.remembered_keys<line, std::string>()), 2U);
    EXPECT_EQ(get("a"), a);
}

TEST(service_container, lets_factories_ask_for_other_services_but_not_for_their_own) {
    service_container container;
    std::shared_ptr<line> inner;
    container.register_factory<factory<clock_interface>>([] {
        return std::make_unique<clock_interface>();
    });
    container.register_factory<line_factory>([&](const std::string& key) {
        (void)container.get<clock_interface>();
        if (key == "self" && !inner) {
            inner = std::make_shared<line>();
            inner = container.get_or_create<line>(key);
        }
        return std::make_unique<line>(line{key});
    });
    EXPECT_EQ(container.get_or_create<line>(std::string{"a"})->address, "a");
    EXPECT_TRUE((names<line, std::string>(
        error_of([&] { (void)container.get_or_create<line>(std::string{"self"}); }),
        "already_contains_instance"
    )));
    EXPECT_EQ(container.get_existing<line>(std::string{"self"}), inner);
}

TEST(service_container, calls_a_factory_once_however_many_threads_ask) {
    constexpr int thread_count = 4;
    for (int round = 0; round < 20; ++round) {
        service_container container;
        std::atomic<int> made{0};
        container.register_factory<line_factory>([&](const std::string& key) {
            ++made;
            std::this_thread::yield();
            return std::make_unique<line>(line{key});
        });
        std::barrier start{thread_count};
        std::vector<std::shared_ptr<line>> got(thread_count);
        {
            std::vector<std::jthread> threads;
            for (auto& mine : got) {
                threads.emplace_back([&] {
                    start.arrive_and_wait();
                    mine = container.get_or_create<line>(std::string{"a"});
                });
            }
        }
        EXPECT_EQ(made, 1);
        EXPECT_EQ(std::count(got.begin(), got.end(), got[0]), thread_count);
    }
}

/// The module's factory is registered inside the library and found from here: types count by name.
TEST(module_instance, sends_messages_to_the_callback_with_its_context) {
    struct module final : module_instance {
        using module_instance::module_instance;
        [[nodiscard]] std::string get_module_information() const override { return "{}"; }
    };
    struct message final : zuno_message {
        mutable int deliveries = 0;
        [[nodiscard]] std::string serialize() const override { return "bytes"; }
        void delivered() const noexcept override { ++deliveries; }
    };
    static std::string received;
    EXPECT_THROW((module{1, nullptr}), std::invalid_argument);
    module tested{
        UINT64_MAX, [](std::uint64_t context, const std::uint8_t* bytes, std::uint32_t count) {
            EXPECT_EQ(context, UINT64_MAX);
            received.assign(bytes, bytes + count);
        }};
    const message sent;
    const auto service = tested.service_container()->get<message_service_interface>();
    service->send(sent);
    EXPECT_EQ(received, "bytes");
    EXPECT_EQ(sent.deliveries, 1);
    EXPECT_EQ(tested.service_container()->get<message_service_interface>(), service);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
