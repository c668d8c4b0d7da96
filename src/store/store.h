// The rules of keys, types, defaults and versions.
//
// A store holds its file's entries in memory (entries.h). Names that begin with "DEFAULT_" are those of defaults and
// are reserved: no operation takes them, and no list holds them.
//
// Any thread may call any member function at any time.
#pragma once

#include <zelva/core.h>
#include <zelva/settings.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "file/paths.h"
#include "file/store_file.h"
#include "format/entries.h"
#include "store/readers_lock.h"
#include "value/value.h"

namespace zelva::store {

using format::Cell;
using format::Entries;
using format::Slot;
using value::Type;
using value::Value;

/// The version that the settings had, and the one that the program announced.
struct Versions {
    unsigned stored;
    unsigned announced;
};

/// What the two stores share: a file that has been read, and its entries.
class Store {
  public:
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Reads the store's file. INVALID_PARAMS for a refused name and for a configuration without a file;
    /// ALLOC_FAILED when the store is open.
    zelva_core_status open(std::string_view name);

    zelva_core_status close();

    /// Calls `use` with a View<T> of the value in one slot of a key, of type T. `use` may throw; it runs under the
    /// store's lock and must not call the store.
    template <class T, class Use>
    zelva_core_status read(std::string_view key, Slot slot, Use&& use) {
        std::shared_lock lock(memory_);
        const value::Packed* found = nullptr;
        const zelva_core_status status = look_up(lock, key, slot, value::type_for<T>, found);
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            std::forward<Use>(use)(found->get<T>());
        }
        return status;
    }

    bool contains(std::string_view key);

    /// Around fork(), so that the child does not find the store in the middle of another thread's change, nor its locks
    /// held by a thread that the child does not have.
    void before_fork();
    void after_fork_in_parent();
    void after_fork_in_child();

  protected:
    /// What there is for as long as the store is open.
    struct Contents {
        std::shared_ptr<file::StoreFile> file;  // shared with readers that read it again
        /// Of the file when it was read: entries refer to it. Neither is ever moved, as that may copy, or take memory.
        std::unique_ptr<std::string> text = std::make_unique<std::string>();
        std::unique_ptr<Entries> entries = std::make_unique<Entries>();  // only the holder of writing_ asks for lines
        file::Revision revision;                                         // of the file that the entries are those of
        format::Layout layout;  // of that file; only the holder of writing_ asks for it
        zelva_core_durability durability = ZELVA_CORE_DURABILITY_FULL;
        std::optional<Versions> versions;  // since the first announcement
    };

    explicit Store(file::Kind kind) : kind_(kind) {}
    ~Store() = default;

    using ReadLock = std::shared_lock<ReadersLock>;

    /// Closes the store. REQUIRES: writing_ is held.
    zelva_core_status forget();

    /// Reads the file again if another program has changed it. Waits for nobody: `lock`, on memory_, is released
    /// meanwhile.
    zelva_core_status refresh(ReadLock& lock) { return is_current() ? ZELVA_CORE_STATUS_NO_ERROR : read_again(lock); }
    zelva_core_status read_again(ReadLock& lock);

    /// REQUIRES: memory_ is held.
    bool is_current() const { return !contents_ || contents_->file->is_current(contents_->revision); }

    /// The file's entries, layout and revision. Settings without a file have none; for a configuration, INVALID_PARAMS.
    /// Nothing where it was not to wait for others who are changing the file.
    std::optional<zelva_core_status> load(const file::StoreFile& file, file::StoreFile::Access access,
                                          Contents& contents) const;

    /// Puts what has been read in the place of what there is. REQUIRES: memory_ is held.
    void use(Contents& fresh);

    /// The revision that memory stands for. The holder of writing_ asks under memory_ too: readers change it, and the
    /// entries that it then relies on, when they read the file again.
    file::Revision revision() const;

    /// As find, of what the file now holds. `lock` is on memory_.
    zelva_core_status look_up(ReadLock& lock, std::string_view key, Slot slot, Type type, const value::Packed*& found);

    /// Finds the value in a slot of a key of the given type. REQUIRES: memory_ or writing_ is held, and the key's name
    /// is not reserved.
    zelva_core_status find(std::string_view key, Slot slot, Type type, const value::Packed*& found) const;

