#include "operations.h"

#include <utility>

Operation set_operation(const std::string& key, const Value& value) {
    return {"set " + key, [=] { return set(key, value); }, [=](State& state) { return model::set(state, key, value); }};
}

Operation set_default_operation(const std::string& key, const Value& value) {
    return {"set the default of " + key, [=] { return set_default(key, value); },
            [=](State& state) { return model::set_default(state, key, value); }};
}

Operation copy_operation(zelva::value::Type type, const std::string& old_key, const std::string& new_key) {
    return {"copy " + old_key + " to " + new_key, [=] { return types()[type].copy(old_key.c_str(), new_key.c_str()); },
            [=](State& state) { return model::copy(state, type, old_key, new_key); }};
}

Operation delete_operation(const std::string& key) {
    return {"delete " + key, [=] { return zelva_core_settings_delete_key(key.c_str()); },
            [=](State& state) { return model::remove(state, key); }};
}

Operation announce_operation(unsigned version) {
    return {"announce version " + std::to_string(version),
            [=] {
                unsigned old = 0;
                return zelva_core_settings_get_and_set_version(&old, version);
            },
            [=](State& state) {
                unsigned old = 0;
                return model::announce_version(state, version, old);
            }};
}

Operation sync_operation() {
    return {"sync", [] { return zelva_core_settings_sync(); }, [](State&) { return ZELVA_CORE_STATUS_NO_ERROR; }};
}

Operation reopen_operation(const std::string& store) {
    return {"close and open",
            [=] {
                zelva_core_settings_deinit();
                return zelva_core_settings_init(store.c_str());
            },
            [](State&) { return ZELVA_CORE_STATUS_NO_ERROR; }, false};
}

Operation relaxed(Operation operation) {
    operation.name = "relaxed: " + operation.name;
    operation.is_durable = false;
    operation.run = [run = std::move(operation.run)] {
        zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
        const zelva_core_status status = run();
        zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL);
        return status;
    };
    return operation;
}

std::string bait(std::size_t size, const std::string& token) {
    std::string text;
    while (text.size() < size) {
        text += token + "=Sx";
    }
    text.resize(size);
    return text;
}
