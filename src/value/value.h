// The nine types of value.
#pragma once

#include <zelva/core.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace zelva::value {

/// A JSON text in its canonical form (json.h). A type of its own, since a JSON key is not a string key.
struct Json {
    std::string text;
};

inline bool operator==(const Json& left, const Json& right) {
    return left.text == right.text;
}

/// Any value that a store can hold. The index of the alternative is the number of the type in the interface.
using Value = std::variant<std::string, Json, int, bool, double, std::vector<std::string>, std::vector<int>,
                           std::vector<bool>, std::vector<double>>;

using Type = zelva_core_settings_type;

/// The C++ type of the values of one type of the interface.
template <Type type>
using Alternative = std::variant_alternative_t<std::size_t{type}, Value>;

inline Type type_of(const Value& value) {
    return static_cast<Type>(value.index());
}

template <class T, class... Alternatives>
constexpr std::size_t index_in(const std::variant<Alternatives...>*) {
    std::size_t index = 0;
    static_cast<void>((... || (std::is_same_v<T, Alternatives> || (++index, false))));
    return index;
}

/// The type of the interface whose values have the C++ type T.
template <class T>
constexpr Type type_for = static_cast<Type>(index_in<T>(static_cast<const Value*>(nullptr)));

template <class T>
constexpr bool is_array = false;
template <class Element>
constexpr bool is_array<std::vector<Element>> = true;

}  // namespace zelva::value
