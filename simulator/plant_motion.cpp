#include "simulator/plant_motion.hpp"

#include "simulator/plant_values.hpp"

#include <cmath>
#include <concepts>
#include <limits>
#include <optional>
#include <type_traits>

namespace tarvik::simulator {
namespace {

constexpr double wave_height = 0.05; // part of the base
constexpr double dip_depth = 0.2;    // part of the base
constexpr double wave_pace = 0.2;    // radians for each step
constexpr std::uint64_t toggle_steps = 10;

/// Calls action with the number in the variant, in its own C++ type; not for anything else.
template <typename Action>
void with_number(const UA_Variant& value, const Action& action) {
    const auto try_type = [&]<typename Type>(std::type_identity<Type>) {
        if (UA_Variant_hasScalarType(&value, &UA_TYPES[type_index<Type>])) {
            action(*static_cast<const Type*>(value.data));
        }
    };
    const auto try_types = [&]<typename... Types>(std::type_identity<Types>... types) {
        (try_type(types), ...);
    };
    try_types(
        std::type_identity<bool>{},
        std::type_identity<std::int8_t>{},
        std::type_identity<std::uint8_t>{},
        std::type_identity<std::int16_t>{},
        std::type_identity<std::uint16_t>{},
        std::type_identity<std::int32_t>{},
        std::type_identity<std::uint32_t>{},
        std::type_identity<std::int64_t>{},
        std::type_identity<std::uint64_t>{},
        std::type_identity<float>{},
        std::type_identity<double>{}
    );
}

/// What a swinging number is of its base; nothing for motions that do not swing.
std::optional<double> part_of_base(motion moves, std::uint64_t step) {
    const double angle = static_cast<double>(step) * wave_pace;
    switch (moves) {
    case motion::wave:
        return 1.0 + wave_height * std::sin(angle);
    case motion::dip:
        return 1.0 - dip_depth * (1.0 - std::cos(angle)) / 2.0;
    default:
        return std::nullopt;
    }
}

/// Integers lose the fraction and end at the limits of their type.
template <typename Number>
Number limited(double number) {
    if constexpr (std::integral<Number>) {
        // The largest 64-bit numbers are no doubles: what they are compared with is one more.
        if (number >= static_cast<double>(std::numeric_limits<Number>::max())) {
            return std::numeric_limits<Number>::max();
        }
        if (number <= static_cast<double>(std::numeric_limits<Number>::min())) {
            return std::numeric_limits<Number>::min();
        }
    }
    return static_cast<Number>(number);
}

} // namespace

void move_value(motion moves, std::uint64_t step, const UA_Variant& base, variant& value) {
    variant next = value;
    const std::optional<double> part = part_of_base(moves, step);
    with_number(part ? base : value.get(), [&](auto number) {
        using number_type = decltype(number);
        if constexpr (std::same_as<number_type, bool>) {
            if (moves == motion::toggle && step % toggle_steps == 0) {
                next = value_of(!number);
            }
        } else {
            if (part) {
                next = value_of(limited<number_type>(static_cast<double>(number) * *part));
            } else if (std::integral<number_type> && moves == motion::count_up) {
                // In unsigned arithmetic: the largest number is followed by the smallest.
                next = value_of(static_cast<number_type>(static_cast<std::uint64_t>(number) + 1));
            }
        }
    });
    value = next;
}

} // namespace tarvik::simulator
