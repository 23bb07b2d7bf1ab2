#include "opcua/message_screen.hpp"

#include <algorithm>
#include <cstring>

namespace tarvik::monitoring_modules::opcua {

bool message_screen::pass(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        if (seen_ < head_.size()) {
            head_[seen_++] = static_cast<unsigned char>(bytes.front());
            bytes.remove_prefix(1);
            if (seen_ == length_at + sizeof length_) {
                std::memcpy(&length_, head_.data() + length_at, sizeof length_); // little-endian
            }
        } else {
            const std::size_t rest = std::min<std::size_t>(bytes.size(), length_ - seen_);
            seen_ += rest;
            bytes.remove_prefix(rest);
        }
        const bool ends = length_ != 0 && seen_ >= length_;
        if ((ends || seen_ == head_.size()) && !is_good()) {
            return false;
        }
        if (ends) {
            end_chunk();
        }
    }
    return true;
}

bool message_screen::pass_chunk(std::string_view chunk, bool padded) noexcept {
    const std::size_t padding =
        padded && !chunk.empty() ? 1 + static_cast<unsigned char>(chunk.back()) : 0;
    seen_ = std::min(chunk.size(), head_.size());
    std::copy_n(chunk.begin(), seen_, head_.begin());
    length_ = static_cast<std::uint32_t>(chunk.size() - std::min(padding, chunk.size()));
    const bool good = is_good();
    end_chunk();
    return good;
}

void message_screen::end_chunk() noexcept {
    goes_on_ = head_[3] == 'C';
    seen_ = 0;
    length_ = 0;
}

bool message_screen::is_good() const noexcept {
    const std::string_view type{reinterpret_cast<const char*>(head_.data()), 3};
    if (type != "MSG" || goes_on_ || head_[3] == 'A') {
        return true;
    }
    // A NodeId in two, four or seven bytes (OPC 10000-6, 5.2.2.9); others are no types of messages.
    constexpr std::array<std::size_t, 3> sizes{2, 4, 7};
    const std::size_t encoding = seen_ > header_size ? head_[header_size] : sizes.size();
    return encoding < sizes.size() && length_ >= header_size + sizes.at(encoding);
}

} // namespace tarvik::monitoring_modules::opcua
