// Brings the kept inputs to their door once more, with any compiler:
//
//     run_seeds DOOR FILE_OR_FOLDER...

#include "tests/fuzz/doors.hpp"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using tarvik::monitoring_modules::fuzz::door;
using tarvik::monitoring_modules::fuzz::find_door;

/// Bytes of their own, so that a sanitizer sees who reads behind them.
void enter(const door& by, const fs::path& file) {
    std::fprintf(stderr, "%s\n", file.c_str()); // the last one is to blame
    std::ifstream stream{file, std::ios::binary};
    const std::vector<char> bytes{std::istreambuf_iterator<char>{stream}, {}};
    by.enter({bytes.data(), bytes.size()});
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words{arguments, arguments + count};
    const door* const by = count > 2 ? find_door(words[1]) : nullptr;
    if (by == nullptr) {
        std::fputs("usage: run_seeds DOOR FILE_OR_FOLDER...\n", stderr);
        return 64;
    }
    std::size_t entered = 0;
    for (std::size_t i = 2; i < words.size(); ++i) {
        if (!fs::is_directory(words[i])) {
            enter(*by, words[i]);
            ++entered;
            continue;
        }
        for (const auto& entry : fs::directory_iterator{words[i]}) {
            enter(*by, entry.path());
            ++entered;
        }
    }
    std::printf("%s: %zu inputs\n", words[1].c_str(), entered);
    return entered == 0 ? 1 : 0;
}
