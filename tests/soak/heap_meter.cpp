/*
 * Preloaded into a program, it writes into the file that SOAK_HEAP names, ten times a second, how
 * many bytes the allocator has given out and not got back: a decimal number. Resident memory does
 * not tell that, because of pages that are touched late and of those that are kept for reuse.
 */
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

[[noreturn]] void measure(int file) {
    while (true) {
        const struct mallinfo2 now = mallinfo2();
        char text[24]; // NOLINT(modernize-avoid-c-arrays): for snprintf
        const int length = std::snprintf(text, sizeof text, "%020zu\n", now.uordblks + now.hblkhd);
        [[maybe_unused]] const auto written =
            pwrite(file, text, static_cast<std::size_t>(length), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
    }
}

[[gnu::constructor]] void begin() {
    const char* const path = std::getenv("SOAK_HEAP");
    const int file = path == nullptr ? -1 : open(path, O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    if (file < 0) {
        return;
    }
    sigset_t all{};
    sigset_t before{};
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before); // the program's signals are for its own threads
    std::thread{measure, file}.detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace
