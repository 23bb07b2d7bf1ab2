// Memory that the program gives back is overwritten first, so that no password stays in it: texts,
// configurations and records are copied and moved by many hands, and all of them end here. It
// costs each release the writing of its bytes.

#include <malloc.h>
#include <string.h>

#include <cstdlib>
#include <new>

namespace {

void wipe_and_free(void* memory) noexcept {
    if (memory != nullptr) {
        explicit_bzero(memory, malloc_usable_size(memory));
        std::free(memory); // NOLINT(cppcoreguidelines-no-malloc): this is what delete is made of
    }
}

} // namespace

// All other forms of new and delete call these or work with their memory, which is that of the
// usual operator new. NOLINTBEGIN(misc-new-delete-overloads)

void operator delete(void* memory) noexcept {
    wipe_and_free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    wipe_and_free(memory);
}
void operator delete[](void* memory) noexcept {
    wipe_and_free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    wipe_and_free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    wipe_and_free(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    wipe_and_free(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
    wipe_and_free(memory);
}
void operator delete
    [](void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    wipe_and_free(memory);
}

// NOLINTEND(misc-new-delete-overloads)
