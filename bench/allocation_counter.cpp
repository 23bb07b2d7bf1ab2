#include "bench/allocation_counter.hpp"

#include <cstddef>

// The C library's own functions under their second names.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

thread_local std::uint64_t allocations = 0;

} // namespace

extern "C" {

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size) {
    ++allocations;
    return __libc_realloc(memory, size);
}
}

namespace tarvik::bench {

std::uint64_t allocations_of_this_thread() noexcept {
    return allocations;
}

} // namespace tarvik::bench
