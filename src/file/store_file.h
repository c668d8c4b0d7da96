// A store's file on disk.
#pragma once

#include <sys/types.h>
#include <zelva/core.h>

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "file/line.h"
#include "file/shared_state.h"

namespace zelva::file {

/// A key that gets a value, or loses the one it has.
struct Change {
    std::string key;
    std::optional<value::Value> value;
};

/// Tells one state of a file from another.
struct Stamp {
    dev_t device;
    ino_t inode;
    off_t size;
    timespec modified;
};
bool operator==(const Stamp& left, const Stamp& right);

/// The state of the file that a program has read or written last.
struct Revision {
    std::uint64_t counter;
    Stamp stamp;
};

/// The file of an open store. Many programs may have it open, each with an object of its own. Any thread may call the
/// const functions at any time, and one at a time the others.
class StoreFile {
  public:
    /// The file of a store that is only read.
    explicit StoreFile(std::string path) : path_(std::move(path)) {}

    /// The file of a store that is written, with what the programs share that have it open. Where that cannot be
    /// opened, the store can still be read.
    StoreFile(std::string path, std::string shared_path);

    /// Reads the file and hands over its entries in order; of a key that has several, the last one counts.
    ///
    /// ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when there is no file; ZELVA_CORE_STATUS_IO_FAILED when it cannot be read
    /// or is no regular file.
    zelva_core_status load(const std::function<void(Entry)>& use, Revision& revision) const;

    /// Whether no program has finished a change since this revision. Costs no system call, but where the counter cannot
    /// be read: then it looks at the file.
    bool is_current(const Revision& revision) const;

    /// Waits until no other program changes the file, and keeps them from it.
    zelva_core_status lock();
    void unlock();

    /// Whether nobody, a person with an editor included, has changed the file since this revision. REQUIRES: the lock
    /// is held.
    bool is_unchanged(const Revision& revision) const;

    /// Around a change: other programs read the file again after it. end_change gives the counter of the revision that
    /// has come about. REQUIRES: the lock is held.
    void begin_change() { shared_->begin_change(); }
    std::uint64_t end_change();

    /// Makes all the changes or, on any status but ZELVA_CORE_STATUS_NO_ERROR, none. A changed entry keeps its place,
    /// a new one goes to the end in the order given, and every other line stays as it is. When it returns, the changes
    /// have reached the disk, and `stamp` is that of the file. Creates the file if need be.
    ///
    /// REQUIRES: a change has begun; the keys are distinct, and those that get a value can be written (is_key,
    /// is_storable).
    zelva_core_status apply(const std::vector<Change>& changes, Stamp& stamp) const;

    /// In the child after fork().
    void forget_lock();

  private:
    const std::string path_;
    const std::unique_ptr<SharedState> shared_;
};

}  // namespace zelva::file
