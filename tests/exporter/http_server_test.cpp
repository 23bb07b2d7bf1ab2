#include "tests/exporter/http_fixture.hpp"
#include "tests/host/expect_error.hpp"

#include <zlib.h>

#include <atomic>
#include <list>
#include <thread>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(http_test, hands_requests_to_the_handler_and_its_answer_to_the_client) {
    start();
    const std::string answer = ask(get("/a%20b?x=1&y=%41+b&x=2", "X-Test: %41\r\n"));
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer, EndsWith("\r\n\r\nGET /a b x=1 x=2 y=A b %41"));
    EXPECT_THAT(answer, HasSubstr("\r\nContent-Type: text/html; charset=utf-8\r\n"));
    EXPECT_THAT(answer, HasSubstr("\r\nCache-Control: max-age=60\r\n"));
    EXPECT_THAT(answer, Not(HasSubstr("no-store"))) << "the handler knows better";
    const std::string head = ask("HEAD / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(head, HasSubstr("\r\nContent-Length: 8\r\n"));
    EXPECT_THAT(head, EndsWith("\r\n\r\n"));
    EXPECT_EQ(ask(get("/", "Range: bytes=0-,0-,0-,0-\r\n")).size(), ask(get("/")).size());
}

TEST_F(http_test, answers_requests_that_come_at_once) {
    start();
    http_client client{port_};
    std::string all;
    for (int i = 0; i < 4; ++i) {
        all += "GET /" + std::to_string(i) + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
    }
    client.send(all.substr(0, 20));
    client.send(all.substr(20));
    EXPECT_THAT(client.receive("GET /3 "), HasSubstr("GET /2 "));
}

// Whoever hides the length of a body from one of two readers makes the other one take it as a
// request, with the rights of whom the first one lets in.
TEST_F(http_test, takes_no_body_as_a_request) {
    start();
    const std::string hidden = "GET /hidden HTTP/1.1\r\nHost: localhost\r\n\r\n";
    for (std::string head :
         {"Host: localhost\r\n@\nX: y\r\n\r\n",
          "Host: localhost\n@\r\n\r\n",
          "Host: localhost\r\nX: y\n@\n\n",
          "Host: localhost\r\nX: y\r@\r\n\r\n",
          "Host: localhost\r\n@\r\n\r\n",
          "Host: localhost\r\nContent-Length : 41\r\n\r\n",
          "Host: localhost\r\nX: y\r\n @\r\n@\r\n\r\n"}) {
        const std::string length = "Content-Length: " + std::to_string(hidden.size());
        for (std::size_t at = head.find('@'); at != std::string::npos; at = head.find('@')) {
            head.replace(at, 1, length);
        }
        head.insert(0, "GET /first HTTP/1.1\r\n").append(hidden);
        const std::string answer = ask(head);
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 4")) << head;
        EXPECT_THAT(answer, Not(HasSubstr("hidden"))) << head;
        EXPECT_EQ(answer.find("HTTP/1.1", 1), std::string::npos) << head;
    }
}

