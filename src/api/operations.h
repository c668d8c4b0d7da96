// The bodies of the interface's functions, once for all types.
#pragma once

#include <optional>
#include <type_traits>
#include <utility>

#include "api/c_types.h"
#include "api/stores.h"

namespace zelva::api {

using store::Slot;
using value::Content;
using value::Json;
using value::Value;

template <class T>
constexpr bool is_null(const T& argument) {
    if constexpr (std::is_pointer_v<T>) {
        return argument == nullptr;
    } else {
        return false;
    }
}

/// Has `to_caller` hand out what stands in a slot of `key`, which is of this type. INVALID_PARAMS for NULL.
zelva_core_status get_value(store::Store& store, Slot slot, const char* key, value::Type type,
                            value::FunctionRef<void(const Content&)> to_caller) noexcept;

/// Sets the value that `from_caller` gives; INVALID_PARAMS where it gives none, and for NULL.
zelva_core_status set_value(Slot slot, const char* key, value::FunctionRef<bool(Value&)> from_caller) noexcept;

zelva_core_status copy_value(value::Type type, const char* old_key, const char* new_key) noexcept;
bool contains(store::Store& store, const char* key) noexcept;

/// For arrays the last argument is the optional length.
template <class T, class... Length>
zelva_core_status get(store::Store& store, Slot slot, const char* key, Out<T>* out, Length... length) {
    if (out == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return get_value(store, slot, key, value::type_for<T>,
                     [out, length...](const Content& value) { to_c(value.get<T>(), out, length...); });
}

template <class T>
zelva_core_status set(Slot slot, const char* key, In<T> in) {
    if (is_null(in)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return set_value(slot, key, [in](Value& value) {
        std::optional<T> given = from_c<T>(in);
        // no test for 8 branches: this is counted for each of the nine types, and only a JSON text can be refused.
        if (!given) {
            return false;
        }
        value = *std::move(given);
        return true;
    });
}

template <class T>
zelva_core_status copy(const char* old_key, const char* new_key) {
    return copy_value(value::type_for<T>, old_key, new_key);
}

}  // namespace zelva::api
