#include "store/store.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <string>
#include <thread>

#include "value/text.h"

namespace zelva::store {

using file::Error;
using file::Loaded;
using file::StoreFile;
using format::Batch;
using format::Entries;

zelva_core_status Store::open(std::string_view name) {
    const std::optional<std::string> path = file::store_path(kind_, name);
    if (!path) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Hold writing(writing_);
    {
        const HoldShared lock(memory_);
        if (file_) {
            return ZELVA_CORE_STATUS_ALLOC_FAILED;
        }
    }
    auto file = std::make_shared<StoreFile>(kind_, *path);
    Loaded loaded = file->load(StoreFile::Access::waiting);
    if (const zelva_core_status status = status_of(loaded)) {
        return status;
    }
    const Hold lock(memory_);
    file_ = std::move(file);
    adopt(loaded);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status Store::status_of(const Loaded& loaded) const {
    if (loaded.state == Loaded::State::absent) {
        // Settings begin empty, and get their file with the first write. A configuration is shipped as a file.
        return kind_ == file::Kind::settings ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return file::status_of(loaded.error);
}

void Store::adopt(Loaded& loaded) {
    file_->adopt(loaded);
    std::swap(snapshot_, loaded.entries);
}

zelva_core_status Store::load_again() {
    const LetGo unlocked(memory_);
    const Hold refreshing(refreshing_);
    { const Hold ending(ending_); }  // what has changed may be what another thread is just changing
    // Once is enough: a change that is finished meanwhile is at the same time as this read.
    constexpr int most_attempts = 50;
    for (int attempt = 0;; ++attempt) {
        std::shared_ptr<StoreFile> file;
        {
            const HoldShared lock(memory_);
            if (is_current()) {
                return ZELVA_CORE_STATUS_NO_ERROR;  // another thread has read the file meanwhile, or changed it
            }
            file = file_;
        }
        // Where the file is being changed, a thread of this program may have read it for that, and there is nothing to
        // wait for. To ask again and again has no end with many programs that write.
        const bool may_wait = attempt == most_attempts;
        Loaded loaded = file->load(may_wait ? StoreFile::Access::waiting : StoreFile::Access::at_once);
        if (loaded.state == Loaded::State::busy) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            continue;
        }
        const zelva_core_status status = status_of(loaded);
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            adopt_for_readers(file, loaded);
        }
        return status;
    }
}

void Store::adopt_for_readers(const std::shared_ptr<StoreFile>& file, Loaded& loaded) {
    const Hold ending(ending_);
    const Hold lock(memory_);
    if (file_ != file || is_current()) {
        return;  // another thread has closed the store meanwhile, or read the file
    }
    // Another thread may have read the file to write it, and relies on what it has found. Where the counter tells of
    // all changes, there is none while that one holds the lock.
    const bool is_counted = file->is_counted();
    const bool is_unwritten = !is_counted && writing_.try_lock();
    if (is_counted || is_unwritten) {
        adopt(loaded);
    }
    if (is_unwritten) {
        writing_.unlock();
    }
}

zelva_core_status Store::close() {
    const Hold writing(writing_);
    return forget();
}

zelva_core_status Store::forget() {
    std::shared_ptr<StoreFile> file;
    std::shared_ptr<Snapshot> snapshot;
    const Hold lock(memory_);
    file.swap(file_);
    snapshot.swap(snapshot_);
    versions_.reset();
    return file ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_NOT_INITIALIZED;
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
    if (file_) {
        file_->forget_lock();
    }
    memory_.forget_readers();
    after_fork_in_parent();
}

bool Store::contains(std::string_view key) {
    const HoldShared lock(memory_);
    return refresh() == ZELVA_CORE_STATUS_NO_ERROR && snapshot_ && snapshot_->contains(key, Slot::value);
}

zelva_core_status Store::read(std::string_view key, Slot slot, Type type,
                              FunctionRef<void(const value::Content&)> visit) {
    if (format::is_default_name(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;  // whatever has become of the file
    }
    const HoldShared lock(memory_);
    if (const zelva_core_status status = refresh()) {
        return status;
    }
    if (!snapshot_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    value::Content found;
    const zelva_core_status status = find_value(*snapshot_, key, slot, type, found);
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        visit(found);
    }
    return status;
}

zelva_core_status SettingsStore::write(std::string_view key, Slot slot, const Value& value) {
    // The value is judged before the key is looked up: a refusal does not depend on what the store holds.
    if (!is_writable_key(key) || !value::is_storable(value)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Hold writing(writing_);
    return commit([&](const Entries& entries) { return decide_set(entries, key, slot, value); });
}

zelva_core_status SettingsStore::copy(Type type, std::string_view old_key, std::string_view new_key) {
    if (format::is_default_name(old_key) || !is_writable_key(new_key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Hold writing(writing_);
    return commit([&](const Entries& entries) { return decide_copy(entries, type, old_key, new_key); });
}

zelva_core_status SettingsStore::remove(std::string_view key) {
    if (format::is_default_name(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Hold writing(writing_);
    return commit([&](const Entries& entries) { return decide_remove(entries, key); });
}

zelva_core_status SettingsStore::write_all(const std::vector<Wish>& wishes) {
    const bool is_valid = std::all_of(wishes.begin(), wishes.end(), [](const Wish& wish) {
        return wish.value ? is_writable_key(wish.key) && value::is_storable(*wish.value)
                          : !format::is_default_name(wish.key);
    });
    if (!is_valid) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Hold writing(writing_);
    return commit([&](const Entries& entries) { return decide_all(entries, wishes); });
}

zelva_core_status SettingsStore::sync() {
    const Hold writing(writing_);
    return commit([](const Entries&) { return decide_sync(); });
}

zelva_core_status SettingsStore::announce_version(unsigned announced, unsigned& stored) {
    if (announced == 0 || announced > INT_MAX) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Hold writing(writing_);
    unsigned old = 0;
    const zelva_core_status status =
        commit([&](const Entries& entries) { return decide_announce(entries, announced, old); });
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        const Hold lock(memory_);
        versions_ = Versions{old, announced};
        stored = old;
    }
    return status;
}

zelva_core_status SettingsStore::commit(FunctionRef<Decision(const Entries&)> decide) {
    constexpr int most_attempts = 2;
    for (int attempt = 1;; ++attempt) {
        Writing writing;
        if (const zelva_core_status status = begin(writing)) {
            return status;
        }
        const zelva_core_status status = carry_out(writing, decide(*writing.snapshot));
        if (attempt == most_attempts || !writing.file->is_stale()) {
            return status;
        }
    }
}

zelva_core_status SettingsStore::begin(Writing& writing) {
    writing.file = open_file();
    if (!writing.file) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    if (writing.file->may_lead_elsewhere()) {
        if (const zelva_core_status status = follow_links(writing.file)) {
            return status;
        }
    }
    writing.lock_error = writing.file->lock();
    writing.is_locked = !writing.lock_error;
    look(writing);
    return writing.is_locked ? update(writing) : ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::carry_out(Writing& writing, const Decision& decision) {
    if (decision.action == Decision::Action::refuse) {
        return decision.status;
    }
    const bool is_kept = decision.action == Decision::Action::keep;
    if (writing.lock_error) {
        // Who may only read the store may announce the version that it has.
        return is_kept && decision.batch.empty() ? ZELVA_CORE_STATUS_NO_ERROR : file::status_of(writing.lock_error);
    }
    const StoreFile& file = *writing.file;
    if (decision.action == Decision::Action::checkpoint) {
        const bool is_done = file.is_flushed() && !file.has_superseded_lines();
        return is_done ? ZELVA_CORE_STATUS_NO_ERROR : file::status_of(flush(writing, file.has_superseded_lines()));
    }
    if (is_kept) {
        // Whoever has written it may not have flushed it.
        const bool is_durable = durability_ == ZELVA_CORE_DURABILITY_FULL;
        return is_durable && !file.is_flushed() ? file::status_of(flush(writing, false)) : ZELVA_CORE_STATUS_NO_ERROR;
    }
    return file::status_of(apply(writing, decision.batch));
}

Error SettingsStore::apply(Writing& writing, const Batch& batch) {
    // What the change needs in memory is taken here, since nothing may fail once the file has changed.
    const std::size_t text_size = writing.file->most_text(batch);
    if (!writing.snapshot->is_prepared(batch, text_size)) {
        const Hold lock(memory_);
        writing.snapshot->prepare(batch, text_size);
    }
    return change(writing, batch, [&, durability = durability_] { return writing.file->apply(batch, durability); });
}

Error SettingsStore::flush(Writing& writing, bool is_checkpoint) {
    return change(writing, {}, [&] { return writing.file->flush(is_checkpoint); });
}

Error SettingsStore::change(Writing& writing, const Batch& batch, FunctionRef<file::Applied()> work) {
    Delta delta{batch, {}};
    delta.applied.error = writing.file->begin_change();
    if (delta.applied.error) {
        return delta.applied.error;
    }
    try {
        delta.applied = work();
        publish(writing, delta);
    } catch (...) {
        delta.applied.error = file::error_of("malloc", ENOMEM);
        publish(writing, delta);
        throw;
    }
    return delta.applied.error;
}

void SettingsStore::publish(Writing& writing, Delta& delta) noexcept {
    file::Applied& applied = delta.applied;
    const Hold ending(ending_);
    const Error end = writing.file->end_change();
    applied.error = applied.error ? applied.error : end;
    const Hold lock(memory_);
    if (!applied.error && applied.entries) {
        std::swap(snapshot_, applied.entries);
    } else if (!applied.error) {
        for (std::size_t i = 0; i < delta.batch.size(); ++i) {
            snapshot_->put(delta.batch[i], applied.places[i]);
        }
    }
    writing.file->adopt_change();
}

void SettingsStore::look(Writing& writing) const {
    const HoldShared lock(memory_);
    writing.snapshot = snapshot_;
    writing.known = writing.file->revision();
}

zelva_core_status SettingsStore::follow_links(std::shared_ptr<StoreFile>& file) {
    if (!file->leads_elsewhere()) {
        return ZELVA_CORE_STATUS_NO_ERROR;
    }
    std::shared_ptr<StoreFile> fresh = file->follow();
    Loaded loaded = fresh->load(StoreFile::Access::waiting);
    if (const zelva_core_status status = status_of(loaded)) {
        return status;
    }
    file = fresh;
    const Hold lock(memory_);
    std::swap(file_, fresh);
    adopt(loaded);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::update(Writing& writing) {
    if (writing.file->is_unchanged(writing.known)) {
        return ZELVA_CORE_STATUS_NO_ERROR;
    }
    writing.file->look_for_links();
    const zelva_core_status status = load(*writing.file, StoreFile::Access::locked);
    look(writing);
    return status;
}

zelva_core_status SettingsStore::load(const StoreFile& file, StoreFile::Access access) {
    Loaded loaded = file.load(access);
    if (const zelva_core_status status = status_of(loaded)) {
        return status;
    }
    const Hold lock(memory_);
    adopt(loaded);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::reload() {
    const Hold writing(writing_);
    std::shared_ptr<StoreFile> file = open_file();
    if (!file) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    const zelva_core_status status = follow_links(file);
    return status == ZELVA_CORE_STATUS_NO_ERROR ? load(*file, StoreFile::Access::waiting) : status;
}

zelva_core_status SettingsStore::set_durability(zelva_core_durability durability) {
    const Hold writing(writing_);
    if (!open_file()) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    durability_ = durability;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::close() {
    // Nothing is written between the two: the file would not be left as it is to be.
    const Hold writing(writing_);
    try {
        trim();
    } catch (...) {
        // There is no memory. The padding means nothing, and the store is to be closed.
    }
    durability_ = ZELVA_CORE_DURABILITY_FULL;
    return forget();
}

void SettingsStore::trim() {
    Writing writing;
    writing.file = open_file();
    StoreFile* const file = writing.file.get();
    const auto is_untrimmed = [this, file] {
        const HoldShared lock(memory_);  // a reader may be reading the file again
        return file != nullptr && file->is_untrimmed();
    };
    if (!is_untrimmed()) {
        return;
    }
    writing.is_locked = !file->lock();
    if (!writing.is_locked) {
        return;
    }
    const bool is_last = file->is_alone();
    look(writing);
    // If another program has written the file meanwhile and is still there, the padding is for it.
    if (!is_last && !file->is_unchanged(writing.known)) {
        return;
    }
    if (update(writing) == ZELVA_CORE_STATUS_NO_ERROR && is_untrimmed()) {
        change(writing, {}, [&] {
            file->trim(is_last);
            return file::Applied();
        });
    }
}

zelva_core_status SettingsStore::type(std::string_view key, Type& type) {
    if (format::is_default_name(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const HoldShared lock(memory_);
    if (const zelva_core_status status = refresh()) {
        return status;
    }
    if (!snapshot_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    value::Content found;
    if (!snapshot_->find(key, Slot::value, found)) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    type = found.type();
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::list(std::string_view prefix, FunctionRef<void(std::string_view)> visit) {
    const Hold listing(listing_);
    const HoldShared lock(memory_);
    if (const zelva_core_status status = refresh()) {
        return status;
    }
    if (!snapshot_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    snapshot_->list(prefix, visit);
    return ZELVA_CORE_STATUS_NO_ERROR;
}

zelva_core_status SettingsStore::versions(unsigned& stored, unsigned& announced) const {
    const HoldShared lock(memory_);
    if (!file_) {
        return ZELVA_CORE_STATUS_NOT_INITIALIZED;
    }
    if (!versions_) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    stored = versions_->stored;
    announced = versions_->announced;
    return ZELVA_CORE_STATUS_NO_ERROR;
}

}  // namespace zelva::store
