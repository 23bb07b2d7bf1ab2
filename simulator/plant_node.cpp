#include "simulator/plant_node.hpp"

#include "simulator/plant_motion.hpp"
#include "simulator/plant_values.hpp"

#include <utility>

namespace tarvik::simulator {
namespace {

/// Whether a status comes without a value.
bool lacks_value(UA_StatusCode status) {
    return UA_StatusCode_isBad(status) || status == UA_STATUSCODE_GOODNODATA;
}

/// The server's own session is in namespace 0.
bool is_client(const UA_NodeId* session) {
    return session != nullptr && session->namespaceIndex != 0;
}

// Called by the stack, which knows no exceptions. An empty variant is sent as "no value".
UA_StatusCode read_callback(
    UA_Server* server,
    const UA_NodeId* session,
    void* /*session_context*/,
    const UA_NodeId* /*id*/,
    void* node_context,
    UA_Boolean with_source_timestamp,
    const UA_NumericRange* index_range,
    UA_DataValue* result
) noexcept {
    try {
        if (node_context == nullptr) {
            return UA_STATUSCODE_BADINTERNALERROR;
        }
        const auto& node = *static_cast<const plant_node*>(node_context);
        // The server itself checks the type of a node that is added, which must succeed even if
        // the node has been given a bad status or a value of another type before a restart.
        const bool by_client = is_client(session);
        reading now = by_client ? node.read(server) : reading{node.declared().value};
        if (by_client) {
            node.count_read();
        }
        result->status = now.status;
        result->hasStatus = now.status != UA_STATUSCODE_GOOD;
        if (with_source_timestamp) {
            result->sourceTimestamp = UA_DateTime_now() - node.age();
            result->hasSourceTimestamp = true;
        }
        if (lacks_value(now.status)) {
            return now.status; // the stack puts an empty value beside what is returned as good
        }
        if (index_range != nullptr) {
            result->hasValue = true;
            return UA_Variant_copyRange(&now.value.get(), &result->value, *index_range);
        }
        result->value = now.value.release();
        result->hasValue = true;
        return UA_STATUSCODE_GOOD;
    } catch (...) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

UA_StatusCode write_callback(
    UA_Server* /*server*/,
    const UA_NodeId* session,
    void* /*session_context*/,
    const UA_NodeId* /*id*/,
    void* node_context,
    const UA_NumericRange* index_range,
    const UA_DataValue* written
) noexcept {
    try {
        // At its start the server itself writes StartTime, which may have been set already.
        if (!is_client(session)) {
            return UA_STATUSCODE_GOOD;
        }
        if (index_range != nullptr) {
            return UA_STATUSCODE_BADWRITENOTSUPPORTED;
        }
        if (node_context == nullptr || !written->hasValue) {
            return UA_STATUSCODE_BADTYPEMISMATCH;
        }
        static_cast<plant_node*>(node_context)->set_value(written->value);
        return UA_STATUSCODE_GOOD;
    } catch (...) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

} // namespace

plant_node::plant_node(plant_row row, source computed, std::atomic<std::uint64_t>* value_reads)
    : row_(std::move(row)),
      computed_(std::move(computed)),
      value_reads_(value_reads),
      value_(row_.value),
      base_(row_.value),
      display_name_(row_.display_name),
      description_(row_.description) {}

reading plant_node::read(UA_Server* server) const {
    {
        const std::lock_guard lock(mutex_);
        if (lacks_value(status_)) {
            return {{}, status_};
        }
        if (!computed_ || set_by_hand_) {
            return {value_, status_};
        }
    }
    // Without the lock: the source may call into the server, whose thread may be waiting for this
    // node.
    return computed_(server);
}

void plant_node::set_value(const UA_Variant& value) {
    variant copy{value};
    const std::lock_guard lock(mutex_);
    base_ = copy;
    value_ = std::move(copy);
    set_by_hand_ = true;
}

void plant_node::set_status(UA_StatusCode status) {
    const std::lock_guard lock(mutex_);
    status_ = status;
}

void plant_node::set_age(UA_DateTime age) {
    const std::lock_guard lock(mutex_);
    age_ = age;
}

UA_DateTime plant_node::age() const {
    const std::lock_guard lock(mutex_);
    return age_;
}

void plant_node::advance(std::uint64_t step) {
    const std::lock_guard lock(mutex_);
    move_value(row_.moves, step, base_.get(), value_);
}

std::string plant_node::display_name() const {
    const std::lock_guard lock(mutex_);
    return display_name_;
}

std::string plant_node::description() const {
    const std::lock_guard lock(mutex_);
    return description_;
}

void plant_node::set_display_name(std::string_view text) {
    const std::lock_guard lock(mutex_);
    display_name_ = text;
}

void plant_node::set_description(std::string_view text) {
    const std::lock_guard lock(mutex_);
    description_ = text;
}

bool plant_node::removed() const {
    const std::lock_guard lock(mutex_);
    return removed_;
}

void plant_node::remove() {
    const std::lock_guard lock(mutex_);
    removed_ = true;
}

void plant_node::count_read() const noexcept {
    if (value_reads_ != nullptr) {
        ++*value_reads_;
    }
}

UA_DataSource plant_node::data_source() noexcept {
    return {read_callback, write_callback};
}

} // namespace tarvik::simulator