[[nodiscard]] std::string unzipped(const std::string& body) {
    z_stream state{};
    std::string result(10'000, '\0');
    std::string input = body;
    state.next_in = reinterpret_cast<Bytef*>(input.data());
    state.avail_in = static_cast<uInt>(input.size());
    state.next_out = reinterpret_cast<Bytef*>(result.data());
    state.avail_out = static_cast<uInt>(result.size());
    EXPECT_EQ(inflateInit2(&state, 15 + 16), Z_OK);
    EXPECT_EQ(inflate(&state, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(inflateEnd(&state), Z_OK);
    return result.substr(0, state.total_out);
}

TEST_F(http_test, compresses_text_for_those_who_can_read_it) {
    http_server server{{}, [](const http_request& request) {
                           return http_answer{200, request.path.substr(1), std::string(5'000, 'a')};
                       }};
    port_ = server.start();
    const std::tuple<std::string, std::string, bool> rows[] = {
        {"text/plain;version=0.0.4", "gzip", true},
        {"application/openmetrics-text;version=1.0.0", "br, GZIP;q=0.5", true},
        {"text/plain", "br", false},
        {"text/plain", "gzip;q=0", false},
        {"image/png", "gzip", false},
    };
    for (const auto& [type, accepted, compressed] : rows) {
        const std::string answer = ask(get("/" + type, "Accept-Encoding: " + accepted + "\r\n"));
        const std::string body = answer.substr(answer.find("\r\n\r\n") + 4);
        EXPECT_EQ(answer.find("Content-Encoding: gzip") != std::string::npos, compressed)
            << type << accepted;
        EXPECT_EQ(compressed ? unzipped(body) : body, std::string(5'000, 'a')) << type << accepted;
    }
}

TEST_F(http_test, serves_others_while_clients_are_slow) {
    settings_.threads = 1;
    settings_.limits.connections = 6;
    start();
    http_client deaf{port_, 4096};
    deaf.send(get("/big"));
    std::list<http_client> slow;
    for (int i = 0; i < 80; ++i) { // more than there is room for, at one time
        slow.emplace_back(port_).send("GET / HT");
    }
    const auto begin = clock::now();
    for (int i = 0; i < 20; ++i) {
        for (http_client& client : slow) {
            client.send("T"); // one byte now and then is not enough
        }
        EXPECT_THAT(ask(get("/quick")), HasSubstr("GET /quick"));
    }
    EXPECT_LT(clock::now() - begin, 5s);
    EXPECT_EQ(slow.front().receive(), "");
    EXPECT_TRUE(slow.front().closed());
}

TEST_F(http_test, has_patience_with_nobody_for_ever) {
    settings_.limits.patience = 0s;
    start();
    http_client deaf{port_, 4096};
    deaf.send(get("/big"));
    http_client slow{port_};
    slow.send("GET / HT");
    deaf.receive("HTTP");
    EXPECT_THAT(ask(get("/quick")), HasSubstr("GET /quick"));
    EXPECT_EQ(slow.receive(), "");
    EXPECT_TRUE(slow.closed());
    EXPECT_LT(deaf.receive().size(), big_size);
}

TEST_F(http_test, sends_large_answers_whole_to_those_who_stay) {
    start();
    EXPECT_GT(ask(get("/big")).size(), big_size);
    {
        http_client impatient{port_};
        impatient.send(get("/big"));
        impatient.receive("xxx");
    }
    EXPECT_THAT(ask(get("/")), HasSubstr("200 OK"));
}

TEST_F(http_test, stops_in_time_whoever_is_connected) {
    start();
    http_client idle{port_};
    http_client slow{port_};
    http_client deaf{port_, 4096};
    http_client kept{port_};
    slow.send("GET");
    deaf.send(get("/big"));
    kept.send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
    kept.receive("GET / ");
    const auto begin = clock::now();
    server_->stop();
    EXPECT_LT(clock::now() - begin, 3s);
    EXPECT_EQ(idle.receive(), "");
    EXPECT_TRUE(idle.closed());
    EXPECT_FALSE(http_client{port_}.connected());
}

TEST_F(http_test, finishes_answers_under_way_when_it_stops) {
    std::atomic<bool> asked = false;
    http_server server{{}, [&asked](const http_request&) {
                           asked = true;
                           std::this_thread::sleep_for(200ms);
                           return plain_answer(200, "late");
                       }};
    http_client client{server.start()};
    client.send(get("/"));
    while (!asked) {
        std::this_thread::sleep_for(1ms);
    }
    server.stop();
    EXPECT_THAT(client.receive(), EndsWith("late"));
}

TEST_F(http_test, tells_why_it_cannot_listen) {
    start();
    settings_.port = port_;
    const http_handler none = [](const http_request&) { return http_answer{}; };
    http_server second{settings_, none};
    expect_error([&] { second.start(); }, exit_code::not_loaded, "already in use");
    settings_.address = "192.0.2.1";
    http_server foreign{settings_, none};
    expect_error([&] { foreign.start(); }, exit_code::not_loaded, "192.0.2.1");
    settings_.address = "no such name";
    http_server nameless{settings_, none};
    expect_error([&] { nameless.start(); }, exit_code::usage, "no such name");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
