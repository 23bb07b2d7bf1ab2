#pragma once
// A server with a handler that tells what it was asked.

#include "exporter/http/http_server.hpp"
#include "tests/exporter/http_client.hpp"

#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

class http_test : public testing::Test {
  protected:
    void start() {
        server_.emplace(
            settings_,
            [this](const http_request& request) { return answer(request); },
            [this](const std::string& path, int status) {
                const std::lock_guard lock{mutex_};
                records_.emplace_back(path, status);
            }
        );
        port_ = server_->start();
    }

    /// @return all that comes back until the server closes
    [[nodiscard]] std::string ask(std::string_view request) const {
        http_client client{port_};
        client.send(request);
        return client.receive();
    }

    [[nodiscard]] static std::string
    get(const std::string& path,
        const std::string& headers = "",
        const std::string& host = "localhost") {
        return "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\nConnection: close\r\n" +
               headers + "\r\n";
    }

    [[nodiscard]] http_answer answer(const http_request& request) const {
        if (request.path == "/throw") {
            throw std::runtime_error{"secret reason"};
        }
        if (request.path == "/big") {
            return {200, "application/octet-stream", std::string(big_size, 'x')};
        }
        std::string text = request.method + " " + request.path;
        for (const auto& [name, value] : request.parameters) {
            text.append(" ").append(name).append("=").append(value);
        }
        text += " " + request.header("x-test").value_or("-");
        return {200, "text/html; charset=utf-8", text, {{"Cache-Control", "max-age=60"}}};
    }

    static constexpr std::size_t big_size = 16U << 20U; // more than sockets take in

    http_settings settings_;
    std::uint16_t port_ = 0;
    mutable std::mutex mutex_;
    std::vector<std::pair<std::string, int>> records_;
    std::optional<http_server> server_;
};

} // namespace tarvik::monitoring_modules::probe
