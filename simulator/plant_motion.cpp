#include "simulator/plant_motion.hpp"

#include "simulator/plant_values.hpp"

#include <cmath>
#include <concepts>
#include <type_traits>

namespace tarvik::simulator {
namespace {

constexpr double wave_height = 0.05; // part of the base
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

} // namespace

void move_value(motion moves, std::uint64_t step, const UA_Variant& base, variant& value) {
    variant next = value;
    with_number(moves == motion::wave ? base : value.get(), [&](auto number) {
        using number_type = decltype(number);
        if constexpr (std::same_as<number_type, bool>) {
            if (moves == motion::toggle && step % toggle_steps == 0) {
                next = value_of(!number);
            }
        } else {
            if (moves == motion::wave) {
                const double swing = std::sin(static_cast<double>(step) * wave_pace);
                const double here = static_cast<double>(number) * (1.0 + wave_height * swing);
                next = value_of(static_cast<number_type>(here));
            } else if (std::integral<number_type> && moves == motion::count_up) {
                // In unsigned arithmetic: the largest number is followed by the smallest.
                next = value_of(static_cast<number_type>(static_cast<std::uint64_t>(number) + 1));
            }
        }
    });
    value = next;
}

} // namespace tarvik::simulator
