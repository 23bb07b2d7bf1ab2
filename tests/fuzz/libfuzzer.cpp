// One program for all doors: the name by which it is called says which one. So libFuzzer, which
// calls its own program for some of its work, comes to the same door.

#include "tests/fuzz/doors.hpp"

#include <cstddef>

namespace {

using tarvik::monitoring_modules::fuzz::door;

// libFuzzer hands over nothing but bytes.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
const door* chosen = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(const int* /*count*/, char*** arguments) {
    const std::string_view program = (*arguments)[0];
    chosen = tarvik::monitoring_modules::fuzz::find_door(program.substr(program.rfind('/') + 1));
    if (chosen == nullptr) {
        std::fputs("fuzz: call this program by the name of a door\n", stderr);
        std::exit(64);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    chosen->enter({reinterpret_cast<const char*>(bytes), size});
    return 0;
}
