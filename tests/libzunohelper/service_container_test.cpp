#include "support.hpp"
#include "zunohelper/service_container.hpp"

#include <atomic>
#include <barrier>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using namespace utils::exceptions;

struct service {};
using service_factory = factory<service>;

struct line {
    std::string address;
};
using line_factory = factory<line, std::string>;

TEST(service_container, makes_a_service_once) {
    service_container container;
    EXPECT_FALSE(container.find<service>());
    EXPECT_THROW((void)container.get<service>(), factory_not_available);
    int made = 0;
    const auto make = [&]() -> std::unique_ptr<service> {
        if (++made == 1) {
            throw libi18n::error_generic{"not yet"};
        }
        return std::make_unique<service>();
    };
    container.register_factory<service_factory>(make);
    EXPECT_THROW(container.register_factory<service_factory>(make), already_contains_factory);
    EXPECT_THROW((void)container.get<service>(), libi18n::error_generic);
    const auto first = container.get<service>();
    EXPECT_EQ(container.get<service>(), first);
    EXPECT_EQ(container.find<service>(), first);
    EXPECT_EQ(made, 2);
    EXPECT_THROW(container.register_instance(first), already_contains_instance);
    EXPECT_THROW(container.register_instance<line>(nullptr), std::invalid_argument);
    EXPECT_THROW(container.register_factory(line_factory{}), std::invalid_argument);
}

TEST(service_container, keeps_keyed_instances_as_long_as_somebody_owns_them) {
    service_container container;
    int made = 0;
    container.register_factory<line_factory>([&](const std::string& key) {
        ++made;
        return std::make_unique<line>(line{key});
    });
    const auto get = [&](const std::string& key) { return container.get_or_create<line>(key); };
    const auto remembered = [&] { return container.remembered_keys<line, std::string>(); };
    EXPECT_THROW((void)container.get_existing<line>(std::string{"a"}), instance_not_available);
    const auto a = get("a");
    EXPECT_EQ(get("a"), a);
    EXPECT_EQ(container.get_existing<line>(std::string{"a"}), a);
    EXPECT_NE(get("b"), a);
    EXPECT_EQ(made, 2);
    get("b"); // in place of the dead one
    EXPECT_EQ(made, 3);
    EXPECT_EQ(remembered(), 2U);
    for (int i = 0; i < 100; ++i) {
        get(std::to_string(i));
    }
    EXPECT_EQ(remembered(), 2U);
    EXPECT_EQ(get("a"), a);
}

TEST(service_container, lets_factories_ask_for_other_services_but_not_for_their_own) {
    service_container container;
    std::shared_ptr<line> inner;
    container.register_factory<service_factory>([] { return std::make_unique<service>(); });
    container.register_factory<line_factory>([&](const std::string& key) {
        (void)container.get<service>();
        if (key == "self" && !inner) {
            inner = std::make_shared<line>();
            inner = container.get_or_create<line>(key);
        }
        return std::make_unique<line>(line{key});
    });
    const std::string self{"self"};
    EXPECT_EQ(container.get_or_create<line>(std::string{"a"})->address, "a");
    EXPECT_THROW((void)container.get_or_create<line>(self), already_contains_instance);
    EXPECT_EQ(container.get_existing<line>(self), inner);
}

TEST(service_container, calls_a_factory_once_however_many_threads_ask) {
    for (int round = 0; round < 20; ++round) {
        service_container container;
        std::atomic<int> made{0};
        container.register_factory<line_factory>([&](const std::string& key) {
            ++made;
            std::this_thread::yield();
            return std::make_unique<line>(line{key});
        });
        std::barrier start{4};
        std::array<std::shared_ptr<line>, 4> got;
        on_threads(4, [&](int thread) {
            start.arrive_and_wait();
            got[static_cast<std::size_t>(thread)] = container.get_or_create<line>(std::string{"a"});
        });
        EXPECT_EQ(made, 1);
        EXPECT_EQ(std::count(got.begin(), got.end(), got[0]), 4);
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
