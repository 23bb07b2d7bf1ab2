#include "probe/serve/http/request_processor.hpp"

#include "probe/serve/http/compression.hpp"
#include "probe/serve/http/fixed_answer.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <exception>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

/// A connection to nowhere: reads from one text and writes to another.
class memory_stream final : public httplib::Stream {
  public:
    explicit memory_stream(std::string_view input) : input_{input} {}

    [[nodiscard]] bool is_readable() const override { return !input_.empty(); }
    [[nodiscard]] bool is_writable() const override { return true; }
    ssize_t read(char* to, std::size_t size) override {
        const std::size_t count = input_.copy(to, size);
        input_.remove_prefix(count);
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* from, std::size_t size) override {
        output_.append(from, size);
        return static_cast<ssize_t>(size);
    }
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    [[nodiscard]] socket_t socket() const override { return 0; }

    [[nodiscard]] std::string& output() noexcept { return output_; }

  private:
    std::string_view input_;
    std::string output_;
};

/// @param answer begins like "HTTP/1.1 414 "
[[nodiscard]] int status_of(const std::string& answer) {
    constexpr std::size_t start = 9;
    int status = 500;
    if (answer.size() > start + 3) {
        std::from_chars(answer.data() + start, answer.data() + start + 3, status);
    }
    return status;
}

/// The library adds what it knows about the connection to the headers.
[[nodiscard]] bool is_from_client(const std::string& name) {
    return !name.starts_with("REMOTE_") && !name.starts_with("LOCAL_");
}

[[nodiscard]] http_request make_request(const httplib::Request& request, const std::string& peer) {
    http_request result{request.method, request.path, request.params, {}, peer};
    for (const auto& header : request.headers) {
        if (is_from_client(header.first)) {
            result.headers.push_back(header);
        }
    }
    return result;
}

void put(httplib::Response& response, const std::string& name, const std::string& value) {
    response.headers.erase(name);
    response.set_header(name, value);
}

} // namespace

request_processor::request_processor(
    const access_rules& rules,
    const http_handler& handler,
    const http_observer& observer,
    bool secure
)
    : rules_{rules},
      handler_{handler},
      observer_{observer},
      secure_{secure} {
    const http_headers& fixed = fixed_headers(secure);
    set_default_headers({fixed.begin(), fixed.end()});
    set_pre_routing_handler([this](const httplib::Request&, httplib::Response& response) {
        answer(response);
        return HandlerResponse::Handled;
    });
    set_post_routing_handler([](const httplib::Request&, httplib::Response& response) {
        response.headers.erase("Keep-Alive"); // tells limits that are not ours
    });
}

answer_text request_processor::process(const request_text& request) {
    const auto start = std::chrono::steady_clock::now();
    request_.reset();
    refusal_.reset();
    record_ = {};
    record_.peer = request.peer;
    answer_text result;
    try {
        result = converse(request);
    } catch (const std::exception& error) {
        record_.problem = error.what();
        result = {fixed_answer(500, secure_), false};
    }
    record_.status = status_of(result.bytes);
    record_.seconds =
        std::chrono::duration<double>{std::chrono::steady_clock::now() - start}.count();
    if (observer_) {
        observer_(record_);
    }
    return result;
}

answer_text request_processor::converse(const request_text& request) {
    memory_stream stream{request.head};
    bool ends = request.last;
    process_request(stream, request.last, ends, [this, &request](httplib::Request& parsed) {
        take(parsed, request.peer);
    });
    if (!request_) { // the library has refused it, but does not close the connection
        return {fixed_answer(status_of(stream.output()), secure_), false};
    }
    if (refusal_) {
        return {fixed_answer(*refusal_, secure_, request_->method == "HEAD"), false};
    }
    return {std::move(stream.output()), !ends};
}

void request_processor::take(httplib::Request& request, const std::string& peer) {
    request_ = make_request(request, peer);
    record_.path = request_->path;
    refusal_ = rules_.refusal(*request_);
    // A small request with many ranges would get a huge answer; brotli takes seconds; and a body is
    // never welcome.
    request.ranges.clear();
    for (const char* name : {"Range", "Accept-Encoding", "Expect"}) {
        request.headers.erase(name);
    }
}

void request_processor::answer(httplib::Response& response) {
    if (refusal_) {
        return;
    }
    http_answer made = asked_handler();
    if (refusal_) {
        return;
    }
    response.status = made.status;
    for (const auto& [name, value] : made.headers) {
        put(response, name, value);
    }
    const std::string type = made.content_type.empty() ? "text/plain" : made.content_type;
    if (is_worth_compressing(made.body, type) &&
        accepts_gzip(request_->header("Accept-Encoding").value_or(""))) {
        made.body = gzipped(made.body);
        put(response, "Content-Encoding", "gzip");
    }
    put(response, "Content-Type", type);
    response.body = std::move(made.body);
}

http_answer request_processor::asked_handler() {
    try {
        return handler_(*request_);
    } catch (const std::exception& error) {
        record_.problem = error.what();
    } catch (...) {
        record_.problem = "unknown";
    }
    refusal_ = 500;
    return {};
}

} // namespace tarvik::monitoring_modules::probe
