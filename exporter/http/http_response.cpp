#include "exporter/http/http_response.hpp"

#include "exporter/http/failed_logins.hpp"
#include "text/number.hpp"
#include "text/words.hpp"
#include <arpa/inet.h>
#include <netinet/in.h>

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <new>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

void put(http_headers& headers, const std::string& name, const std::string& value) {
    std::erase_if(headers, [&name](const auto& each) {
        return same_in_any_case(each.first, name);
    });
    headers.emplace_back(name, value);
}

void release_body(void* body) {
    const std::unique_ptr<std::string> last_owner{static_cast<std::string*>(body)};
}

constexpr std::size_t smallest_body = 1024;

[[nodiscard]] std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

[[nodiscard]] bool is_worth_compressing(const http_answer& answer) {
    const std::string type = answer.content_type.substr(0, answer.content_type.find(';'));
    return answer.body.size() >= smallest_body &&
           (type.starts_with("text/") || type == "application/openmetrics-text" ||
            type == "application/json" || type == "image/svg+xml");
}

[[nodiscard]] std::string gzipped(std::string body) {
    constexpr int window = 15 + 16; // the largest, with the head of gzip, as zlib numbers them
    constexpr int usual_memory = 8;
    constexpr int level = Z_DEFAULT_COMPRESSION;
    z_stream state{};
    if (deflateInit2(&state, level, Z_DEFLATED, window, usual_memory, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc{};
    }
    const std::unique_ptr<z_stream, releaser<deflateEnd>> owner{&state};
    std::string result(deflateBound(&state, body.size()), '\0');
    state.next_in = reinterpret_cast<Bytef*>(body.data());
    state.avail_in = static_cast<uInt>(body.size());
    state.next_out = reinterpret_cast<Bytef*>(result.data());
    state.avail_out = static_cast<uInt>(result.size());
    if (deflate(&state, Z_FINISH) != Z_STREAM_END) {
        throw std::bad_alloc{};
    }
    result.resize(state.total_out);
    return result;
}

[[nodiscard]] std::string text_of(const char* bytes, std::size_t size) {
    return bytes == nullptr ? std::string{} : std::string{bytes, size};
}

/// Adds a header or parameter; ends the collection when there is no memory for it.
MHD_Result collect(
    void* to,
    MHD_ValueKind /*kind*/,
    const char* name,
    std::size_t name_size,
    const char* value,
    std::size_t size
) noexcept {
    try {
        static_cast<http_headers*>(to)->emplace_back(
            text_of(name, name_size), text_of(value, size)
        );
        return MHD_YES;
    } catch (const std::exception&) {
        return MHD_NO;
    }
}

[[nodiscard]] http_headers values_of(MHD_Connection* connection, MHD_ValueKind kind) {
    http_headers values;
    const int count = MHD_get_connection_values_n(connection, kind, nullptr, nullptr);
    if (count < 0 || MHD_get_connection_values_n(connection, kind, collect, &values) != count) {
        throw std::bad_alloc{};
    }
    return values;
}

[[nodiscard]] std::string address_of(MHD_Connection* connection) {
    const MHD_ConnectionInfo* const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (info == nullptr || info->client_addr == nullptr) {
        return {};
    }
    const bool is_ipv4 = info->client_addr->sa_family == AF_INET;
    const void* const bytes =
        is_ipv4 ? static_cast<const void*>(
                      &reinterpret_cast<const sockaddr_in*>(info->client_addr)->sin_addr
                  )
                : &reinterpret_cast<const sockaddr_in6*>(info->client_addr)->sin6_addr;
    const int family = info->client_addr->sa_family;
    return inet_ntop(family, bytes, text.data(), text.size()) == nullptr ? "" : text.data();
}

} // namespace

http_request read_request(MHD_Connection* connection, const char* path, const char* method) {
    const http_headers parameters = values_of(connection, MHD_GET_ARGUMENT_KIND);
    return {
        method,
        path,
        {parameters.begin(), parameters.end()},
        values_of(connection, MHD_HEADER_KIND),
        address_of(connection)};
}

http_headers fixed_headers(bool secure) {
    http_headers headers{
        {"Accept-Ranges", "none"},
        {"Cache-Control", "no-store"},
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src "
         "'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
         "require-trusted-types-for 'script'"},
        {"Cross-Origin-Embedder-Policy", "require-corp"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Permissions-Policy",
         "camera=(), display-capture=(), geolocation=(), microphone=(), payment=(), usb=()"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"},
        {"X-Frame-Options", "DENY"},
    };
    if (secure) {
        headers.emplace_back("Strict-Transport-Security", "max-age=31536000");
    }
    return headers;
}

http_answer refusal(int status) {
    const std::string reason = MHD_get_reason_phrase_for(static_cast<unsigned>(status));
    http_answer answer = plain_answer(status, std::to_string(status) + " " + reason + "\n");
    answer.headers.emplace_back("Connection", "close");
    if (status == 401) {
        answer.headers.emplace_back(
            "WWW-Authenticate", R"(Basic realm="opcua-probe", charset="UTF-8")"
        );
    }
    if (status == 429) {
        answer.headers.emplace_back(
            "Retry-After", std::to_string(failed_logins::longest_wait.count())
        );
    }
    if (status == 405) {
        answer.headers.emplace_back("Allow", "GET, HEAD");
    }
    return answer;
}

response_owner make_response(http_answer answer, http_headers fixed) {
    for (const auto& [name, value] : answer.headers) {
        put(fixed, name, value);
    }
    put(fixed, "Content-Type", answer.content_type);
    auto body = std::make_unique<std::string>(std::move(answer.body));
    response_owner response{MHD_create_response_from_buffer_with_free_callback_cls(
        body->size(), body->data(), release_body, body.get()
    )};
    if (response == nullptr) {
        throw std::bad_alloc{};
    }
    static_cast<void>(body.release()); // to the response
    for (const auto& [name, value] : fixed) {
        if (MHD_add_response_header(response.get(), name.c_str(), value.c_str()) != MHD_YES) {
            throw std::bad_alloc{};
        }
    }
    return response;
}

std::vector<accepted_choice> accepted_choices(std::string_view header) {
    std::vector<accepted_choice> choices;
    for (const std::string& range : split_at(',', lower_case(header))) {
        const std::vector<std::string> parts = split_at(';', range);
        accepted_choice& choice = choices.emplace_back();
        choice.name = trimmed(parts.front());
        for (const std::string_view parameter : parts) {
            const std::string_view text = trimmed(parameter);
            if (text.starts_with("q=")) {
                const double weight = parse_number<double>(text.substr(2)).value_or(0);
                choice.weight = weight >= 0 && weight <= 1 ? weight : 0;
            } else if (text.starts_with("version=")) {
                choice.version = text.substr(8);
                std::erase(choice.version, '"');
            }
        }
    }
    return choices;
}

void compress(http_answer& answer, std::string_view accept_encoding) {
    if (is_worth_compressing(answer) &&
        std::ranges::any_of(accepted_choices(accept_encoding), [](const auto& choice) {
            return choice.name == "gzip" && choice.weight > 0;
        })) {
        answer.body = gzipped(answer.body);
        answer.headers.emplace_back("Content-Encoding", "gzip");
    }
}

} // namespace tarvik::monitoring_modules::probe
