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
/// @param body what follows the head
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
[[nodiscard]] bool passes(std::string_view bytes, std::size_t step) {
    message_screen screen;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(step, bytes.size()))) {
        if (!screen.pass(bytes.substr(0, step))) {
            return false;
        }
    }
    return true;
}

TEST(message_screen, keeps_back_messages_without_a_numeric_type) {
    const std::string good = message(1, 300);
    const std::string text = message(3, 300);
    const std::string more(40, '\x03'); // no type at all
    const struct {
        const char* name;
        std::string bytes;
        bool pass;
    } rows[] = {
        {"two bytes", message(0, 2), true},
        {"two bytes, one lacks", message(0, 1), false},
        {"four bytes", message(1, 4), true},
        {"four bytes, one lacks", message(1, 3), false},
        {"seven bytes", message(2, 7), true},
        {"seven bytes, one lacks", message(2, 6), false},
        {"a text", text, false},
        {"a GUID", message(4, 300), false},
        {"an opaque one", message(5, 300), false},
        {"with a server's index", message(0x41, 300), false},
        {"with the URI of a namespace", message(0x81, 300), false},
        {"unknown", message(0xFF, 300), false},
        {"nothing in it", chunk("MSGF", ""), false},
        {"less than a head", "MSGF" + std::string{"\x09\0\0\0\0", 5}, false},
        {"no messages", chunk("OPNF", more) + chunk("ACKF", "") + chunk("CLOF", ""), true},
        {"a refusal in their place", chunk("MSGA", ""), true},
        {"the second one", good + text, false},
        {"two", good + good, true},
        {"in two chunks", chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGF", more), true},
        {"in three chunks",
         chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGC", more) + chunk("MSGF", ""),
         true},
        {"a text, in two chunks", chunk("MSGC", more) + good, false},
        {"after one in two chunks",
         chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGF", more) + text,
         false},
        {"after one that was given up",
         chunk("MSGC", "\x01\x03\x03\x03") + chunk("MSGA", more) + text,
         false},
    };
    for (const auto& [name, bytes, pass] : rows) {
        for (const std::size_t step : {std::size_t{1}, std::size_t{7}, bytes.size()}) {
            EXPECT_EQ(passes(bytes, step), pass) << name << ", " << step << " at a time";
            EXPECT_EQ(passes(good + bytes, step), pass) << "second: " << name;
        }
    }
}

TEST(message_screen, looks_at_chunks_without_their_padding) {
    const std::string none(1, '\0');
    const std::string three(4, '\x03');
    const struct {
        const char* name;
        std::string chunk;
        bool padded;
        bool pass;
    } rows[] = {
        {"signed", message(1, 4), false, true},
        {"signed, one byte lacks", message(1, 3), false, false},
        {"encrypted", message(1, 4) + three, true, true},
        {"encrypted, one byte lacks", message(1, 3) + three, true, false},
        {"no padding but its size", message(2, 7) + none, true, true},
        {"the same, one byte lacks", message(2, 6) + none, true, false},
        {"more padding than there is", message(1, 4) + "\xFF", true, false},
        {"nothing in it", chunk("MSGF", ""), true, false},
        {"not even a head", "MSG", false, false},
        {"nothing at all", "", true, true},
    };
    for (const auto& [name, chunk, padded, pass] : rows) {
        EXPECT_EQ(message_screen{}.pass_chunk(chunk, padded), pass) << name;
    }
    message_screen screen;
    EXPECT_TRUE(screen.pass_chunk(chunk("MSGC", "\x01\x03\x03\x03"), false));
    EXPECT_TRUE(screen.pass_chunk(chunk("MSGF", "\x03"), false)); // goes on
    EXPECT_FALSE(screen.pass_chunk(chunk("MSGF", "\x03"), false));
}

} // namespace
