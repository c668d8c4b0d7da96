// The bodies of the interface's functions, once for all types.
#pragma once

#include <optional>
#include <type_traits>
#include <utility>

#include "api/crossing.h"
#include "api/stores.h"

namespace zelva::api {

using store::Slot;
using value::Json;

template <class T>
constexpr bool is_null(const T& argument) {
    if constexpr (std::is_pointer_v<T>) {
        return argument == nullptr;
    } else {
        return false;
    }
}

/// Hands out what stands in a slot of `key`. For arrays the last argument is the optional length.
template <class T, class... Length>
zelva_core_status get(store::Store& store, Slot slot, const char* key, Out<T>* out, Length... length) {
    if (key == nullptr || out == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded(
        [&] { return store.read<T>(key, slot, [&](value::View<T> value) { hand_out(value, out, length...); }); });
}

template <class T>
zelva_core_status set(Slot slot, const char* key, In<T> in) {
    if (key == nullptr || is_null(in)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] {
        std::optional<T> value = take_in<T>(in);
        // no test for 8 branches: this is counted for each of the nine types, and only a JSON text can be refused.
        if (!value) {
            return ZELVA_CORE_STATUS_INVALID_PARAMS;
        }
        return settings().write(key, slot, *std::move(value));
    });
}

template <class T>
zelva_core_status copy(const char* old_key, const char* new_key) {
    if (old_key == nullptr || new_key == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] { return settings().copy(value::type_for<T>, old_key, new_key); });
}

inline bool contains(store::Store& store, const char* key) {
    bool found = false;
    guarded([&] {
        found = key != nullptr && store.contains(key);
        return ZELVA_CORE_STATUS_NO_ERROR;
    });
    return found;
}

}  // namespace zelva::api
