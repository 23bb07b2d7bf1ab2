#pragma once
// One variable of the server and where its value comes from. Clients read it through the stack in
// the server's thread while tests set it from theirs: every member may be called from any thread.

#include "simulator/plant_rows.hpp"
#include "simulator/stack_owners.hpp"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include <open62541/server.h>

namespace tarvik::simulator {

/// What a reader gets: a value, or the reason why there is none.
struct reading {
    variant value{};
    UA_StatusCode status = UA_STATUSCODE_GOOD;
};

class plant_node final {
  public:
    /// Computes a value at the time of reading. Must not need a lock that is held while nodes are
    /// set.
    using source = std::function<reading(UA_Server*)>;

    /// @param computed empty: the row's value, moved by advance()
    /// @param value_reads counts what clients read; must outlive the node; null: not counted
    plant_node(plant_row row, source computed, std::atomic<std::uint64_t>* value_reads);

    /// Node id, folder, type and behaviour as declared; texts and value may have changed since.
    [[nodiscard]] const plant_row& declared() const noexcept { return row_; }

    /// @param server may be null: a computed value may then be empty
    [[nodiscard]] reading read(UA_Server* server) const;
    /// From now on this is the value; a computed one is not computed any more.
    void set_value(const UA_Variant& value);
    void set_status(UA_StatusCode status);
    /// @param age in steps of 100 ns: how long before each Read the value came to be.
    void set_age(UA_DateTime age);
    [[nodiscard]] UA_DateTime age() const;
    /// @param step number of the step since the plant was made
    void advance(std::uint64_t step);

    [[nodiscard]] std::string display_name() const;
    [[nodiscard]] std::string description() const;
    void set_display_name(std::string_view text);
    void set_description(std::string_view text);
    [[nodiscard]] bool removed() const;
    void remove();

    void count_read() const noexcept;

    /// Callbacks for the stack. The node's context must be the plant_node.
    [[nodiscard]] static UA_DataSource data_source() noexcept;

  private:
    const plant_row row_;
    const source computed_;
    std::atomic<std::uint64_t>* const value_reads_;

    mutable std::mutex mutex_; // guards all below
    variant value_;
    variant base_; // around which a wave swings and from which a dip sinks
    bool set_by_hand_ = false;
    UA_StatusCode status_ = UA_STATUSCODE_GOOD;
    UA_DateTime age_ = 0;
    std::string display_name_;
    std::string description_;
    bool removed_ = false;
};

} // namespace tarvik::simulator
