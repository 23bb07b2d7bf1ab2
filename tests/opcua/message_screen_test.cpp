// Which messages of a server reach the stack.

#include "opcua/message_screen.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::opcua;

namespace {

constexpr std::size_t head_size = 24;

/// @param type with "F", "C" or "A"
/// @param body what follows the head, signature included
[[nodiscard]] std::string chunk(const std::string& type, const std::string& body) {
    const std::size_t size = head_size + body.size();
    const std::string length{static_cast<char>(size & 0xFFU), static_cast<char>(size >> 8U), 0, 0};
    return type + length + std::string(head_size - 8, '\x03') + body;
}

/// @param encoding of a NodeId
/// @param size of all that is in the chunk
[[nodiscard]] std::string message(int encoding, std::size_t size) {
    return chunk("MSGF", static_cast<char>(encoding) + std::string(size - 1, '\x03'));
}

/// @param step how many bytes come at a time
[[nodiscard]] bool passes(std::string_view bytes, std::size_t signature, std::size_t step) {
    message_screen screen;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(step, bytes.size()))) {
        if (!screen.pass(bytes.substr(0, step), signature)) {
            return false;
        }
    }
    return true;
}

TEST(message_screen, keeps_back_messages_without_a_numeric_type) {
    constexpr std::size_t none = 0;
    constexpr std::size_t sign = 32; // bytes of a signature
    const std::string good = message(1, 300);
    const std::string text = message(3, 300);
    const std::string more(40, '\x03'); // no type at all
    const struct {
        const char* name;
        std::string bytes;
        std::size_t signature;
        bool pass;
    } rows[] = {
        {"two bytes", message(0, 2), none, true},
        {"two bytes, one lacks", message(0, 1), none, false},
        {"four bytes", message(1, 4), none, true},
        {"four bytes, one lacks", message(1, 3), none, false},
        {"seven bytes", message(2, 7), none, true},
        {"seven bytes, one lacks", message(2, 6), none, false},
        {"a text", text, none, false},
        {"a GUID", message(4, 300), none, false},
        {"an opaque one", message(5, 300), none, false},
        {"with a server's index", message(0x41, 300), none, false},
        {"with the URI of a namespace", message(0x81, 300), none, false},
        {"unknown", message(0xFF, 300), none, false},
        {"nothing in it", chunk("MSGF", ""), none, false},
        {"less than a head", "MSGF" + std::string{"\x09\0\0\0\0", 5}, none, false},
        {"signed, two bytes", message(0, 2 + sign), sign, true},
        {"signed, two bytes, one lacks", message(0, 1 + sign), sign, false},
        {"signed, four bytes", message(1, 4 + sign), sign, true},
        {"signed, four bytes, one lacks", message(1, 3 + sign), sign, false},
        {"signed, seven bytes", message(2, 7 + sign), sign, true},
        {"signed, seven bytes, one lacks", message(2, 6 + sign), sign, false},
        {"signed, a text", text, sign, false},
        {"signed, nothing else", message(1, sign), sign, false},
        {"no messages", chunk("OPNF", more) + chunk("ACKF", "") + chunk("CLOF", ""), none, true},
        {"a refusal in their place", chunk("MSGA", ""), sign, true},
        {"the second one", good + text, none, false},
        {"two", good + good, sign, true},
        {"in two chunks", chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGF", more), none, true},
        {"in three chunks",
         chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGC", more) + chunk("MSGF", ""),
         none,
         true},
        {"a text, in two chunks", chunk("MSGC", more) + good, none, false},
        {"after one in two chunks",
         chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGF", more) + text,
         none,
         false},
        {"after one that was given up",
         chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGA", more) + text,
         none,
         false},
    };
    for (const auto& [name, bytes, signature, pass] : rows) {
        for (const std::size_t step : {std::size_t{1}, std::size_t{7}, bytes.size()}) {
            EXPECT_EQ(passes(bytes, signature, step), pass) << name << ", " << step << " at a time";
            EXPECT_EQ(passes(good + bytes, signature, step), pass) << "second: " << name;
        }
    }
}

} // namespace
