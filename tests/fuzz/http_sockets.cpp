// Bytes as they reach the socket of `serve`. Whatever comes of them, the next client is served.

#include "tests/exporter/http_client.hpp"
#include "tests/fuzz/doors.hpp"
#include "tests/fuzz/web_site.hpp"

namespace tarvik::monitoring_modules::fuzz {

namespace {

/// Says no more, and takes what comes until the server closes; or goes away before that, since the
/// HTTP library lets some wrong requests wait for their time-out.
std::string take_answer(const probe::http_client& client) {
    constexpr int patience = 100; // milliseconds
    ::shutdown(client.descriptor(), SHUT_WR);
    std::string text;
    std::array<char, 65536> block;
    pollfd source{client.descriptor(), POLLIN, 0};
    while (::poll(&source, 1, patience) > 0) {
        const ssize_t got = ::recv(client.descriptor(), block.data(), block.size(), 0);
        if (got <= 0) {
            break;
        }
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text;
}

} // namespace

void http_sockets(std::string_view input) {
    static const web_server server{{}};
    {
        probe::http_client client{server.port()};
        require(client.connected(), "the server serves");
        client.send(input);
        const std::string answer = take_answer(client);
        require(answer.empty() || answer.starts_with("HTTP/1."), "an answer is one of HTTP");
        if (!answer.empty()) {
            return;
        }
    }
    probe::http_client next{server.port()};
    next.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
    require(next.receive("ok\n").starts_with("HTTP/1.1 200"), "the next client is served");
}

} // namespace tarvik::monitoring_modules::fuzz
