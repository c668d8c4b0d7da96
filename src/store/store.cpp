#include "store/store.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <thread>

#include "value/text.h"

namespace zelva::store {

namespace {

constexpr std::string_view version_key = "Version";

bool can_be_written(std::string_view key) {
    return format::is_name(key) && !format::is_default_name(key);
}

struct UnlockAtEnd {
    file::StoreFile& file;
    ~UnlockAtEnd() { file.unlock(); }
};

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
    Contents contents{};
    contents.file = std::make_shared<file::StoreFile>(kind_, *path);
    if (const zelva_core_status status = *load(*contents.file, file::StoreFile::Access::waiting, contents)) {
        return status;
    }
    const std::lock_guard lock(memory_);
    contents_ = std::move(contents);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

std::optional<zelva_core_status> Store::load(const file::StoreFile& file, file::StoreFile::Access access,
                                             Contents& contents) const {
    const std::optional<zelva_core_status> status =
        file.load(access, *contents.text, *contents.entries, contents.revision, contents.layout);
    if (status != ZELVA_CORE_STATUS_SETTING_NOT_PRESENT) {
        return status;
    }
    // Settings begin empty, and get their file with the first write. A configuration is shipped as a file.
    return kind_ == file::Kind::settings ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_INVALID_PARAMS;
}

file::Revision Store::revision() const {
    const ReadLock lock(memory_);
    return contents_->revision;
}

void Store::use(Contents& fresh) {
    std::swap(contents_->text, fresh.text);
    std::swap(contents_->entries, fresh.entries);
    std::swap(contents_->layout, fresh.layout);
    contents_->revision = fresh.revision;
}

zelva_core_status Store::read_again(ReadLock& lock) {
    lock.unlock();
    const std::lock_guard refreshing(refreshing_);
    { const std::lock_guard ending(ending_); }  // what has changed may be what another thread is just changing
    lock.lock();
    if (is_current()) {
        return ZELVA_CORE_STATUS_NO_ERROR;  // another thread has read the file meanwhile, or changed it
    }
    // Once is enough: a change that is finished meanwhile is at the same time as this read.
    const std::shared_ptr<file::StoreFile> file = contents_->file;
    const file::Revision known = contents_->revision;
    constexpr int most_attempts = 50;
    for (int attempt = 0;; ++attempt) {
        lock.unlock();
        // Where the file is being changed, a thread of this program may have read it for that, and there is nothing to
        // wait for. To ask again and again has no end with many programs that write.
        const bool may_wait = attempt == most_attempts;
        Contents fresh{};
        fresh.revision = known;
        const std::optional<zelva_core_status> status =
            load(*file, may_wait ? file::StoreFile::Access::waiting : file::StoreFile::Access::at_once, fresh);
        if (!status) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        } else if (*status == ZELVA_CORE_STATUS_NO_ERROR) {
            const std::lock_guard ending(ending_);
            const std::lock_guard replacing(memory_);
            // Another thread may have closed the store meanwhile; or read the file to write it, and relies on what it
            // has found. Where the counter tells of all changes, there is none while that one holds the lock.
            std::unique_lock writing(writing_, std::defer_lock);
            if (!is_current() && contents_->file == file &&
                (file->is_counted(contents_->revision) || writing.try_lock())) {
                use(fresh);
            }
        }
        lock.lock();
        if (status || is_current()) {
            return status.value_or(ZELVA_CORE_STATUS_NO_ERROR);
        }
    }
}

zelva_core_status Store::close() {
    const std::lock_guard writing(writing_);
    return forget();
}

zelva_core_status Store::forget() {
    const std::lock_guard lock(memory_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    contents_.reset();
    return ZELVA_CORE_STATUS_NO_ERROR;
}

void Store::before_fork() {
    writing_.lock();
    listing_.lock();
    refreshing_.lock();
    memory_.lock();
}

void Store::after_fork_in_parent() {
    memory_.unlock();
    refreshing_.unlock();
    listing_.unlock();
    writing_.unlock();
}

void Store::after_fork_in_child() {
    if (contents_) {
        contents_->file->forget_lock();
    }
    memory_.forget_readers();
    after_fork_in_parent();
}

bool Store::contains(std::string_view key) {
    ReadLock lock(memory_);
    return refresh(lock) == ZELVA_CORE_STATUS_NO_ERROR && contents_ &&
           contents_->entries->find(key, Slot::value) != nullptr;
}

zelva_core_status Store::look_up(ReadLock& lock, std::string_view key, Slot slot, Type type,
                                 const value::Packed*& found) {
    if (format::is_default_name(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;  // whatever has become of the file
    }
    if (const zelva_core_status status = refresh(lock)) {
        return status;
    }
    return find(key, slot, type, found);
}

zelva_core_status Store::find(std::string_view key, Slot slot, Type type, const value::Packed*& found) const {
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const Cell* entry = contents_->entries->find(key, Slot::value);
    if (entry == nullptr) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    if (entry->value.type() != type) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    if (slot == Slot::default_value) {
        entry = contents_->entries->find(key, slot);
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

zelva_core_status SettingsStore::write(std::string_view key, Slot slot, Value value) {
    // The value is judged before the key is looked up: a refusal does not depend on what the store holds.
    if (!can_be_written(key) || !value::is_storable(value)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return change([&] { return put(key, slot, value); });
}

template <class Rules>
zelva_core_status SettingsStore::change(const Rules& rules) {
    const std::lock_guard writing(writing_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const zelva_core_status status = change_once(rules);
    return contents_->file->is_stale() ? change_once(rules) : status;
}

template <class Rules>
zelva_core_status SettingsStore::change_once(const Rules& rules) {
    if (contents_->file->may_lead_elsewhere()) {
        if (const zelva_core_status status = follow_links()) {
            return status;
        }
    }
    file::StoreFile& file = *contents_->file;
    lock_status_ = file.lock(revision());
    if (lock_status_ != ZELVA_CORE_STATUS_NO_ERROR) {
        // Other programs go on changing the file, so readers may want to put other entries in the place of these.
        const std::lock_guard lock(memory_);
        return rules();
    }
    const UnlockAtEnd unlock{file};
    if (const zelva_core_status status = update()) {
        return status;
    }
    return rules();
}

zelva_core_status SettingsStore::follow_links() {
    if (!contents_->file->leads_elsewhere()) {
        return ZELVA_CORE_STATUS_NO_ERROR;
    }
    Contents fresh{};
    fresh.revision = revision();
    fresh.file = std::make_shared<file::StoreFile>(file::Kind::settings, contents_->file->path());
    if (const zelva_core_status status = *load(*fresh.file, file::StoreFile::Access::waiting, fresh)) {
        return status;
    }
    const std::lock_guard lock(memory_);
    use(fresh);
    std::swap(contents_->file, fresh.file);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::update() {
    if (contents_->file->is_unchanged(revision())) {
        return ZELVA_CORE_STATUS_NO_ERROR;
    }
    contents_->file->look_for_links();
    return reload(file::StoreFile::Access::locked);
}

zelva_core_status SettingsStore::reload(file::StoreFile::Access access) {
    Contents fresh{};
    fresh.revision = revision();
    if (const zelva_core_status status = *load(*contents_->file, access, fresh)) {
        return status;
    }
    const std::lock_guard lock(memory_);
    use(fresh);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::reload() {
    const std::lock_guard writing(writing_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const zelva_core_status status = follow_links();
    return status == ZELVA_CORE_STATUS_NO_ERROR ? reload(file::StoreFile::Access::waiting) : status;
}

zelva_core_status SettingsStore::put(std::string_view key, Slot slot, const Value& value) {
    const Entries& entries = *contents_->entries;
    const Cell* present = entries.find(key, Slot::value);
    std::vector<format::Change> changes;
    if (present == nullptr) {
        changes.push_back(change_of(key, Slot::default_value, value));
        changes.push_back(change_of(key, Slot::value, value));
        return commit(changes);
    }
    if (present->value.type() != type_of(value)) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    if (slot == Slot::default_value) {
        present = entries.find(key, slot);
    }
    if (present != nullptr && is_written(key, slot, *present, value)) {
        return confirm();
    }
    changes.push_back(change_of(key, slot, value));
    return commit(changes);
}

bool SettingsStore::is_written(std::string_view key, Slot slot, const Cell& present, const Value& value) const {
    if (!value::is_same(present.value, value)) {
        return false;
    }
    // A person may have written the line otherwise.
    std::string line;
    format::write_line(format::entry_name(key, slot), value, line);
    return lock_status_ == ZELVA_CORE_STATUS_NO_ERROR && contents_->file->has_line(present.place, line);
}

zelva_core_status SettingsStore::confirm() {
    const bool is_durable = contents_->durability == ZELVA_CORE_DURABILITY_FULL;
    const bool is_to_be_flushed = is_durable && !contents_->layout.is_flushed;
    return lock_status_ == ZELVA_CORE_STATUS_NO_ERROR && is_to_be_flushed ? flush(false) : lock_status_;
}

format::Change SettingsStore::change_of(std::string_view key, Slot slot, std::optional<Value> value) const {
    const Cell* present = contents_->entries->find(key, slot);
    return {format::entry_name(key, slot), std::move(value),
            present == nullptr ? std::nullopt : std::optional(present->place)};
}

zelva_core_status SettingsStore::copy(Type type, std::string_view old_key, std::string_view new_key) {
    if (format::is_default_name(old_key) || !can_be_written(new_key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return change([&] {
        const value::Packed* old = nullptr;
        const zelva_core_status status = find(old_key, Slot::value, type, old);
        return status == ZELVA_CORE_STATUS_NO_ERROR ? put(new_key, Slot::value, old->value()) : status;
    });
}

zelva_core_status SettingsStore::remove(std::string_view key) {
    if (format::is_default_name(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return change([&] {
        if (contents_->entries->find(key, Slot::value) == nullptr) {
            return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
        }
        std::vector<format::Change> changes;
        changes.push_back(change_of(key, Slot::value, std::nullopt));
        changes.push_back(change_of(key, Slot::default_value, std::nullopt));
        return commit(changes);
    });
}

zelva_core_status SettingsStore::commit(const std::vector<format::Change>& changes) {
    if (lock_status_ != ZELVA_CORE_STATUS_NO_ERROR) {
        return lock_status_;
    }
    Entries& entries = *contents_->entries;
    // What the changes need in memory is taken here, since nothing may fail once the file has changed.
    std::vector<Cell> fresh(changes.size());
    bool is_done = false;
    struct GiveRoomBack {
        SettingsStore& store;
        const std::vector<format::Change>& changes;
        const bool& is_done;
        ~GiveRoomBack() {
            if (is_done) {
                return;
            }
            const std::lock_guard lock(store.memory_);
            for (const format::Change& change : changes) {
                store.contents_->entries->give_back(change.name);
            }
        }
    };
    const GiveRoomBack otherwise{*this, changes, is_done};
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (!changes[i].value) {
            continue;
        }
        fresh[i].value = value::Packed(*changes[i].value);
        if (!changes[i].place) {
            const std::lock_guard lock(memory_);
            entries.prepare(changes[i].name);
        }
    }
    const auto placed = [&](std::string_view name, format::Place line) {
        for (std::size_t i = 0; i < changes.size(); ++i) {
            if (changes[i].value && changes[i].name == name) {
                fresh[i].place = line;
                return;
            }
        }
        move_line(name, line);
    };
    return modify(
        [&](file::Stamp& stamp) {
            return contents_->file->apply(changes, contents_->durability, contents_->layout, stamp, placed);
        },
        [&] {
            for (std::size_t i = 0; i < changes.size(); ++i) {
                if (changes[i].value) {
                    entries.put(changes[i].name, std::move(fresh[i]));
                } else {
                    entries.erase(changes[i].name);
                }
            }
            is_done = true;
        });
}

void SettingsStore::move_line(std::string_view name, format::Place line) {
    if (Cell* const held = contents_->entries->find(name)) {
        held->place = line;
    }
}

zelva_core_status SettingsStore::flush(bool is_checkpoint) {
    const auto placed = [this](std::string_view name, format::Place line) { move_line(name, line); };
    return modify(
        [&](file::Stamp& stamp) { return contents_->file->flush(is_checkpoint, contents_->layout, stamp, placed); },
        [] {});
}

template <class Work, class InMemory>
zelva_core_status SettingsStore::modify(Work&& work, InMemory&& in_memory) {
    struct EndOfChange {
        SettingsStore& store;
        InMemory& in_memory;
        file::Revision revision;
        zelva_core_status& status;
        ~EndOfChange() {
            const std::lock_guard ending(store.ending_);
            const zelva_core_status end = store.contents_->file->end_change(revision);
            status = status == ZELVA_CORE_STATUS_NO_ERROR ? end : status;
            const std::lock_guard lock(store.memory_);
            if (status == ZELVA_CORE_STATUS_NO_ERROR) {
                in_memory();
            }
            store.contents_->revision = revision;
        }
    };
    if (const zelva_core_status status = contents_->file->begin_change()) {
        return status;
    }
    zelva_core_status status = ZELVA_CORE_STATUS_IO_FAILED;
    {
        EndOfChange end{*this, in_memory, revision(), status};
        status = std::forward<Work>(work)(end.revision.stamp);
    }
    return status;
}

zelva_core_status SettingsStore::sync() {
    return change([&] {
        const file::Layout& layout = contents_->layout;
        return lock_status_ == ZELVA_CORE_STATUS_NO_ERROR && !(layout.is_flushed && layout.superseded.empty())
                   ? flush(!layout.superseded.empty())
                   : lock_status_;
    });
}

zelva_core_status SettingsStore::set_durability(zelva_core_durability durability) {
    const std::lock_guard writing(writing_);
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    contents_->durability = durability;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::close() {
    // Nothing is written between the two: the file would not be left as it is to be.
    const std::lock_guard writing(writing_);
    try {
        tidy();
    } catch (...) {
        // There is no memory. The padding means nothing, and the store is to be closed.
    }
    return forget();
}

void SettingsStore::tidy() {
    const auto is_untidy = [this] {
        const ReadLock lock(memory_);  // a reader may be reading the file again
        return contents_ && contents_->file->is_untidy(contents_->layout);
    };
    if (!is_untidy() || contents_->file->lock(revision()) != ZELVA_CORE_STATUS_NO_ERROR) {
        return;
    }
    const UnlockAtEnd unlock{*contents_->file};
    const bool is_last = contents_->file->is_alone();
    // If another program has written the file meanwhile and is still there, the padding is for it.
    if (!is_last && !contents_->file->is_unchanged(revision())) {
        return;
    }
    if (update() == ZELVA_CORE_STATUS_NO_ERROR && is_untidy()) {
        modify(
            [&](file::Stamp& stamp) {
                contents_->file->tidy(is_last, contents_->layout, stamp);
                return ZELVA_CORE_STATUS_NO_ERROR;
            },
            [] {});
    }
}

zelva_core_status SettingsStore::type(std::string_view key, Type& type) {
    if (format::is_default_name(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    ReadLock lock(memory_);
    if (const zelva_core_status status = refresh(lock)) {
        return status;
    }
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const Cell* entry = contents_->entries->find(key, Slot::value);
    if (entry == nullptr) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    type = entry->value.type();
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::list(std::string_view prefix, const std::function<void(std::string_view)>& use) {
    const std::lock_guard listing(listing_);
    ReadLock lock(memory_);
    if (const zelva_core_status status = refresh(lock)) {
        return status;
    }
    if (!contents_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    contents_->entries->list(prefix, use);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::announce_version(unsigned announced, unsigned& stored) {
    if (announced == 0 || announced > INT_MAX) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    unsigned old = 0;
    std::shared_ptr<file::StoreFile> file;  // tells whether the store is the same one afterwards
    const zelva_core_status status = change([&] {
        file = contents_->file;
        const Entries& entries = *contents_->entries;
        const Cell* version = entries.find(version_key, Slot::value);
        if (version != nullptr && version->value.type() != value::type_for<int>) {
            return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
        }
        // A version below 1, which only a person can have written, stands for none.
        const auto present = version == nullptr ? 0U : static_cast<unsigned>(std::max(version->value.get<int>(), 0));
        // A default without its key is no key.
        old = entries.has_keys() ? present : announced;
        if (announced <= present) {
            // Who may only read the store may announce the version that it has.
            return lock_status_ == ZELVA_CORE_STATUS_NO_ERROR ? confirm() : ZELVA_CORE_STATUS_NO_ERROR;
        }
        if (version == nullptr) {
            if (const zelva_core_status cleared = clear_default(version_key)) {
                return cleared;
            }
        }
        std::vector<format::Change> changes;
        changes.push_back(change_of(version_key, Slot::value, Value(static_cast<int>(announced))));
        return commit(changes);
    });
    if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        return status;
    }
    const std::lock_guard lock(memory_);
    if (contents_ && contents_->file == file) {
        contents_->versions = Versions{old, announced};
    }
    stored = old;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::clear_default(std::string_view key) {
    if (lock_status_ != ZELVA_CORE_STATUS_NO_ERROR) {
        return lock_status_;
    }
    // Another change follows, of a file that could perhaps not be looked at after this one.
    const auto and_update = [this](zelva_core_status status) {
        return status == ZELVA_CORE_STATUS_NO_ERROR ? update() : status;
    };
    const bool has_superseded = !contents_->layout.superseded.empty();
    if (has_superseded) {
        // Among these may be a default that a refused set has left.
        if (const zelva_core_status status = and_update(flush(true))) {
            return status;
        }
    }
    if (contents_->durability == ZELVA_CORE_DURABILITY_FULL && (has_superseded || !contents_->layout.is_flushed)) {
        // The key may have been deleted since the last flush, and its default with it.
        if (const zelva_core_status status = and_update(flush(false))) {
            return status;
        }
    }
    if (contents_->entries->find(key, Slot::default_value) == nullptr) {
        return ZELVA_CORE_STATUS_NO_ERROR;
    }
    return and_update(commit(std::vector(1, change_of(key, Slot::default_value, std::nullopt))));
}

zelva_core_status SettingsStore::versions(unsigned& stored, unsigned& announced) const {
    const ReadLock lock(memory_);
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
