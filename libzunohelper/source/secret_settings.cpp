#include "secret_settings.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace tarvik::monitoring_modules::libzunohelper::secret_settings {

namespace {

constexpr std::string_view certificate = "client_certificate";
constexpr std::array<std::string_view, 5> guarded_names{
    "password", "client_key_password", "client_key", "tarvikcloudapikey", certificate};

/// The first part of a dotted key that names a secret or a certificate: where it begins and ends.
struct guarded_part {
    std::size_t begin = std::string_view::npos; ///< npos: there is none
    std::size_t end = std::string_view::npos;
};

guarded_part find_guarded(std::string_view key) {
    for (std::size_t begin = 0;;) {
        const std::size_t end = std::min(key.find('.', begin), key.size());
        const std::string_view part = key.substr(begin, end - begin);
        if (std::ranges::find(guarded_names, part) != guarded_names.end()) {
            return {begin, end};
        }
        if (end == key.size()) {
            return {};
        }
        begin = end + 1;
    }
}

/// Takes a text from the front of another.
bool take(std::string_view& from, std::string_view expected) {
    if (!from.starts_with(expected)) {
        return false;
    }
    from.remove_prefix(expected.size());
    return true;
}

/// Whether a text consists of certificates in PEM (RFC 7468, 5.1) and blanks. What stands around
/// them is not looked at more closely: keys have many forms.
bool holds_only_certificates(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    constexpr std::string_view base64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                        "0123456789+/= \t\r\n";
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
        if (text.empty()) {
            return true;
        }
        if (!take(text, "-----BEGIN CERTIFICATE-----")) {
            return false;
        }
        text.remove_prefix(std::min(text.find_first_not_of(base64), text.size()));
        if (!take(text, "-----END CERTIFICATE-----")) {
            return false;
        }
    }
}

} // namespace

std::string shown_key(std::string_view key) {
    const guarded_part part = find_guarded(key);
    if (part.end >= key.size()) {
        return std::string{key};
    }
    return std::string{key.substr(0, part.end + 1)}.append(mask);
}

std::string_view shown_text(std::string_view key, std::string_view text) {
    const guarded_part part = find_guarded(key);
    if (part.begin == std::string_view::npos || text.empty()) {
        return text;
    }
    const bool is_certificate = key.substr(part.begin) == certificate;
    return is_certificate && holds_only_certificates(text) ? text : mask;
}

} // namespace tarvik::monitoring_modules::libzunohelper::secret_settings
