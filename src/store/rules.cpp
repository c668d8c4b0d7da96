#include "store/rules.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "value/text.h"

namespace zelva::store {

using format::Batch;
using format::Entries;
using format::Slot;
using value::Type;
using value::Value;

namespace {

constexpr std::string_view version_key = "Version";

/// `value` is nullptr for a removal.
format::Change change_of(const Entries& entries, std::string_view key, Slot slot, const Value* value) {
    std::string name = format::entry_name(key, slot);
    std::string line = value != nullptr ? format::line_of(name, *value) : std::string();
    return {std::move(name), std::move(line), entries.place_of(key, slot)};
}

/// Whether the line of an entry is that of the change, byte for byte: a person may have written it otherwise.
bool is_so(const Entries& entries, const format::Change& change) {
    return change.place && entries.text().substr(change.place->offset, change.place->size) == change.line;
}

}  // namespace

bool is_writable_key(std::string_view key) {
    return format::is_name(key) && !format::is_default_name(key);
}

Decision decide_set(const Entries& entries, std::string_view key, Slot slot, const Value& value) {
    value::Content present;
    Batch batch;
    if (!entries.find(key, Slot::value, present)) {
        batch.push_back(change_of(entries, key, Slot::default_value, &value));
        batch.push_back(change_of(entries, key, Slot::value, &value));
        return Decision::changed(std::move(batch));
    }
    if (present.type() != type_of(value)) {
        return Decision::refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
    }
    batch.push_back(change_of(entries, key, slot, &value));
    return is_so(entries, batch[0]) ? Decision::kept(std::move(batch)) : Decision::changed(std::move(batch));
}

Decision decide_copy(const Entries& entries, Type type, std::string_view old_key, std::string_view new_key) {
    value::Content old;
    const zelva_core_status status = find_value(entries, old_key, Slot::value, type, old);
    return status == ZELVA_CORE_STATUS_NO_ERROR ? decide_set(entries, new_key, Slot::value, old.value())
                                                : Decision::refused(status);
}

Decision decide_remove(const Entries& entries, std::string_view key) {
    if (!entries.contains(key, Slot::value)) {
        return Decision::refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
    }
    Batch batch;
    batch.push_back(change_of(entries, key, Slot::value, nullptr));
    batch.push_back(change_of(entries, key, Slot::default_value, nullptr));
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
    value::Content version;
    const bool is_there = entries.find(version_key, Slot::value, version);
    if (is_there && version.type() != value::type_for<int>) {
        return Decision::refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
    }
    // A version below 1, which only a person can have written, stands for none.
    const auto present = is_there ? static_cast<unsigned>(std::max(version.get<int>(), 0)) : 0U;
    // A default without its key is no key.
    old = entries.has_keys() ? present : announced;
    Batch batch;
    if (announced <= present) {
        return Decision::kept({});
    }
    if (!is_there) {
        // The version has no default, and is not to come by one that a person or a refused change has left.
        batch.push_back(change_of(entries, version_key, Slot::default_value, nullptr));
    }
    const Value value(static_cast<int>(announced));
    batch.push_back(change_of(entries, version_key, Slot::value, &value));
    return Decision::changed(std::move(batch));
}

zelva_core_status find_value(const Entries& entries, std::string_view key, Slot slot, Type type,
                             value::Content& found) {
    if (!entries.find(key, Slot::value, found)) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    if (found.type() != type) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    if (slot == Slot::value) {
        return ZELVA_CORE_STATUS_NO_ERROR;
    }
    if (!entries.find(key, slot, found)) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    // Only a file that a person has edited has a default of another type than its key.
    return found.type() == type ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
}

}  // namespace zelva::store
