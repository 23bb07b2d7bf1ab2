#include "exporter/http/access_rules.hpp"
#include "tests/exporter/http_fixture.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(http_access_rules, know_our_names) {
    const auto listening_on = [](const std::string& address,
                                 const std::string& bound,
                                 const std::vector<std::string>& names) {
        http_settings settings;
        settings.address = address;
        settings.allowed_hosts = names;
        return access_rules{settings, bound};
    };
    const access_rules local = listening_on("127.0.0.1", "127.0.0.1", {"Probe.example"});
    const access_rules local6 = listening_on("::1", "::1", {});
    const access_rules lan = listening_on("plc-view.example", "10.0.0.5", {});
    const access_rules any = listening_on("0.0.0.0", "0.0.0.0", {"probe.example"});
    const access_rules any6 = listening_on("::", "::", {});
    const struct {
        const access_rules& rules;
        std::string host;
        bool allowed;
    } rows[] = {
        {local, "127.0.0.1", true},
        {local, "127.0.0.1:9840", true},
        {local, "LOCALHOST:1", true},
        {local, "localhost.", true},
        {local, "probe.EXAMPLE:80", true},
        {local, "127.0.0.2", false},
        {local, "2130706433", false}, // the same address for a resolver
        {local, "evil.example", false},
        {local, "probe.example.evil.example", false},
        {local, "localhost:80:80", false},
        {local, "localhost:port", false},
        {local, "localhost@evil.example", false},
        {local, std::string{"127.0.0.1\0.evil.example", 23}, false},
        {local, "", false},
        {local, ":80", false},
        {local, "[127.0.0.1]", false},
        {local6, "[::1]:80", true},
        {local6, "[0:0:0:0:0:0:0:1]", true},
        {local6, "::1", false},
        {local6, "[::1", false},
        {local6, "[::2]", false},
        {local6, "localhost", true},
        {lan, "10.0.0.5", true},
        {lan, "plc-view.example", true},
        {lan, "localhost", false}, // cannot be reached by it, so it is a lie
        {any, "192.0.2.77:80", true},
        {any, "[2001:db8::1]", true},
        {any, "localhost", true},
        {any, "probe.example", true},
        {any, "evil.example", false},
        {any6, "192.0.2.77", true},
        {any6, "0.0.0.0.evil", false},
    };
    for (const auto& [rules, host, allowed] : rows) {
        EXPECT_EQ(rules.is_our_name(host), allowed) << host;
    }
}

