// The rules of keys, types, defaults and versions. They are pure: each is given what a store holds and decides, without
// a lock and without a file.
#pragma once

#include <zelva/core.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "format/batch.h"
#include "format/entries.h"
#include "value/value.h"

namespace zelva::store {

/// What an operation has come to.
struct Decision {
    enum class Action {
        refuse,
        keep,       // the file says so, byte for byte
        change,     // the file and the entries
        checkpoint  // flush all that was changed before
    };

    static Decision refused(zelva_core_status status) { return {Action::refuse, status, {}}; }
    static Decision kept(format::Batch&& batch) { return {Action::keep, {}, std::move(batch)}; }
    static Decision changed(format::Batch&& batch) { return {Action::change, {}, std::move(batch)}; }

    Action action;
    zelva_core_status status;  // of a refusal
    format::Batch batch;       // removals first; see file::Writer::apply
};

/// Whether a key can be written: it is a name, and not that of a default.
bool is_writable_key(std::string_view key);

/// Gives a key a value, or a default. A key that is absent gets both. INCORRECT_SETTING_TYPE for a key of another type.
/// REQUIRES: the key and the value can be written.
Decision decide_set(const format::Entries& entries, std::string_view key, format::Slot slot, const value::Value& value);

/// Gives `new_key` the value of `old_key`, which is of the given type.
Decision decide_copy(const format::Entries& entries, value::Type type, std::string_view old_key,
                     std::string_view new_key);

/// A key that is to get a value, or to be removed.
struct Wish {
    std::string key;
    std::optional<value::Value> value;
};

/// All of several wishes, of distinct keys, as decide_set and decide_remove; or the first refusal.
Decision decide_all(const format::Entries& entries, const std::vector<Wish>& wishes);

/// Removes a key and its default. SETTING_NOT_PRESENT for one that is absent.
Decision decide_remove(const format::Entries& entries, std::string_view key);

/// Makes all that was changed durable.
inline Decision decide_sync() {
    return {Decision::Action::checkpoint, ZELVA_CORE_STATUS_NO_ERROR, {}};
}

/// Stores a version if it is higher than the stored one. `old` becomes the version that the settings have so far: that
/// which is stored; 0 where none is; and for settings without any key the announced one.
Decision decide_announce(const format::Entries& entries, unsigned announced, unsigned& old);

/// Finds the value in a slot of a key of the given type.
zelva_core_status find_value(const format::Entries& entries, std::string_view key, format::Slot slot, value::Type type,
                             value::Content& found);

}  // namespace zelva::store
