// Apart from the tests, so that the compiler cannot see through the allocations.

#include "watched_memory.hpp"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::string_view watched_text; // empty: nothing is watched
std::atomic<int> found{0};

void release(void* block) noexcept {
    if (block && !watched_text.empty()) {
        const std::string_view content{static_cast<const char*>(block), malloc_usable_size(block)};
        found += content.find(watched_text) != std::string_view::npos ? 1 : 0;
    }
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc): this is operator delete itself
}

} // namespace

void watched_memory::start(std::string_view text) noexcept {
    watched_text = text;
    found = 0;
}

int watched_memory::stop() noexcept {
    watched_text = {};
    return found;
}

void* operator new(std::size_t size) {
    if (void* const block = std::malloc(size)) { // NOLINT(cppcoreguidelines-no-malloc): likewise
        return block;
    }
    throw std::bad_alloc{};
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* block) noexcept {
    release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    release(block);
}

void operator delete[](void* block) noexcept {
    release(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}
