#pragma once

// A client without a server: what comes back to its requests is taken from the input.

#include "opcua/client/client_interface.hpp"
#include "opcua/client/read_request.hpp"
#include "tests/fuzz/decoded.hpp"
#include "tests/fuzz/doors.hpp"

#include <memory>
#include <utility>

namespace tarvik::monitoring_modules::fuzz {

/// How the input holds the answers to Read.
enum class answer_form {
    whole,   ///< as responses
    fitting, ///< as results, of which each response gets as many as the request has items
};

class answering_client final : public opcua::client_interface {
  public:
    /// @param answers must outlive this object
    answering_client(opcua::client_settings settings, input_parts& answers, answer_form form)
        : settings_{std::move(settings)},
          answers_{answers},
          form_{form} {}

    [[nodiscard]] const opcua::client_settings& get_settings() const noexcept override {
        return settings_;
    }
    [[nodiscard]] bool is_connected() const override { return true; }
    [[nodiscard]] bool has_matching_endpoint() override { return false; }
    void ensure_connected() override {}
    [[nodiscard]] opcua::server_certificate_summary get_server_certificate() override { return {}; }
    void write_node_value(opcua::generic_node_interface& /*node*/) override {}
    void read_node(const std::shared_ptr<opcua::generic_node_interface>& node) override {
        read_node(opcua::read_list{node});
    }

    /// As client_open62541 does it.
    void read_node(const opcua::read_list& nodes) override {
        opcua::forget_values(nodes);
        opcua::read_request request{nodes};
        static_cast<void>(request.stack_request());
        request.apply(
            form_ == answer_form::whole ? decoded_answer<opcua::ua_read_response>(answers_.part())
                                        : fitting_answer(request.size()),
            nullptr
        );
    }

    void attach_logger(const std::shared_ptr<liblog::log_interface>&, liblog::severity) override {}
    void detach_logger(const std::shared_ptr<liblog::log_interface>&) override {}

  private:
    [[nodiscard]] opcua::ua_read_response fitting_answer(std::size_t size) {
        opcua::ua_read_response response;
        if (size == 0) {
            return response;
        }
        response->results =
            static_cast<UA_DataValue*>(UA_Array_new(size, &UA_TYPES[UA_TYPES_DATAVALUE]));
        response->resultsSize = size;
        for (UA_DataValue& result : opcua::elements(response->results, size)) {
            bool good = false;
            auto value =
                decoded<opcua::ua_value<UA_DataValue, UA_TYPES_DATAVALUE>>(answers_.part(), good);
            result = value.release();
        }
        return response;
    }

    opcua::client_settings settings_;
    input_parts& answers_;
    answer_form form_;
};

} // namespace tarvik::monitoring_modules::fuzz
