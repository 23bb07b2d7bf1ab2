// The host's judge of server certificates.

#include "support.hpp"
#include "zunohelper/host_trust.hpp"
#include "zunohelper/server_trust.h"

#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using bytes = std::vector<std::uint8_t>;

struct server_trust : testing::Test {
    ~server_trust() override { ZunoSetServerTrust(nullptr, nullptr); }

    static std::uint32_t
    judge(void* user, const char* url, const std::uint8_t* certificate, std::uint32_t size) {
        auto& host = *static_cast<server_trust*>(user);
        EXPECT_STREQ(url, "opc.tcp://plc:4840/");
        EXPECT_TRUE(host_trust::is_asking());
        EXPECT_EQ(certificate == nullptr, size == 0);
        host.judged.emplace_back(certificate, certificate + size);
        return host.answer;
    }
    static std::uint32_t ask(const bytes& certificate = {1}) {
        return host_trust::ask("opc.tcp://plc:4840/", certificate);
    }

    std::uint32_t answer = 0;
    std::vector<bytes> judged;
};

TEST_F(server_trust, is_nobodys_question_without_a_judge) {
    EXPECT_FALSE(host_trust::has_judge());
    EXPECT_EQ(ask(), 0U);
    ZunoSetServerTrust(judge, this);
    EXPECT_TRUE(host_trust::has_judge());
    ZunoSetServerTrust(nullptr, this);
    EXPECT_FALSE(host_trust::has_judge());
    EXPECT_EQ(ask(), 0U);
    EXPECT_TRUE(judged.empty());
}

TEST_F(server_trust, is_what_the_judge_says_and_nothing_but_0_is_trust) {
    constexpr std::uint32_t untrusted = 0x801A0000;
    ZunoSetServerTrust(judge, this);
    const std::array<std::pair<std::uint32_t, std::uint32_t>, 8> rows{{
        {0, 0},
        {untrusted, untrusted},
        {0x80000000, 0x80000000},
        {0xFFFFFFFF, 0xFFFFFFFF},
        {0x801D0001, 0x801D0001},
        {1, untrusted},
        {0x00A70000, untrusted}, // good, but not Good
        {0x40920000, untrusted}, // uncertain
    }};
    for (const auto& [said, meant] : rows) {
        answer = said;
        EXPECT_EQ(ask(), meant) << said;
    }
    EXPECT_EQ(judged, std::vector<bytes>(rows.size(), bytes{1}));
    EXPECT_FALSE(host_trust::is_asking());
}

TEST_F(server_trust, is_asked_with_null_where_there_is_no_certificate) {
    ZunoSetServerTrust(judge, this);
    EXPECT_EQ(ask(bytes{}), 0U);
    EXPECT_EQ(judged, std::vector<bytes>{{}});
}

TEST_F(server_trust, leaves_a_judge_alone_once_it_is_replaced) {
    const ZunoServerTrust good = [](void* user, const char*, const std::uint8_t*, std::uint32_t) {
        static_cast<replaced_offer*>(user)->use();
        return 0U;
    };
    expect_left_alone_once_replaced(
        [good](replaced_offer* to) { ZunoSetServerTrust(to == nullptr ? nullptr : good, to); },
        [] { EXPECT_EQ(ask(), 0U); }
    );
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
