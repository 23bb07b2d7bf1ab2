#include "probe/plugin/plain_text.hpp"

#include "probe/terminal_text.hpp"

namespace tarvik::monitoring_modules::probe {

std::string plain(std::string_view text, std::size_t characters) {
    const std::string safe = sanitise(text);
    std::string result;
    std::size_t count = 0;
    std::size_t before_last = 0; // where the text ends that leaves room for "…"
    for (const char byte : safe) {
        const bool begins = (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
        if (begins) {
            if (count == characters) {
                return result.substr(0, before_last) + "…";
            }
            before_last = result.size();
            ++count;
        }
        if (byte == '|') {
            result += "¦";
        } else {
            result += byte;
        }
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