    /// Guards contents_ between readers and the holder of writing_. Never held while waiting for the disk, so that a
    /// reader does not wait for it either. Taken after all others.
    mutable ReadersLock memory_;
    /// Cell by who opens, closes or changes the store, also while waiting for the disk.
    std::mutex writing_;
    /// Cell by who lists keys, one at a time, which may put them in order first. Taken after writing_.
    std::mutex listing_;
    /// Cell by who reads the file again for readers, one at a time. Taken after these, before memory_.
    std::mutex refreshing_;
    /// Cell while a change of this program is over for others and memory does not have it yet. Taken after these,
    /// before memory_, and only by who holds writing_ or refreshing_: so it is free when a fork holds those.
    std::mutex ending_;
    std::optional<Contents> contents_;  // has a value while the store is open

  private:
    const file::Kind kind_;
};

/// The configuration store: a store that nobody writes.
class ConfigurationStore : public Store {
  public:
    ConfigurationStore() : Store(file::Kind::configuration) {}
};

/// The settings store: a store that is written.
class SettingsStore : public Store {
  public:
    SettingsStore() : Store(file::Kind::settings) {}

    /// Closes the store, and leaves the file as a person would.
    zelva_core_status close();

    zelva_core_status set_durability(zelva_core_durability durability);

    /// Makes all that was set durable.
    zelva_core_status sync();

    /// Gives a key a value, or a default. A key that is absent gets both.
    zelva_core_status write(std::string_view key, Slot slot, Value value);

    /// Gives `new_key` the value of `old_key`, which is of the given type, as write does.
    zelva_core_status copy(Type type, std::string_view old_key, std::string_view new_key);

    /// Removes a key and its default.
    zelva_core_status remove(std::string_view key);

    zelva_core_status type(std::string_view key, Type& type);

    /// Calls `use` with each key that begins with `prefix`, under the store's lock.
    zelva_core_status list(std::string_view prefix, const std::function<void(std::string_view)>& use);

    /// Reads the file again.
    zelva_core_status reload();

    /// Announces a version, and stores it if it is higher than the stored one.
    zelva_core_status announce_version(unsigned announced, unsigned& stored);

    /// The versions of the last announcement since the store was opened; INVALID_PARAMS when there was none.
    zelva_core_status versions(unsigned& stored, unsigned& announced) const;

  private:
    /// Applies `rules`, which find what there is and commit changes, while no other thread and no other program changes
    /// the store. They do not take memory_. Where the file turns out to be another one than they have judged, they
    /// judge again, once.
    template <class Rules>
    zelva_core_status change(const Rules& rules);
    template <class Rules>
    zelva_core_status change_once(const Rules& rules);

    /// Goes over to the file to which the store's path leads by now. REQUIRES: writing_ is held.
    zelva_core_status follow_links();

    /// Reads the file again if memory does not stand for what it holds. REQUIRES: writing_ and the file's lock are
    /// held.
    zelva_core_status update();

    /// Reads the file again, whatever is known of it. REQUIRES: writing_ is held.
    zelva_core_status reload(file::StoreFile::Access access);

    /// Writes a value that has been judged. REQUIRES: within change().
    zelva_core_status put(std::string_view key, Slot slot, const Value& value);

    /// What is to become of an entry.
    format::Change change_of(std::string_view key, Slot slot, std::optional<Value> value) const;

    /// Whether an entry has this value, and its line is what would be written. REQUIRES: within change().
    bool is_written(std::string_view key, Slot slot, const Cell& present, const Value& value) const;

    /// Makes sure that what is there has reached the disk, if sets are to be durable. REQUIRES: within change().
    zelva_core_status confirm();

    /// Makes the changes in the file and then in memory, or not at all. REQUIRES: within change().
    zelva_core_status commit(const std::vector<format::Change>& changes);

    /// Notes that an entry's line has another place in the file.
    void move_line(std::string_view name, format::Place line);

    /// Makes sure that the file has reached the disk. REQUIRES: within change().
    zelva_core_status flush(bool is_checkpoint);

    /// Sees to it that there is no default for an absent key to come by. May read the file again. REQUIRES: within
    /// change().
    zelva_core_status clear_default(std::string_view key);

    /// Leaves the file as a person would, where that can be done. REQUIRES: writing_ is held.
    void tidy();

    /// Calls `work` with the file's stamp, which it may change with the file, as it may the layout; then, if that has
    /// succeeded and other programs know that they are to read the file again, `in_memory`, under memory_. Readers of
    /// this program see nothing between the two. REQUIRES: within change(), with the lock of the file.
    template <class Work, class InMemory>
    zelva_core_status modify(Work&& work, InMemory&& in_memory);

    /// Why the file cannot be changed, if so, for commit() to report: the rules decide first.
    zelva_core_status lock_status_ = ZELVA_CORE_STATUS_NO_ERROR;
};

}  // namespace zelva::store
