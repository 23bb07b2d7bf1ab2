// What hosts offer to keep, and what they can have done ahead.

#include "support.hpp"
#include "zunohelper/host_store.hpp"
#include "zunohelper/preparation.h"
#include "zunohelper/preparation.hpp"
#include "zunohelper/store.h"

#include <atomic>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using gift = std::optional<std::string>; // no text: a null pointer
constexpr std::uint32_t all = UINT32_MAX;

/// A host that gives what a test tells it.
struct store : testing::Test {
    ~store() override { ZunoSetStore(nullptr, nullptr, nullptr); }

    static std::int32_t load(void* user, const char* name, ZunoStoreGive give, void* to) {
        const auto& host = *static_cast<store*>(user);
        EXPECT_STREQ(name, "a-name");
        for (const auto& [text, size] : host.gifts) {
            const auto* const bytes =
                text ? reinterpret_cast<const std::uint8_t*>(text->data()) : nullptr;
            give(to, bytes, size == all ? static_cast<std::uint32_t>(text->size()) : size);
        }
        return host.answer;
    }
    static std::int32_t
    save(void* user, const char* name, const std::uint8_t* bytes, std::uint32_t size) {
        auto& host = *static_cast<store*>(user);
        EXPECT_STREQ(name, "a-name");
        host.saved.assign(reinterpret_cast<const char*>(bytes), size);
        return host.answer;
    }
    [[nodiscard]] static std::string loaded() {
        const auto bytes = host_store::load("a-name");
        return bytes ? bytes->str() : "nothing";
    }

    std::vector<std::pair<gift, std::uint32_t>> gifts;
    std::int32_t answer = 0;
    std::string saved;
};

TEST_F(store, gives_what_the_host_gave_and_said_it_gave) {
    const std::string binary{"\0\xff\n", 3};
    const struct {
        std::vector<std::pair<gift, std::uint32_t>> gifts;
        std::int32_t answer;
        std::string loaded;
    } rows[] = {
        {{{binary, all}}, 0, binary},
        {{{"", all}}, 0, ""},
        {{{std::nullopt, 0}}, 0, ""},
        {{}, 0, "nothing"},
        {{{"bytes", all}}, 1, "nothing"},
        {{{"bytes", all}}, -1, "nothing"},
        {{{"first", all}, {"second", all}}, 0, "second"},
        {{{"first", all}, {std::nullopt, 7}}, 0, "nothing"},
        {{{std::string(1U << 20U, 'x'), all}}, 0, std::string(1U << 20U, 'x')},
        {{{std::string((1U << 20U) + 1, 'x'), all}}, 0, "nothing"},
    };
    EXPECT_EQ(loaded(), "nothing");
    ZunoSetStore(load, nullptr, this);
    for (const auto& row : rows) {
        gifts = row.gifts;
        answer = row.answer;
        EXPECT_TRUE(loaded() == row.loaded) << loaded().substr(0, 20);
    }
    EXPECT_TRUE(host_store::save("a-name", "x")); // nobody wants it, which is no failure
    ZunoSetStore(nullptr, nullptr, nullptr);
    EXPECT_EQ(loaded(), "nothing");
}

TEST_F(store, keeps_bytes_or_tells_that_it_did_not) {
    ZunoSetStore(nullptr, save, this);
    EXPECT_TRUE(host_store::save("a-name", std::string_view{"a\0b", 3}));
    EXPECT_EQ(saved, (std::string{"a\0b", 3}));
    EXPECT_EQ(loaded(), "nothing");
    answer = 28;
    EXPECT_FALSE(host_store::save("a-name", ""));
    EXPECT_EQ(saved, "");
}

TEST_F(store, is_left_alone_once_it_is_replaced) {
    const ZunoStoreLoad load_one = [](void* user, const char*, ZunoStoreGive, void*) {
        static_cast<replaced_offer*>(user)->use();
        return 1;
    };
    const ZunoStoreSave save_one = [](void* user, const char*, const std::uint8_t*, std::uint32_t) {
        static_cast<replaced_offer*>(user)->use();
        return 1;
    };
    expect_left_alone_once_replaced(
        [&](replaced_offer* to) {
            to == nullptr ? ZunoSetStore(nullptr, nullptr, nullptr)
                          : ZunoSetStore(load_one, save_one, to);
        },
        [] {
            std::ignore = host_store::load("a-name");
            host_store::save("a-name", "x");
        }
    );
}

TEST(preparation, is_done_as_long_as_there_is_a_module) {
    EXPECT_EQ(ZunoPrepareModule(), 3U);
    int runs = 0;
    {
        const preparation work{[&runs] {
            if (++runs == 2) {
                throw std::runtime_error{"not this time"};
            }
        }};
        for (const std::uint32_t status : {0U, 2U, 0U}) {
            EXPECT_EQ(ZunoPrepareModule(), status);
        }
    }
    EXPECT_EQ(ZunoPrepareModule(), 3U);
    EXPECT_EQ(runs, 3);
}

TEST(preparation, ends_before_its_module) {
    std::promise<void> entered;
    std::atomic<bool> over{false};
    auto work = std::make_unique<preparation>([&] {
        entered.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds{50}); // time for an early end
        over = true;
    });
    const std::jthread host{[] { EXPECT_EQ(ZunoPrepareModule(), 0U); }};
    entered.get_future().wait();
    work.reset();
    EXPECT_TRUE(over);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
