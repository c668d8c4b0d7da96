#include "store/rules.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "value/text.h"

namespace zelva::store {

using format::Batch;
using format::Cell;
using format::Entries;
using format::Slot;
using value::Type;
using value::Value;

namespace {

constexpr std::string_view version_key = "Version";

format::Change change_of(const Entries& entries, std::string_view key, Slot slot, std::optional<Value> value) {
    const Cell* present = entries.find(key, slot);
    return {format::entry_name(key, slot), std::move(value),
            present == nullptr ? std::nullopt : std::optional(present->place)};
}

}  // namespace

bool is_writable_key(std::string_view key) {
    return format::is_name(key) && !format::is_default_name(key);
}

Decision decide_set(const Entries& entries, std::string_view key, Slot slot, const Value& value) {
    const Cell* present = entries.find(key, Slot::value);
    Batch batch;
    if (present == nullptr) {
        batch.push_back(change_of(entries, key, Slot::default_value, value));
        batch.push_back(change_of(entries, key, Slot::value, value));
        return Decision::changed(std::move(batch));
    }
    if (present->value.type() != type_of(value)) {
        return Decision::refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
    }
    if (slot == Slot::default_value) {
        present = entries.find(key, slot);
    }
    batch.push_back(change_of(entries, key, slot, value));
    const bool is_so = present != nullptr && value::is_same(present->value, value);
    return is_so ? Decision::kept(std::move(batch)) : Decision::changed(std::move(batch));
}

Decision decide_copy(const Entries& entries, Type type, std::string_view old_key, std::string_view new_key) {
    const value::Packed* old = nullptr;
    const zelva_core_status status = find_value(entries, old_key, Slot::value, type, old);
    return status == ZELVA_CORE_STATUS_NO_ERROR ? decide_set(entries, new_key, Slot::value, old->value())
                                                : Decision::refused(status);
}

Decision decide_remove(const Entries& entries, std::string_view key) {
    if (entries.find(key, Slot::value) == nullptr) {
        return Decision::refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
    }
    Batch batch;
    batch.push_back(change_of(entries, key, Slot::value, std::nullopt));
    batch.push_back(change_of(entries, key, Slot::default_value, std::nullopt));
    return Decision::changed(std::move(batch));
}

Decision decide_all(const Entries& entries, const std::vector<Wish>& wishes) {
    Batch batch;
    bool is_so = true;
    for (const Wish& wish : wishes) {
        Decision decision =
            wish.value ? decide_set(entries, wish.key, Slot::value, *wish.value) : decide_remove(entries, wish.key);
        if (decision.action == Decision::Action::refuse) {
            return decision;
        }
        is_so = is_so && decision.action == Decision::Action::keep;
        std::move(decision.batch.begin(), decision.batch.end(), std::back_inserter(batch));
    }
    return is_so ? Decision::kept(std::move(batch)) : Decision::changed(std::move(batch));
}

Decision decide_announce(const Entries& entries, unsigned announced, unsigned& old) {
    const Cell* version = entries.find(version_key, Slot::value);
    if (version != nullptr && version->value.type() != value::type_for<int>) {
        return Decision::refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
    }
    // A version below 1, which only a person can have written, stands for none.
    const auto present = version == nullptr ? 0U : static_cast<unsigned>(std::max(version->value.get<int>(), 0));
    // A default without its key is no key.
    old = entries.has_keys() ? present : announced;
    Batch batch;
    if (announced <= present) {
        return Decision::kept({});
    }
    if (version == nullptr) {
        // The version has no default, and is not to come by one that a person or a refused change has left.
        batch.push_back(change_of(entries, version_key, Slot::default_value, std::nullopt));
    }
    batch.push_back(change_of(entries, version_key, Slot::value, Value(static_cast<int>(announced))));
    return Decision::changed(std::move(batch));
}

zelva_core_status find_value(const Entries& entries, std::string_view key, Slot slot, Type type,
                             const value::Packed*& found) {
    const Cell* entry = entries.find(key, Slot::value);
    if (entry == nullptr) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    if (entry->value.type() != type) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    if (slot == Slot::default_value) {
        entry = entries.find(key, slot);
        if (entry == nullptr) {
            return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
        }
        // Only a file that a person has edited has a default of another type than its key.
        if (entry->value.type() != type) {
            return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
        }
    }
    found = &entry->value;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

}  // namespace zelva::store
