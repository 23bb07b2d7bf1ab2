#pragma once
// What stands behind plant_server: the plant's nodes and, while it runs, the loop with the server
// that shows them.

#include "simulator/address_space.hpp"
#include "simulator/certificate_maker.hpp"
#include "simulator/plant_node.hpp"
#include "simulator/plant_server.hpp"
#include "simulator/port_reservation.hpp"
#include "simulator/server_loop.hpp"
#include "simulator/server_status.hpp"
#include "simulator/session_list.hpp"
#include "simulator/stack_logger.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::simulator {

class plant_server::implementation final {
  public:
    explicit implementation(plant_options options);
    ~implementation() { stop(); }
    implementation(const implementation&) = delete;
    implementation& operator=(const implementation&) = delete;

    void start();
    void stop() noexcept;
    bool running();
    void freeze();
    void thaw();
    std::uint16_t port() const { return port_; }
    void close_all_sessions();
    void remove_node(std::string_view id);
    void set_text(
        std::string_view id,
        std::string_view text,
        void (plant_node::*keep)(std::string_view),
        void (address_space::*show)(const UA_NodeId&, std::string_view)
    );
    reading read(const plant_node& node);
    void advance();

    /// @throws plant_error for a node that is unknown or removed
    plant_node& find(std::string_view id);

    const std::deque<plant_node>& plant() const { return plant_; }
    const der_bytes& certificate() const { return identity_.certificate; }
    std::size_t session_count();
    const stack_logger& logger() const { return logger_; }
    std::uint64_t value_reads() const { return value_reads_; }
    void set_diagnostics(bool enabled) { state_.diagnostics = enabled; }

  private:
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
    std::mutex server_mutex_;
    std::optional<port_reservation>
        reserved_port_;               // guarded by server_mutex_; from the first start on
    std::optional<server_loop> loop_; // guarded by server_mutex_
};

} // namespace tarvik::simulator