TEST_F(http_test, refuses_what_it_does_not_serve) {
    settings_.limits.silence = std::chrono::seconds{1};
    start();
    const std::string evil = "Evil-Text";
    const auto head = [](const std::string& line, const std::string& headers) {
        return line + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n";
    };
    const auto site = [&](const std::string& path, const std::string& headers) {
        return get(path, "Sec-Fetch-Site: " + headers + "\r\n");
    };
    const std::string navigation = "\r\nSec-Fetch-Mode: navigate\r\nSec-Fetch-Dest: ";
    const std::pair<std::string, int> rows[] = {
        {head("POST /" + evil, "Content-Length: 3\r\n") + "abc", 405},
        {head("POST /", "Content-Length: 3\r\nExpect: 100-continue\r\n"), 405},
        {head("OPTIONS *", "") + evil, 405},
        {head("TRACE /" + evil, ""), 405},
        {head("GET /", "Content-Length: 3\r\n") + "abc", 413},
        {head("GET /", "Transfer-Encoding: chunked\r\n") + "0\r\n\r\n", 413},
        {head("GET /", "Host: localhost\r\n"), 400},
        {evil + " / HTTP/1.1\r\nHost: localhost\r\n\r\n", 405},
        {head("GET http://" + evil + "/", ""), 400},
        {get("/", "", evil + ".example"), 421},
        {get("/", "Origin: http://" + evil + ".example\r\n"), 403},
        {get("/", "Origin: null\r\n"), 403},
        {get("/api", "Origin: http://localhost\r\n"), 200},
        {site("/api", "same-origin"), 200},
        {site("/api", "none"), 200},
        {site("/api", "same-site"), 403},
        {site("/api", "cross-site"), 403},
        {site("/api", evil), 403},
        {site("/api", "cross-site" + navigation + "document"), 403},
        {site("/", "cross-site" + navigation + "document"), 200},
        {site("/", "cross-site" + navigation + "iframe"), 403},
        {site("/", "cross-site\r\nSec-Fetch-Mode: no-cors"), 403},
        {get("/probe", "User-Agent: Mozilla/5.0 (X11)\r\n"),
         403}, // over HTTP no browser tells more
        {get("/probe", "User-Agent: Mozilla/5.0\r\nSec-Fetch-Site: none\r\n"), 200},
        {get("/probe", "User-Agent: Mozilla/5.0\r\nSec-Fetch-Site: cross-site\r\n"), 403},
        {get("/probe", "User-Agent: Prometheus/2.42.0\r\n"), 200},
        {get("/probe"), 200},
        {get("/api", "User-Agent: Mozilla/5.0 (X11)\r\n"), 200},
        {get("/throw"), 500},
    };
    // Newer libmicrohttpd refuses this one itself, with a short page of its own.
    EXPECT_THAT(ask("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    for (const auto& [request, status] : rows) {
        const std::string answer = ask(request);
        const std::string shown = request.substr(0, 100);
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 " + std::to_string(status) + " ")) << shown;
        EXPECT_THAT(answer, Not(HasSubstr(evil))) << shown;
        EXPECT_THAT(answer, Not(HasSubstr("secret reason"))) << shown;
        EXPECT_THAT(answer, Not(HasSubstr("\r\nServer:"))) << shown;
        EXPECT_EQ(answer.find("Allow: GET, HEAD\r\n") != std::string::npos, status == 405);
        EXPECT_EQ(answer.find("HTTP/1.1", 1), std::string::npos) << "one answer only: " << shown;
        for (const char* const header :
             {"Content-Security-Policy: default-src 'none'; script-src 'self';",
              "X-Content-Type-Options: nosniff",
              "Referrer-Policy: no-referrer",
              "Cross-Origin-Opener-Policy: same-origin",
              "Cross-Origin-Resource-Policy: same-origin",
              "X-Frame-Options: DENY",
              "Permissions-Policy: "}) {
            EXPECT_THAT(answer, HasSubstr(header)) << shown;
        }
    }
    server_->stop();
    EXPECT_EQ(records_.back(), (std::pair<std::string, int>{"/throw", 500}));
}

TEST_F(http_test, gives_nothing_to_those_who_speak_no_http) {
    settings_.limits.silence = std::chrono::seconds{1};
    start();
    const std::string evil = "Evil-Text";
    for (const std::string& request :
         {"GET /" + evil + " HTTP/2.0\r\nHost: localhost\r\n\r\n",
          evil + "\r\n\r\n",
          std::string{"\r\n\r\n"},
          std::string{"GET / HTTP/1.1\r\n\0\xff", 18},
          "GET /" + evil + std::string(30'000, 'a') + " HTTP/1.1\r\n\r\n",
          get("/", "X: " + evil + std::string(30'000, 'a') + "\r\n"),
          evil + std::string(30'000, 'a')}) {
        const std::string answer = ask(request);
        EXPECT_THAT(answer, Not(HasSubstr("200 OK"))) << request.substr(0, 100);
        EXPECT_THAT(answer, Not(HasSubstr(evil))) << request.substr(0, 100);
    }
    EXPECT_TRUE(records_.empty());
}

TEST_F(http_test, asks_for_a_password) {
    settings_.basic_auth = {"jörg", "pass:wörd"};
    start();
    const std::string good = "asO2cmc6cGFzczp3w7ZyZA==";
    const std::tuple<std::string, std::string, int> rows[] = {
        {"/", "", 401},
        {"/throw", "", 401},
        {"/healthz", "", 200},
        {"/readyz?x", "", 200},
        {"/healthz/", "", 401},
        {"/", "Authorization: Basic " + good + "\r\n", 200},
        {"/", "authorization: bASIC " + good + "\r\n", 200},
        {"/", "Authorization: Basic " + good + good + "\r\n", 401},
        {"/", "Authorization: Basic " + good.substr(0, 20) + "\r\n", 401},
        {"/", "Authorization: Basic \r\n", 401},
        {"/", "Authorization: Bearer " + good + "\r\n", 401},
        {"/", "Authorization: Basic x\r\nAuthorization: Basic " + good + "\r\n", 401},
    };
    for (const auto& [path, headers, status] : rows) {
        const std::string answer = ask(get(path, headers));
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 " + std::to_string(status))) << path << headers;
        EXPECT_EQ(
            answer.find("WWW-Authenticate: Basic realm=\"opcua-probe\", charset=\"UTF-8\"\r\n") !=
                std::string::npos,
            status == 401
        );
    }
    EXPECT_THAT(ask(get("/", "", "evil.example")), StartsWith("HTTP/1.1 421"));
}

TEST_F(http_test, slows_down_who_tries_passwords) {
    settings_.basic_auth = {"u", "p"};
    start();
    const auto with = [](const std::string& credentials) {
        return get("/", "Authorization: Basic " + credentials + "\r\n");
    };
    const std::string good = "dTpw";
    for (unsigned i = 1; i < failed_logins::free_attempts; ++i) {
        EXPECT_THAT(ask(with("dTpx")), StartsWith("HTTP/1.1 401"));
        EXPECT_THAT(ask(with(good)), StartsWith("HTTP/1.1 200"));
    }
    for (int i = 0; i < 10; ++i) {
        EXPECT_THAT(ask(get("/")), StartsWith("HTTP/1.1 401")) << "no password is no wrong one";
    }
    EXPECT_THAT(ask(with("dTpx")), StartsWith("HTTP/1.1 401"));
    EXPECT_THAT(ask(with(good)), AllOf(StartsWith("HTTP/1.1 429"), HasSubstr("\r\nRetry-After: ")));
    EXPECT_THAT(ask(get("/healthz")), StartsWith("HTTP/1.1 200"));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
