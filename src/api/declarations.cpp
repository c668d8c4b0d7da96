// Nine types by six verbs are 54 functions, declared by hand so that people find them. Here the compiler checks that
// each is declared, with the arguments of its verb and type, and that a type's number in the interface is the index of
// its alternative. A type is added by a line in the table.
#include <zelva/configuration.h>
#include <zelva/settings.h>

#include <type_traits>
#include <utility>
#include <variant>

#include "api/c_types.h"
#include "value/value.h"

namespace zelva::api {

namespace {

template <class T>
using Get = std::conditional_t<value::is_array<T>, zelva_core_status(const char*, Out<T>*, int*),
                               zelva_core_status(const char*, Out<T>*)>;
template <class T>
using Set = zelva_core_status(const char*, In<T>);
using Copy = zelva_core_status(const char*, const char*);

template <value::Type type>
constexpr bool is_in_table = false;

// A function's name needs the type's, hence a macro.
#define CHECK_DECLARATIONS(NUMBER, TYPE, name)                                                          \
    static_assert(value::type_for<TYPE> == ZELVA_CORE_SETTING_TYPE_##NUMBER);                           \
    static_assert(std::is_same_v<decltype(zelva_core_settings_get_##name##_value), Get<TYPE>>);         \
    static_assert(std::is_same_v<decltype(zelva_core_settings_get_default_##name##_value), Get<TYPE>>); \
    static_assert(std::is_same_v<decltype(zelva_core_settings_set_##name##_value), Set<TYPE>>);         \
    static_assert(std::is_same_v<decltype(zelva_core_settings_set_default_##name##_value), Set<TYPE>>); \
    static_assert(std::is_same_v<decltype(zelva_core_settings_copy_##name##_key), Copy>);               \
    static_assert(std::is_same_v<decltype(zelva_core_configuration_get_##name##_value), Get<TYPE>>);    \
    template <>                                                                                         \
    constexpr bool is_in_table<value::type_for<TYPE>> = true

CHECK_DECLARATIONS(STRING, std::string, string);
CHECK_DECLARATIONS(JSON, value::Json, json);
CHECK_DECLARATIONS(INT, int, int);
CHECK_DECLARATIONS(BOOL, bool, bool);
CHECK_DECLARATIONS(DOUBLE, double, double);
CHECK_DECLARATIONS(ARRAYOFSTRING, std::vector<std::string>, arrayofstring);
CHECK_DECLARATIONS(ARRAYOFINT, std::vector<int>, arrayofint);
CHECK_DECLARATIONS(ARRAYOFBOOL, std::vector<bool>, arrayofbool);
CHECK_DECLARATIONS(ARRAYOFDOUBLE, std::vector<double>, arrayofdouble);

template <std::size_t... index>
constexpr bool are_in_table(std::index_sequence<index...>) {
    return (is_in_table<static_cast<value::Type>(index)> && ...);
}
static_assert(are_in_table(std::make_index_sequence<std::variant_size_v<value::Value>>()),
              "a type of value has no line in the table above");

}  // namespace

}  // namespace zelva::api
