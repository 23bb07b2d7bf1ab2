#pragma once
// Owns a file descriptor.

#include <unistd.h>

#include <utility>

namespace tarvik::monitoring_modules::probe {

/// Closes the descriptor; -1 is none.
class file_descriptor final {
  public:
    explicit file_descriptor(int descriptor = -1) noexcept : descriptor_{descriptor} {}
    ~file_descriptor() { close(); }
    file_descriptor(const file_descriptor&) = delete;
    file_descriptor& operator=(const file_descriptor&) = delete;

    [[nodiscard]] int get() const noexcept { return descriptor_; }
    void swap(file_descriptor& other) noexcept { std::swap(descriptor_, other.descriptor_); }
    void close() noexcept {
        if (descriptor_ >= 0) {
            ::close(std::exchange(descriptor_, -1));
        }
    }

  private:
    int descriptor_;
};

} // namespace tarvik::monitoring_modules::probe
