#include "api/operations.h"

namespace zelva::api {

zelva_core_status get_value(store::Store& store, Slot slot, const char* key, value::Type type,
                            value::FunctionRef<void(const Content&)> to_caller) noexcept {
    if (key == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] { return store.read(key, slot, type, to_caller); });
}

zelva_core_status set_value(Slot slot, const char* key, value::FunctionRef<bool(Value&)> from_caller) noexcept {
    if (key == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] {
        Value value;
        return from_caller(value) ? settings().write(key, slot, value) : ZELVA_CORE_STATUS_INVALID_PARAMS;
    });
}

zelva_core_status copy_value(value::Type type, const char* old_key, const char* new_key) noexcept {
    if (old_key == nullptr || new_key == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] { return settings().copy(type, old_key, new_key); });
}

bool contains(store::Store& store, const char* key) noexcept {
    bool found = false;
    guarded([&] {
        found = key != nullptr && store.contains(key);
        return ZELVA_CORE_STATUS_NO_ERROR;
    });
    return found;
}

}  // namespace zelva::api
