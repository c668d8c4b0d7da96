// A store's file on disk: what it holds, and how it is changed. It is changed in place, a line at a time (writer.h),
// and replaced as a whole (replacement.h) where that cannot be or no longer pays: when there is none yet, when it has
// become wasteful, when it cannot be trusted since a flush has failed, when a person has left it without a line feed at
// its end, and when the last program that has changed it closes it.
#pragma once

#include <zelva/settings.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "file/descriptor.h"
#include "file/paths.h"
#include "file/shared_state.h"
#include "file/stamp.h"
#include "format/batch.h"
#include "format/batch_record.h"
#include "format/entries.h"
#include "format/layout.h"

namespace zelva::file {

class Replacement;
class Writer;

/// The state of the file that a program has read or written last.
struct Revision {
    std::uint64_t counter = 0;
    Stamp stamp;
};

/// What reading a file has come to.
struct Loaded {
    enum class State {
        present,
        absent,  // there is no file; it reads as empty
        busy,    // somebody is changing it, and this was not to wait
        failed
    };
    State state = State::failed;
    Error error;
    std::shared_ptr<format::Entries> entries;  // of a file that is present or absent

    // For the object that has read it.
    Revision revision;
    format::Layout layout;
    std::vector<format::Fix> fixes;
};

/// What a change of the file has come to.
struct Applied {
    Error error;
    std::vector<format::Place> places;         // of the new lines, one for each change
    std::shared_ptr<format::Entries> entries;  // all of them, after the file was written anew
};

/// The file of an open store. Many programs may have it open, each with an object of its own. What it knows of the file
/// is that of the contents that were adopted last.
///
/// The lock belongs to the file, by whatever links programs come to it. A file with another name of its own (a hard
/// link, a mount of the file alone) would have a lock for each: it is read and not written.
///
/// Any thread may call load(), path() and leads_elsewhere(). The others belong to the thread that opens, changes or
/// closes the store, but where they say so.
class StoreFile {
  public:
    /// The file to which this path leads; of settings, which are written, with what the programs share that have it
    /// open. Where that cannot be opened, the store can still be read. A configuration is opened for reading only: that
    /// makes, locks and removes nothing. Throws std::system_error where the path leads nowhere.
    StoreFile(Kind kind, std::string path);

    /// The path that it was made with.
    const std::string& path() const { return link_; }

    /// Whether the path may lead to another file by now: it leads over a link, or the file turned out to be another one
    /// when it was to be changed since the lock was taken.
    bool may_lead_elsewhere() const { return link_ != path_ || is_stale_; }
    bool is_stale() const { return is_stale_; }

    /// Whether it does. Throws std::system_error where it leads nowhere.
    bool leads_elsewhere() const;

    /// The file to which it leads by now.
    std::shared_ptr<StoreFile> follow() const;

    /// How a file is read that others may be changing.
    enum class Access {
        locked,   // the lock is held
        waiting,  // after they have
        at_once   // not if they are
    };

    /// Reads the file. A file that is gone with its folder has been moved, which is an error; one that is gone alone
    /// has been removed, and is absent. No error for a file without a line that is an entry.
    Loaded load(Access access) const;

    // These four under one lock of the caller's, which any thread may hold.

    /// Knows the file from now on as it was read by this object.
    void adopt(Loaded& loaded);

    /// Whether no program has finished a change since what was adopted. Costs no system call, but where the counter
    /// cannot be read, or does not count all changes: then it looks at the file.
    bool is_current() const;

    /// Whether the counter tells of all changes.
    bool is_counted() const;

    /// The one that was adopted.
    const Revision& revision() const { return revision_; }

    /// Waits until no other program changes the file, and keeps them from it. The folder of a file that was there is
    /// not made anew without it.
    Error lock();
    void unlock();

    // REQUIRES for all that follow: the lock is held.

    /// Whether nobody, a person with an editor included, has changed the file since this revision.
    bool is_unchanged(const Revision& revision) const;

    /// After somebody else has changed the file: a link may stand in its place by now, and lead to it. The next write
    /// then finds another file.
    void look_for_links();

    /// Around a change: other programs read the file again after it. On an error of end_change() they may go on with
    /// what was before, until the next change of any of them, which reads the file first. adopt_change() takes what is
    /// known of the file from the change that has ended, under the lock of adopt().
    Error begin_change();
    Error end_change();
    void adopt_change();

    // REQUIRES for these: a change has begun.

    /// Where the lines end at most that apply() writes in place.
    std::size_t most_text(const format::Batch& batch) const;

    /// Makes all changes of a batch (see Writer::apply) or, on an error, none. They have reached the disk if
    /// `durability` is full. Creates the file if need be. REQUIRES: names that get a value can be written
    /// (format::is_name, value::is_storable).
    Applied apply(const format::Batch& batch, zelva_core_durability durability);

    /// Flushes the file; if there are superseded lines, those are marked dead after it where `is_checkpoint`.
    Applied flush(bool is_checkpoint);

    /// Leaves the file as a person would have written it, if no other program has it open (`is_last`) and it is not
    /// large. Otherwise cuts the padding off, and marks superseded lines dead: all of them for the last program, and
    /// those of which that is soon done for others. Does without what fails.
    void trim(bool is_last);

    /// Whether all that the file means has reached the disk.
    bool is_flushed() const { return layout_.is_flushed; }
    bool has_superseded_lines() const { return !layout_.superseded.empty(); }

    /// Whether this object has changed the file, and left something in it that a person would not have written.
    bool is_untrimmed() const;

    /// Whether nobody else has the store open to write it.
    bool is_alone() const { return shared_->is_alone(); }

    /// The path of what an error of this object is about.
    std::string path_of(Subject subject) const;

    /// In the child after fork().
    void forget_lock();

  private:
    /// What a file is written anew for: to be changed further, or to be left.
    enum class Purpose { change, close };

    bool has_been_moved() const;
    bool has_other_names(const Stamp& stamp) const { return is_mounted_ || stamp.names > 1; }
    bool must_rebuild(const format::Batch& batch) const;
    Applied finished(Applied&& applied);

    /// Removes what a program has left behind that died while it held the lock. REQUIRES: the lock is held.
    Error clean_up();

    Error look_at_path();
    Error open();
    Error open(int access, Descriptor& file);
    Error rebuild(const format::Batch& batch, Purpose purpose, Applied& applied);
    Error replace(Replacement& replacement, const struct stat* old, Purpose purpose, std::string_view text,
                  format::Layout& layout);
    template <class Work>
    Error write_in_place(zelva_core_durability durability, Work&& work);
    template <class Work>
    Error write(const Descriptor& file, zelva_core_durability durability, Work&& work);

    const std::string link_;
    const std::string path_;  // to which it leads, of settings
    const std::string folder_;
    const std::unique_ptr<SharedState> shared_;

    Revision revision_;                       // of what was adopted
    std::atomic<bool> has_been_seen_{false};  // the file, as of that revision
    Revision next_;                           // within a change: after it
    format::Layout layout_;
    std::vector<format::Fix> fixes_;  // what a batch has left to be done in the file, before the next write

    Descriptor file_;                      // open for writing
    Stamp opened_;                         // tells which file that is
    bool has_changed_ = false;             // something in the file
    bool needs_rebuild_ = false;           // a flush has failed since it was last written as a whole
    std::size_t next_compaction_ = 0;      // after one that failed: not before there are so many dead bytes
    bool is_stale_ = false;                // another file was found in its place since the lock was taken
    std::atomic<bool> is_mounted_{false};  // the file alone, not its folder
};

}  // namespace zelva::file
