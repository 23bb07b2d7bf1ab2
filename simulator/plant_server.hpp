#pragma once
// A simulated plant: an OPC UA server on 127.0.0.1 that runs in a thread of its own, with every
// kind of value that a monitored plant may show and with the faults it may have (frozen, restarted,
// sessions dropped, values gone bad).
//
// All members may be called from any thread. Nothing is written to stdout or stderr. Node ids are
// texts such as "ns=2;s=Boiler.Temperature"; simulator/plant_rows.cpp and simulator/ipc_rows.cpp
// list the nodes. The nodes of the server's own diagnostics and state (simulator/server_status.cpp)
// may be named as well wherever a node id is asked for.

#include "simulator/address_space.hpp"
#include "simulator/certificate_maker.hpp"
#include "simulator/plant_error.hpp"
#include "simulator/plant_node.hpp"
#include "simulator/plant_options.hpp"
#include "simulator/plant_values.hpp"
#include "simulator/port_reservation.hpp"
#include "simulator/server_loop.hpp"
#include "simulator/server_status.hpp"
#include "simulator/session_list.hpp"
#include "simulator/stack_logger.hpp"
#include "simulator/stack_owners.hpp"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <open62541/types.h>
#include <open62541/types_generated.h>

namespace tarvik::simulator {

class plant_server final {
  public:
    /// Makes the plant with its first values; no socket is opened yet.
    /// @throws plant_error when a certificate cannot be made.
    explicit plant_server(plant_options options = {});
    ~plant_server() { stop(); }
    plant_server(const plant_server&) = delete;
    plant_server& operator=(const plant_server&) = delete;

    /// Listens, and answers from now on. No effect while running.
    /// After a stop() the same port is used again.
    /// @throws plant_error when somebody listens on the port or the stack refuses.
    void start();
    /// Closes all connections and the port; values stay. No effect while stopped. Ends a freeze.
    void stop() noexcept;
    /// stop() and start(): same port, same values, sessions and connections are lost.
    void restart();
    [[nodiscard]] bool running() const;

    /// Nothing is answered from now until thaw(): connections stay open, new ones wait in the
    /// kernel's queue.
    void freeze();
    /// Answers again, beginning with what came in meanwhile. No effect unless frozen.
    void thaw();

    /// "opc.tcp://127.0.0.1:PORT/". Port 0 until the first start.
    [[nodiscard]] std::string endpoint_url() const;
    [[nodiscard]] std::uint16_t port() const { return port_; }

    /// Ends every session from the server's side; the TCP connections and secure channels stay. No
    /// effect while stopped.
    void close_all_sessions();
    /// All sessions, those included whose login was refused or never came. Not from callbacks.
    [[nodiscard]] std::size_t session_count() const;
    /// Read service requests received since construction, whatever their number of nodes.
    [[nodiscard]] std::uint64_t read_request_count() const { return logger_.read_requests(); }
    /// Values of plant nodes (not of the server's own nodes) that clients have read since
    /// construction.
    [[nodiscard]] std::uint64_t value_read_count() const { return value_reads_; }

    /// Sets the value; the declared DataType of the node stays, so a value of another type is what
    /// a faulty server sends.
    /// @throws plant_error for a node the plant does not have.
    void set_value(std::string_view node_id, const UA_Variant& value);
    /// For bool and all integer and floating-point types of the stack; the type decides:
    /// std::int32_t{5} sets an Int32.
    template <typename Type>
    requires(type_index<Type> < UA_TYPES_COUNT) void set_value(
        std::string_view node_id, Type value
    ) {
        set_value(node_id, value_of(value).get());
    }
    void set_value(std::string_view node_id, std::string_view value);
    void set_value(std::string_view node_id, const char* value);

    /// @return a copy of the value as a client would read it, also while stopped or frozen; an
    /// empty variant if the node has none.
    /// @throws plant_error for a node the plant does not have.
    [[nodiscard]] variant get_value(std::string_view node_id) const;

    /// Reading the node's Value gives this status until UA_STATUSCODE_GOOD (0) is set: without a
    /// value if it is bad or GoodNoData, otherwise with it.
    /// @throws plant_error for a node the plant does not have.
    void set_read_status(std::string_view node_id, UA_StatusCode status);

    /// The node's value came to be so long before each Read, by its source timestamp.
    /// @throws plant_error for a node the plant does not have.
    void set_value_age(std::string_view node_id, std::chrono::seconds age);

    /// The node is gone: clients get BadNodeIdUnknown for all its attributes, also after a restart.
    /// @throws plant_error for a node the plant does not have.
    void remove_node(std::string_view node_id);

    /// Texts of the node; empty: the server answers with a null LocalizedText.
    /// @throws plant_error for a node that is not of the plant.
    void set_display_name(std::string_view node_id, std::string_view text);
    void set_description(std::string_view node_id, std::string_view text);

    /// EnabledFlag (ns=0;i=2294). Switched off, the counters are not readable: BadNodeIdUnknown.
    /// Nodes that set_value() has set keep their values either way.
    void set_diagnostics(bool enabled) { state_.diagnostics = enabled; }

    /// The server's clock (CurrentTime, not the plant's own clocks) goes wrong by this much more.
    void step_clock(std::chrono::seconds by) { state_.clock_error += by.count() * UA_DATETIME_SEC; }

    /// All changing values move one step on; the same number of steps always gives the same values
    /// (clocks aside).
    void advance(unsigned steps = 1);

    /// What a reader of the program's table sees for one node.
    struct node_info {
        std::string node_id;
        std::string type;        ///< "Double", "String[]"; "-" without a value
        std::string value;       ///< as text, shortened
        std::string description; ///< may be empty
    };
    /// All nodes of the plant, in the order of their declaration.
    [[nodiscard]] std::vector<node_info> nodes() const;

    /// The server's certificate, DER; empty if it needs none.
    [[nodiscard]] const std::vector<std::uint8_t>& certificate() const {
        return identity_.certificate;
    }

  private:
    void set_text(
        std::string_view id,
        std::string_view text,
        void (plant_node::*keep)(std::string_view),
        void (address_space::*show)(const UA_NodeId&, std::string_view)
    );
    [[nodiscard]] reading read(const plant_node& node) const;
    void advance_once();
    /// @throws plant_error for a node that is unknown or removed
    [[nodiscard]] plant_node& find(std::string_view id) const;
    void fill(UA_Server& server);
    void advance_when_due();

    const plant_options options_;
    const server_identity identity_;
    stack_logger logger_;
    session_list sessions_;
    std::atomic<std::uint64_t> value_reads_{0};
    server_state state_;
    std::atomic<std::uint16_t> port_;

    // The containers stay as they are after construction; the nodes have their own locks.
    std::vector<const char*> namespaces_;
    std::deque<plant_node> plant_;
    std::deque<plant_node> status_;
    std::map<std::string, plant_node*, std::less<>> by_id_;

    std::mutex step_mutex_;
    std::uint64_t step_ = 0;                          // guarded by step_mutex_
    std::chrono::steady_clock::time_point next_step_; // the loop's thread only

    // Never taken in the loop's thread, so that stop() may wait for that thread while holding it.
    mutable std::mutex server_mutex_;
    std::optional<port_reservation>
        reserved_port_;                       // guarded by server_mutex_; from the first start on
    mutable std::optional<server_loop> loop_; // guarded by server_mutex_
};

} // namespace tarvik::simulator
