// Planted faults, one for each family of checks in .clang-tidy: not part of any build. scripts/lint
// --canary fails for every line "planted: CHECK" (here or in canary.hpp) when that check finds
// nothing in the same file.

#include "tests/lint/canary.hpp"

#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::lint_canary {

// planted: bugprone-use-after-move
std::size_t moved_from(std::string text) {
    const std::string taken = std::move(text);
    return text.size() + taken.size();
}

// planted: cert-err34-c
int unchecked_number(const char* text) {
    return std::atoi(text);
}

// planted: clang-analyzer-core.NullDereference
int through_null(bool wanted) {
    int number = 1;
    const int* pointer = wanted ? &number : nullptr;
    return *pointer;
}

// planted: clang-diagnostic-unused-variable
void forgotten_variable() {
    int forgotten = 3;
}

// planted: concurrency-mt-unsafe
int shared_calendar(std::time_t now) {
    return std::localtime(&now)->tm_year;
}

// planted: cppcoreguidelines-narrowing-conversions
int cut(double number) {
    int whole = 0;
    whole += number;
    return whole;
}

// planted: misc-redundant-expression
bool always(int number) {
    return number == 1 || number == 1;
}

// planted: modernize-use-nullptr
const char* old_null() {
    return 0;
}

// planted: performance-for-range-copy
std::size_t copies(const std::vector<std::string>& texts) {
    std::size_t total = 0;
    for (const std::string text : texts) {
        total += text.size();
    }
    return total;
}

// planted: readability-braces-around-statements
int unbraced(int number) {
    if (number > 1)
        return 1;
    return number;
}

// planted: readability-function-cognitive-complexity
int nested(int a, int b) {
    int total = 0;
    for (int i = 0; i < a; ++i) {
        if (i % 2 == 0) {
            for (int j = 0; j < b; ++j) {
                if (j % 3 == 0) {
                    while (total < i * j) {
                        if (total % 5 == 0) {
                            ++total;
                        } else if (total % 7 == 0) {
                            total += 2;
                        }
                    }
                }
            }
        }
    }
    return total;
}

// planted: readability-function-size
int endless(int total) {
    total += 0;
    total += 1;
    total += 2;
    total += 3;
    total += 4;
    total += 5;
    total += 6;
    total += 7;
    total += 8;
    total += 9;
    total += 10;
    total += 11;
    total += 12;
    total += 13;
    total += 14;
    total += 15;
    total += 16;
    total += 17;
    total += 18;
    total += 19;
    total += 20;
    total += 21;
    total += 22;
    total += 23;
    total += 24;
    total += 25;
    total += 26;
    total += 27;
    total += 28;
    total += 29;
    total += 30;
    total += 31;
    total += 32;
    total += 33;
    total += 34;
    total += 35;
    total += 36;
    total += 37;
    total += 38;
    total += 39;
    total += 40;
    total += 41;
    total += 42;
    total += 43;
    total += 44;
    total += 45;
    total += 46;
    total += 47;
    total += 48;
    total += 49;
    total += 50;
    total += 51;
    total += 52;
    total += 53;
    total += 54;
    total += 55;
    total += 56;
    total += 57;
    total += 58;
    total += 59;
    return total;
}

} // namespace tarvik::monitoring_modules::lint_canary
