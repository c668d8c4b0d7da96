#include "store/store.h"

#include <algorithm>
#include <climits>

#include "value/text.h"

namespace zelva::store {

namespace {

constexpr std::string_view default_prefix = "DEFAULT_";
constexpr std::string_view version_key = "Version";

bool is_reserved(std::string_view name) {
    return value::begins_with(name, default_prefix);
}

bool can_be_written(std::string_view key) {
    return file::is_key(key) && !is_reserved(key);
}

std::string default_name(std::string_view key) {
    std::string name(default_prefix);
    name += key;
    return name;
}

std::string entry_name(std::string_view key, Slot slot) {
    return slot == Slot::value ? std::string(key) : default_name(key);
}

}  // namespace

zelva_core_status Store::open(std::string_view name) {
    const std::optional<std::string> path = file::store_path(kind_, name);
    if (!path) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const std::lock_guard writing(writing_);
    if (contents_) {
        return ZELVA_CORE_STATUS_ALLOC_FAILED;
    }
    Contents contents{file::StoreFile(*path), {}, {}};
    const zelva_core_status status = contents.file.load([&contents](file::Entry entry) {
        contents.entries.insert_or_assign(std::string(entry.key), std::move(entry.value));
    });
    // Settings begin empty, and get their file with the first write. A configuration is shipped as a file.
    if (status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT) {
        if (kind_ == file::Kind::configuration) {
            return ZELVA_CORE_STATUS_INVALID_PARAMS;
        }
    } else if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        return status;
    }
    const std::lock_guard lock(memory_);
    contents_ = std::move(contents);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status Store::close() {
    const std::lock_guard writing(writing_);
    const std::lock_guard lock(memory_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    contents_.reset();
    return ZELVA_CORE_STATUS_NO_ERROR;
}

void Store::before_fork() {
    writing_.lock();
    memory_.lock();
}

void Store::after_fork() {
    memory_.unlock();
    writing_.unlock();
}

bool Store::contains(std::string_view key) const {
    const std::lock_guard lock(memory_);
    return contents_ && !is_reserved(key) && find(key) != nullptr;
}

const Value* Store::find(std::string_view name) const {
    const auto entry = contents_->entries.find(name);
    return entry == contents_->entries.end() ? nullptr : &entry->second;
}

zelva_core_status Store::find(std::string_view key, Slot slot, Type type, const Value*& found) const {
    if (is_reserved(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const Value* entry = find(key);
    if (entry == nullptr) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    if (type_of(*entry) != type) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    if (slot == Slot::default_value) {
        entry = find(default_name(key));
        if (entry == nullptr) {
            return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
        }
        // Only a file that a person has edited has a default of another type than its key.
        if (type_of(*entry) != type) {
            return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
        }
    }
    found = entry;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::write(std::string_view key, Slot slot, Value value) {
    // The value is judged before the key is looked up: a refusal does not depend on what the store holds.
    if (!can_be_written(key) || !value::is_storable(value)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const std::lock_guard writing(writing_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    return put(key, slot, std::move(value));
}

zelva_core_status SettingsStore::put(std::string_view key, Slot slot, Value value) {
    const Value* present = find(key);
    if (present == nullptr) {
        return commit({{default_name(key), value}, {std::string(key), std::move(value)}});
    }
    if (type_of(*present) != type_of(value)) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    return commit({{entry_name(key, slot), std::move(value)}});
}

zelva_core_status SettingsStore::copy(Type type, std::string_view old_key, std::string_view new_key) {
    if (is_reserved(old_key) || !can_be_written(new_key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const std::lock_guard writing(writing_);
    const Value* old = nullptr;
    if (const zelva_core_status status = find(old_key, Slot::value, type, old)) {
        return status;
    }
    return put(new_key, Slot::value, *old);
}

zelva_core_status SettingsStore::remove(std::string_view key) {
    if (is_reserved(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const std::lock_guard writing(writing_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    if (find(key) == nullptr) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    return commit({{std::string(key), std::nullopt}, {default_name(key), std::nullopt}});
}

zelva_core_status SettingsStore::commit(std::vector<file::Change> changes) {
    // The memory for new entries is taken here, since nothing may fail once the file has changed.
    Entries fresh;
    for (const file::Change& change : changes) {
        if (change.value) {
            fresh.try_emplace(change.key);
        }
    }
    if (const zelva_core_status status = contents_->file.apply(changes)) {
        return status;
    }
    const std::lock_guard lock(memory_);
    Entries& entries = contents_->entries;
    for (file::Change& change : changes) {
        if (change.value) {
            entries.insert(fresh.extract(change.key)).position->second = *std::move(change.value);
        } else {
            entries.erase(change.key);
        }
    }
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::type(std::string_view key, Type& type) const {
    if (is_reserved(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const std::lock_guard lock(memory_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const Value* value = find(key);
    if (value == nullptr) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    type = type_of(*value);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::list(std::string_view prefix,
                                      const std::function<void(const std::string&)>& use) const {
    const std::lock_guard lock(memory_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const Entries& entries = contents_->entries;
    for (auto entry = entries.lower_bound(prefix); entry != entries.end() && value::begins_with(entry->first, prefix);
         ++entry) {
        if (!is_reserved(entry->first)) {
            use(entry->first);
        }
    }
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::announce_version(unsigned announced, unsigned& stored) {
    if (announced == 0 || announced > INT_MAX) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const std::lock_guard writing(writing_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const Value* version = find(version_key);
    if (version != nullptr && !std::holds_alternative<int>(*version)) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    // A version below 1, which only a person can have written, stands for none.
    const auto present = version == nullptr ? 0U : static_cast<unsigned>(std::max(std::get<int>(*version), 0));
    const unsigned old = contents_->entries.empty() ? announced : present;
    if (announced > present) {
        const Value raised = static_cast<int>(announced);
        if (const zelva_core_status status = commit({{std::string(version_key), raised}})) {
            return status;
        }
    }
    const std::lock_guard lock(memory_);
    contents_->versions = Versions{old, announced};
    stored = old;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::versions(unsigned& stored, unsigned& announced) const {
    const std::lock_guard lock(memory_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    if (!contents_->versions) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    stored = contents_->versions->stored;
    announced = contents_->versions->announced;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

}  // namespace zelva::store
