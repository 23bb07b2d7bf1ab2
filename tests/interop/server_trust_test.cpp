// What the host's judge is asked about at servers of all makers, and what they notice of his
// refusal: nothing that is worth a session.

#include "tests/interop/interop_support.hpp"
#include "zunohelper/server_trust.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/evp.h>

namespace tarvik::monitoring_modules::tests {
namespace {

std::string sha1_of(const std::uint8_t* bytes, std::uint32_t size) {
    std::array<std::uint8_t, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    EVP_Digest(bytes, size, digest.data(), &length, EVP_sha1(), nullptr);
    std::string digits;
    for (unsigned i = 0; i < length; ++i) {
        constexpr std::string_view hexadecimal = "0123456789abcdef";
        digits += hexadecimal[digest[i] / 16];
        digits += hexadecimal[digest[i] % 16];
    }
    return digits;
}

struct server_trust : by_maker {
    server_trust() { set_judge_(&judge, this); }
    ~server_trust() override { set_judge_(nullptr, nullptr); }

    std::uint32_t answer = 0;
    std::vector<std::string> judged; ///< URL and SHA-1 digest of the certificate

  private:
    static std::uint32_t
    judge(void* user, const char* url, const std::uint8_t* certificate, std::uint32_t size) {
        auto& self = *static_cast<server_trust*>(user);
        self.judged.push_back(std::string{url} + " " + sha1_of(certificate, size));
        return self.answer;
    }

    shared_library framework_{ZUNOHELPER_PATH};
    decltype(&ZunoSetServerTrust) set_judge_ =
        framework_.function<decltype(ZunoSetServerTrust)>("ZunoSetServerTrust");
};

TEST_P(server_trust, decides_in_every_mode_for_every_identity) {
    tested_server& server = running_server(GetParam(), all_modes);
    const std::string shown =
        "opc.tcp://127.0.0.1:" + std::to_string(server.port()) + "/ " + server.thumbprint();
    for (const char* mode : {"none", "sign", "sign_encrypt"}) {
        for (login as : {anonymous, user1}) {
            SCOPED_TRACE(mode + (" " + as.user));
            as.mode = mode;
            const setting_map settings =
                custom_settings(server.port(), {server.node_id("Pump.Speed")}, settings_for(as));
            const bool is_judged = as.mode != "none" || !as.user.empty();
            const std::vector<std::string> once(is_judged ? 1 : 0, shown);
            answer = 0;
            EXPECT_EQ(error_of(scan_once(host_, "custom_sensor", settings)), "");
            EXPECT_EQ(std::exchange(judged, {}), once);
            answer = 0x801A0000;
            EXPECT_EQ(
                error_of(scan_once(host_, "custom_sensor", settings)),
                is_judged ? "The sensor could not connect to the OPC UA server "
                            "(BadCertificateUntrusted)."
                          : ""
            );
            EXPECT_EQ(std::exchange(judged, {}), once);
            EXPECT_TRUE(sessions_end(server, std::chrono::seconds{10}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(servers, server_trust, all_makers, name_of_maker);

} // namespace
} // namespace tarvik::monitoring_modules::tests
