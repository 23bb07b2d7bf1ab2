#include "simulator/plant_server.hpp"

#include "simulator/plant_implementation.hpp"

#include <utility>

namespace tarvik::simulator {

plant_server::plant_server(plant_options options)
    : implementation_(std::make_unique<implementation>(std::move(options))) {}
plant_server::~plant_server() = default;

void plant_server::start() {
    implementation_->start();
}
void plant_server::stop() noexcept {
    implementation_->stop();
}
void plant_server::restart() {
    stop();
    start();
}
bool plant_server::running() const {
    return implementation_->running();
}
void plant_server::freeze() {
    implementation_->freeze();
}
void plant_server::thaw() {
    implementation_->thaw();
}

std::uint16_t plant_server::port() const {
    return implementation_->port();
}
std::string plant_server::endpoint_url() const {
    return "opc.tcp://127.0.0.1:" + std::to_string(port()) + "/";
}

void plant_server::close_all_sessions() {
    implementation_->close_all_sessions();
}
std::size_t plant_server::session_count() const {
    return implementation_->session_count();
}
std::uint64_t plant_server::read_request_count() const {
    return implementation_->logger().read_requests();
}
std::uint64_t plant_server::value_read_count() const {
    return implementation_->value_reads();
}

void plant_server::set_value(std::string_view node_id, const UA_Variant& value) {
    implementation_->find(node_id).set_value(value);
}
void plant_server::set_value(std::string_view node_id, std::string_view value) {
    set_value(node_id, value_of(value).get());
}
void plant_server::set_value(std::string_view node_id, const char* value) {
    set_value(node_id, std::string_view{value});
}
variant plant_server::get_value(std::string_view node_id) const {
    return implementation_->read(implementation_->find(node_id)).value;
}

void plant_server::set_read_status(std::string_view node_id, UA_StatusCode status) {
    implementation_->find(node_id).set_status(status);
}
void plant_server::remove_node(std::string_view node_id) {
    implementation_->remove_node(node_id);
}
void plant_server::set_display_name(std::string_view node_id, std::string_view text) {
    implementation_->set_text(
        node_id, text, &plant_node::set_display_name, &address_space::set_display_name
    );
}
void plant_server::set_description(std::string_view node_id, std::string_view text) {
    implementation_->set_text(
        node_id, text, &plant_node::set_description, &address_space::set_description
    );
}
void plant_server::set_diagnostics(bool enabled) {
    implementation_->set_diagnostics(enabled);
}
void plant_server::advance(unsigned steps) {
    for (; steps > 0; --steps) {
        implementation_->advance();
    }
}

std::vector<plant_server::node_info> plant_server::nodes() const {
    std::vector<node_info> all;
    for (const plant_node& node : implementation_->plant()) {
        if (!node.removed()) {
            const variant value = implementation_->read(node).value;
            all.push_back(
                {node.declared().node_id,
                 type_text(value.get()),
                 value_text(value.get()),
                 node.description()}
            );
        }
    }
    return all;
}

std::vector<std::uint8_t> plant_server::certificate() const {
    return implementation_->certificate();
}

} // namespace tarvik::simulator
