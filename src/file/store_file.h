// A store's file on disk. It is changed in place, a line at a time (writer.h), and replaced as a whole (replacement.h)
// where that cannot be or no longer pays: when there is none yet, when it has become wasteful, when it cannot be
// trusted since a flush has failed, when a person has left it without a line feed at its end, and when the last program
// that has changed it closes it.
#pragma once

#include <zelva/core.h>
#include <zelva/settings.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "file/descriptor.h"
#include "file/paths.h"
#include "file/shared_state.h"
#include "file/stamp.h"
#include "file/writer.h"
#include "format/entries.h"
#include "format/layout.h"

namespace zelva::file {

/// The state of the file that a program has read or written last.
struct Revision {
    std::uint64_t counter = 0;
    Stamp stamp;
};

/// The file of an open store. Many programs may have it open, each with an object of its own. Any thread may call the
/// const functions at any time, and one at a time the others.
///
/// The lock belongs to the file, by whatever links programs come to it. A file with another name of its own (a hard
/// link, a mount of the file alone) would have a lock for each: it is read and not written.
class StoreFile {
  public:
    /// The file to which this path leads; of settings, which are written, with what the programs share that have it
    /// open. Where that cannot be opened, the store can still be read. Throws std::system_error where the path leads
    /// nowhere.
    StoreFile(Kind kind, std::string path);

    /// The path that it was made with.
    const std::string& path() const { return link_; }

    /// Whether the path may lead to another file by now: it leads over a link, or the file turned out to be another one
    /// when it was to be changed since the lock was taken.
    bool may_lead_elsewhere() const { return link_ != path_ || is_stale_; }

    /// After somebody else has changed the file: a link may stand in its place by now, and lead to it. The next write
    /// then finds another file.
    void look_for_links();

    bool is_stale() const { return is_stale_; }

    /// Whether it does. Throws std::system_error where it leads nowhere.
    bool leads_elsewhere() const;

    /// How a file is read that others may be changing.
    enum class Access {
        locked,   // the lock is held
        waiting,  // after they have
        at_once   // not if they are
    };

    /// Reads the file's text, and its entries, which refer to it. Nothing where it was not to wait and is being
    /// changed.
    ///
    /// `revision` is the last one that is known, before and after: a file that is gone with its folder has been moved,
    /// where one that is gone alone has been removed.
    ///
    /// ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when there is no file; ZELVA_CORE_STATUS_IO_FAILED when it cannot be read,
    /// is no regular file, or has been moved.
    std::optional<zelva_core_status> load(Access access, std::string& text, format::Entries& entries,
                                          Revision& revision, Layout& layout) const;

    /// Whether the counter tells of all changes of the file that this revision is one of.
    bool is_counted(const Revision& revision) const;

    /// Whether no program has finished a change since this revision. Costs no system call, but where the counter cannot
    /// be read, or does not count all changes: then it looks at the file.
    bool is_current(const Revision& revision) const;

    /// Waits until no other program changes the file, and keeps them from it. `revision` is the last one that is known:
    /// the folder of a file that was there is not made anew without it.
    zelva_core_status lock(const Revision& revision);
    void unlock();

    /// Whether nobody, a person with an editor included, has changed the file since this revision. REQUIRES: the lock
    /// is held.
    bool is_unchanged(const Revision& revision) const;

    /// Around a change: other programs read the file again after it. `revision` is that of the file: the one before,
    /// with the stamp after. Where the end fails, other programs may go on with what was before, until the next change
    /// of any of them, which reads the file first. REQUIRES: the lock is held.
    zelva_core_status begin_change();
    zelva_core_status end_change(Revision& revision);

    /// Whether nobody else has the store open to write it. REQUIRES: the lock is held.
    bool is_alone() const { return shared_->is_alone(); }

    /// Makes all the changes or, on any status but ZELVA_CORE_STATUS_NO_ERROR, none, and tells the lines that entries
    /// have got. They have then reached the disk if `durability` is full. Creates the file if need be. `layout` and
    /// `stamp` are those of the file, before and after.
    ///
    /// Either each change gives a value, and the last one makes the others count (a value its default); or each takes
    /// one away, and the first one does (the value, from its default).
    ///
    /// REQUIRES: a change has begun; the keys are distinct, and those that get a value can be written (is_name,
    /// is_storable).
    zelva_core_status apply(const std::vector<Change>& changes, zelva_core_durability durability, Layout& layout,
                            Stamp& stamp, const Placed& placed);

    /// Makes sure that all that the file means has reached the disk, and then, if it is to be tidied, withdraws
    /// replaced lines. REQUIRES: a change has begun.
    zelva_core_status flush(bool is_checkpoint, Layout& layout, Stamp& stamp, const Placed& placed);

    /// Whether a line of the file is this text, byte for byte. false also where it cannot be read.
    bool has_line(const Place& line, std::string_view text) const;

    /// Whether this object has changed the file, and left something in it that a person would not have written.
    bool is_untidy(const Layout& layout) const;

    /// Leaves the file as a person would have written it, if no other program has it open (`is_last`) and it is not
    /// large. Otherwise takes away the padding, and withdraws replaced lines: all of them for the last program, and
    /// those of which that is soon done for others. Does without what fails. REQUIRES: a change has begun.
    void tidy(bool is_last, Layout& layout, Stamp& stamp);

    /// In the child after fork().
    void forget_lock();

  private:
    /// What a file is written anew for: to be changed further, or to be left.
    enum class Purpose { change, close };

    bool has_been_moved(const Revision& revision) const;
    bool has_other_names(const Stamp& stamp) const { return is_mounted_ || stamp.names > 1; }
    zelva_core_status finish(int error);

    // These return 0 or the errno of what failed.

    /// Removes what a program has left behind that died while it held the lock. REQUIRES: the lock is held.
    int clean_up();

    int look_at_path();
    int open(const Stamp& stamp, int access, Descriptor& file);
    int open(const Stamp& stamp);
    int rebuild(const std::vector<Change>& changes, Purpose purpose, Layout& layout, Stamp& stamp,
                const Placed& placed);
    template <class Work>
    int write_in_place(zelva_core_durability durability, Layout& layout, Stamp& stamp, Work&& work);
    template <class Work>
    int write(const Descriptor& file, zelva_core_durability durability, Layout& layout, Stamp& stamp, Work&& work);

    const std::string link_;
    const std::string path_;  // to which it leads, of settings
    const std::unique_ptr<SharedState> shared_;

    Descriptor file_;                      // open for writing
    Stamp opened_;                         // tells which file that is
    bool has_changed_ = false;             // something in the file
    bool needs_rebuild_ = false;           // a flush has failed since it was last written as a whole
    std::size_t next_compaction_ = 0;      // after one that failed: not before there are so many dead bytes
    bool is_stale_ = false;                // another file was found in its place since the lock was taken
    std::atomic<bool> is_mounted_{false};  // the file alone, not its folder
};

}  // namespace zelva::file
