#pragma once
// The simulator's one exception.

#include <stdexcept>

namespace tarvik::simulator {

/// The server cannot start, or a node is asked for that the plant does not have.
class plant_error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

} // namespace tarvik::simulator
