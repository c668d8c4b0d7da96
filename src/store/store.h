// A store: a file's entries in memory for programs to read, and the way of a change to the file and back to memory.
//
// Names that begin with "DEFAULT_" are those of defaults and are reserved: no operation takes them, and no list holds
// them. Any thread may call any member function at any time.
#pragma once

#include <zelva/core.h>
#include <zelva/settings.h>

#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "file/paths.h"
#include "file/store_file.h"
#include "store/mutex.h"
#include "store/rules.h"
#include "value/function_ref.h"
#include "value/value.h"

namespace zelva::store {

using format::Slot;
using value::FunctionRef;
using value::Type;
using value::Value;

/// The version that the settings had, and the one that the program announced.
struct Versions {
    unsigned stored;
    unsigned announced;
};

/// What readers see, replaced as a whole when the file has been read again. Only the holder of the writer's lock
/// changes entries, and asks for the places of their lines.
using Snapshot = format::Entries;

/// What the two stores share: a file that has been read, and its entries.
class Store {
  public:
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Reads the store's file. INVALID_PARAMS for a refused name and for a configuration without a file;
    /// ALLOC_FAILED when the store is open.
    zelva_core_status open(std::string_view name);

    zelva_core_status close();

    /// Calls `visit` with the value in one slot of a key of this type. `visit` may throw; it runs under the store's
    /// lock and must not call the store.
    zelva_core_status read(std::string_view key, Slot slot, Type type, FunctionRef<void(const value::Content&)> visit);

    bool contains(std::string_view key);

    /// Around fork(), so that the child does not find the store in the middle of another thread's change, nor its locks
    /// held by a thread that the child does not have.
    void before_fork() NO_ANALYSIS;
    void after_fork_in_parent() NO_ANALYSIS;
    void after_fork_in_child() NO_ANALYSIS;

  protected:
    explicit Store(file::Kind kind) : kind_(kind) {}
    ~Store() = default;

    zelva_core_status forget() REQUIRES(writing_) EXCLUDES(memory_);

    /// Makes snapshot_ that of what the file holds. NOT_INITIALIZED where the store is not open.
    zelva_core_status refresh() REQUIRES_SHARED(memory_) {
        return is_current() ? (file_ ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_NOT_INITIALIZED) : load_again();
    }

    bool is_current() const REQUIRES_SHARED(memory_) { return !file_ || file_->is_current(); }

    /// Reads the file again, since another program has changed it. Waits for nobody: memory_ is released meanwhile.
    zelva_core_status load_again() REQUIRES_SHARED(memory_);

    /// What reading a file means for the store: settings without a file are empty; a configuration has one.
    zelva_core_status status_of(const file::Loaded& loaded) const;

    /// Puts what has been read in the place of what there is.
    void adopt(file::Loaded& loaded) REQUIRES(memory_);

    void adopt_for_readers(const std::shared_ptr<file::StoreFile>& file, file::Loaded& loaded)
        EXCLUDES(memory_) NO_ANALYSIS;

    // The locks, in the order in which they are taken.

    /// Held by who opens, closes or changes the store, also while waiting for the disk.
    Mutex writing_;
    /// Held by who lists keys, one at a time, which may put them in order first.
    Mutex listing_ ACQUIRED_AFTER(writing_);
    /// Held by who reads the file again for readers, one at a time.
    Mutex refreshing_ ACQUIRED_AFTER(listing_);
    /// Held while a change of this program is over for others and memory does not have it yet. Taken only by who holds
    /// writing_ or refreshing_: so it is free when a fork holds those.
    Mutex ending_ ACQUIRED_AFTER(refreshing_);
    /// Guards what readers see. Never held while waiting for the disk, so that a reader does not wait for it either.
    mutable SharedMutex memory_ ACQUIRED_AFTER(ending_);

    std::shared_ptr<file::StoreFile> file_ GUARDED_BY(memory_);  // while the store is open
    std::shared_ptr<Snapshot> snapshot_ GUARDED_BY(memory_);     // of that file
    std::optional<Versions> versions_ GUARDED_BY(memory_);       // since the first announcement

  private:
    const file::Kind kind_;
};

/// The configuration store: a store that nobody writes.
class ConfigurationStore : public Store {
  public:
    ConfigurationStore() : Store(file::Kind::configuration) {}
};

/// The settings store: a store that is written.
///
/// One way leads to the file: commit() takes the lock, reads the file again if it has changed, has a rule decide,
/// applies the batch to the file, and publishes the delta.
class SettingsStore : public Store {
  public:
    SettingsStore() : Store(file::Kind::settings) {}

