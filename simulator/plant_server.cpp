#include "simulator/plant_server.hpp"

#include "simulator/plant_rows.hpp"
#include "simulator/plant_values.hpp"
#include "simulator/server_setup.hpp"

#include <utility>

namespace tarvik::simulator {
namespace {

constexpr std::chrono::milliseconds step_interval{500};
constexpr std::uint16_t first_own_namespace = 2;

plant_node::source source_of(const plant_row& row) {
    if (row.moves != motion::clock) {
        return {};
    }
    if (row.value->type == &UA_TYPES[UA_TYPES_DATETIME]) {
        return [](UA_Server*) { return reading{date_time(UA_DateTime_now())}; };
    }
    return [](UA_Server*) {
        const UA_DateTime passed = UA_DateTime_now() - UA_DATETIME_UNIX_EPOCH;
        return reading{value_of(std::int64_t{passed / UA_DATETIME_MSEC})};
    };
}

/// A node of the server itself, which the stack has put into its place.
bool is_status(const plant_node& node) {
    return node.declared().folder.empty();
}

} // namespace

plant_server::plant_server(plant_options options)
    : options_(std::move(options)),
      identity_(
          needs_certificate(options_)
              ? make_identity(
                    options_.certificate, options_.application_uri, options_.application_name
                )
              : server_identity{}
      ),
      logger_(options_.log, options_.lowest_level),
      state_{options_.diagnostics, UA_DateTime_now()},
      port_(options_.port) {
    for (plant_tree& tree : plant_trees(options_)) {
        namespaces_.push_back(tree.namespace_uri);
        for (plant_row& row : tree.rows) {
            plant_node::source source = source_of(row);
            plant_.emplace_back(std::move(row), std::move(source), &value_reads_);
        }
    }
    const status_reader read_node = [this](const std::string& id, UA_Server* server) {
        return by_id_.at(canonical_node_id(id))->read(server).value;
    };
    for (status_node& row : status_nodes(state_, read_node)) {
        status_.emplace_back(plant_row{.node_id = row.node_id}, std::move(row.source), nullptr);
    }
    for (std::deque<plant_node>* nodes : {&plant_, &status_}) {
        for (plant_node& node : *nodes) {
            by_id_.emplace(canonical_node_id(node.declared().node_id), &node);
        }
    }
}

void plant_server::fill(UA_Server& server) {
    address_space space{server};
    std::uint16_t index = first_own_namespace;
    for (const char* uri : namespaces_) {
        space.add_namespace(uri, index++);
    }
    for (plant_node& node : plant_) {
        if (!node.removed()) {
            space.add_variable(node);
        }
    }
    for (plant_node& node : status_) {
        space.take_over(node);
        if (node.removed()) {
            UA_Server_deleteNode(&server, parse_node_id(node.declared().node_id).get(), true);
        }
    }
}

void plant_server::start() {
    const std::lock_guard lock(server_mutex_);
    if (loop_) {
        return;
    }
    port_reservation reserved{port_};
    next_step_ = std::chrono::steady_clock::now() + step_interval;
    state_.started = UA_DateTime_now();
    loop_.emplace(
        [&] {
            server_ptr server =
                make_server(options_, reserved.port(), identity_, *logger_.get(), sessions_);
            fill(*server);
            return server;
        },
        [this] { advance_when_due(); }
    );
    port_ = reserved.port();
    reserved_port_ = std::move(reserved);
}

void plant_server::stop() noexcept {
    const std::lock_guard lock(server_mutex_);
    if (!loop_) {
        return;
    }
    loop_.reset();
    sessions_.clear();
}

bool plant_server::running() const {
    const std::lock_guard lock(server_mutex_);
    return loop_.has_value();
}

void plant_server::freeze() {
    const std::lock_guard lock(server_mutex_);
    if (loop_) {
        loop_->freeze();
    }
}

void plant_server::thaw() {
    const std::lock_guard lock(server_mutex_);
    if (loop_) {
        loop_->thaw();
    }
}

std::size_t plant_server::session_count() const {
    const std::lock_guard lock(server_mutex_);
    return loop_ ? loop_->call([](UA_Server& server) { return session_list::open_in(server); }) : 0;
}

void plant_server::close_all_sessions() {
    const std::lock_guard lock(server_mutex_);
    if (!loop_) {
        return;
    }
    loop_->call([this](UA_Server& server) {
        for (const stack_node_id& session : sessions_.ids()) {
            UA_Server_closeSession(&server, &session.get());
        }
    });
}

void plant_server::remove_node(std::string_view id) {
    const std::lock_guard lock(server_mutex_);
    find(id).remove();
    if (loop_) {
        const stack_node_id parsed = parse_node_id(id);
        loop_->call([&](UA_Server& server) { UA_Server_deleteNode(&server, parsed.get(), true); });
    }
}

void plant_server::set_text(
    std::string_view id,
    std::string_view text,
    void (plant_node::*keep)(std::string_view),
    void (address_space::*show)(const UA_NodeId&, std::string_view)
) {
    const std::lock_guard lock(server_mutex_);
    plant_node& node = find(id);
    if (is_status(node)) {
        throw plant_error("a node of the server itself: " + std::string{id});
    }
    (node.*keep)(text);
    if (loop_) {
        const stack_node_id parsed = parse_node_id(id);
        loop_->call([&](UA_Server& server) {
            address_space space{server};
            (space.*show)(parsed.get(), text);
        });
    }
}

reading plant_server::read(const plant_node& node) const {
    if (!is_status(node)) {
        return node.read(nullptr);
    }
    const std::lock_guard lock(server_mutex_);
    return loop_ ? loop_->call([&](UA_Server& server) { return node.read(&server); })
                 : node.read(nullptr);
}

void plant_server::advance_once() {
    const std::lock_guard lock(step_mutex_);
    ++step_;
    for (plant_node& node : plant_) {
        node.advance(step_);
    }
}

void plant_server::advance_when_due() {
    const auto now = std::chrono::steady_clock::now();
    if (options_.auto_change && now >= next_step_) {
        next_step_ = now + step_interval;
        advance_once();
    }
}

plant_node& plant_server::find(std::string_view id) const {
    const auto found = by_id_.find(canonical_node_id(id));
    if (found == by_id_.end() || found->second->removed()) {
        throw plant_error("no such node: " + std::string{id});
    }
    return *found->second;
}

void plant_server::restart() {
    stop();
    start();
}

std::string plant_server::endpoint_url() const {
    return "opc.tcp://127.0.0.1:" + std::to_string(port()) + "/";
}

void plant_server::set_value(std::string_view node_id, const UA_Variant& value) {
    find(node_id).set_value(value);
}

void plant_server::set_value(std::string_view node_id, std::string_view value) {
    set_value(node_id, value_of(value).get());
}

void plant_server::set_value(std::string_view node_id, const char* value) {
    set_value(node_id, std::string_view{value});
}

variant plant_server::get_value(std::string_view node_id) const {
    return read(find(node_id)).value;
}

void plant_server::set_read_status(std::string_view node_id, UA_StatusCode status) {
    find(node_id).set_status(status);
}

void plant_server::set_value_age(std::string_view node_id, std::chrono::seconds age) {
    find(node_id).set_age(age.count() * UA_DATETIME_SEC);
}

void plant_server::set_display_name(std::string_view node_id, std::string_view text) {
    set_text(node_id, text, &plant_node::set_display_name, &address_space::set_display_name);
}

void plant_server::set_description(std::string_view node_id, std::string_view text) {
    set_text(node_id, text, &plant_node::set_description, &address_space::set_description);
}

void plant_server::advance(unsigned steps) {
    for (; steps > 0; --steps) {
        advance_once();
    }
}

std::vector<plant_server::node_info> plant_server::nodes() const {
    std::vector<node_info> all;
    for (const plant_node& node : plant_) {
        if (!node.removed()) {
            const variant value = read(node).value;
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

} // namespace tarvik::simulator