    /// Closes the store, and leaves the file as a person would.
    zelva_core_status close();

    zelva_core_status set_durability(zelva_core_durability durability);

    /// Makes all that was set durable.
    zelva_core_status sync();

    /// Gives a key a value, or a default. A key that is absent gets both.
    zelva_core_status write(std::string_view key, Slot slot, const Value& value);

    /// Gives `new_key` the value of `old_key`, which is of the given type, as write does.
    zelva_core_status copy(Type type, std::string_view old_key, std::string_view new_key);

    /// Removes a key and its default.
    zelva_core_status remove(std::string_view key);

    /// Gives several distinct keys values, or removes them: all of them or none.
    zelva_core_status write_all(const std::vector<Wish>& wishes);

    zelva_core_status type(std::string_view key, Type& type);

    /// Calls `visit` with each key that begins with `prefix`, under the store's lock.
    zelva_core_status list(std::string_view prefix, FunctionRef<void(std::string_view)> visit);

    /// Reads the file again.
    zelva_core_status reload();

    /// Announces a version, and stores it if it is higher than the stored one.
    zelva_core_status announce_version(unsigned announced, unsigned& stored);

    /// The versions of the last announcement since the store was opened; INVALID_PARAMS when there was none.
    zelva_core_status versions(unsigned& stored, unsigned& announced) const;

  private:
    /// What a change makes of the entries, once it is published.
    struct Delta {
        const format::Batch& batch;
        file::Applied applied;
    };

    /// The open store while it is being changed, as its writer knows it.
    struct Writing {
        std::shared_ptr<file::StoreFile> file;
        std::shared_ptr<Snapshot> snapshot;
        file::Revision known;    // the snapshot's
        file::Error lock_error;  // why the file cannot be changed, if so
        bool is_locked = false;

        ~Writing() {
            if (is_locked) {
                file->unlock();
            }
        }
    };

    /// Has `decide` decide, and does what it has decided: in the file and then in memory, or
    /// not at all. Where the file turns out to be another one than the rule has judged, once more.
    zelva_core_status commit(FunctionRef<Decision(const format::Entries&)> decide) REQUIRES(writing_) EXCLUDES(memory_);

    /// Locks the file, and reads it again if it has changed. Where it cannot be locked, no error: the same decision is
    /// made of what is known of it.
    zelva_core_status begin(Writing& writing) REQUIRES(writing_) EXCLUDES(memory_);
    zelva_core_status carry_out(Writing& writing, const Decision& decision) REQUIRES(writing_) EXCLUDES(memory_);
    file::Error apply(Writing& writing, const format::Batch& batch) REQUIRES(writing_) EXCLUDES(memory_);
    file::Error flush(Writing& writing, bool is_checkpoint) REQUIRES(writing_) EXCLUDES(memory_);

    /// A change of the file: `work()` makes it, and then it is published.
    file::Error change(Writing& writing, const format::Batch& batch, FunctionRef<file::Applied()> work)
        REQUIRES(writing_) EXCLUDES(memory_);

    /// Ends a change of the file for other programs and for readers of this one, who see nothing between the two. The
    /// one function that changes what readers see, but for adopt().
    void publish(Writing& writing, Delta& delta) noexcept REQUIRES(writing_) EXCLUDES(memory_);

    /// The open file. It is replaced only by who holds writing_, so this takes no other lock.
    const std::shared_ptr<file::StoreFile>& open_file() const REQUIRES(writing_) NO_ANALYSIS { return file_; }

    /// Takes what readers see just now: they may be reading the file again.
    void look(Writing& writing) const EXCLUDES(memory_);

    /// Goes over to the file to which the store's path leads by now.
    zelva_core_status follow_links(std::shared_ptr<file::StoreFile>& file) REQUIRES(writing_) EXCLUDES(memory_);

    /// Reads the file again, whatever is known of it.
    zelva_core_status load(const file::StoreFile& file, file::StoreFile::Access access) REQUIRES(writing_)
        EXCLUDES(memory_);

    /// Reads the file again if it has changed. REQUIRES: the file's lock is held.
    zelva_core_status update(Writing& writing) REQUIRES(writing_) EXCLUDES(memory_);

    /// Leaves the file as a person would, where that can be done.
    void trim() REQUIRES(writing_) EXCLUDES(memory_);

    zelva_core_durability durability_ GUARDED_BY(writing_) = ZELVA_CORE_DURABILITY_FULL;
};

}  // namespace zelva::store
