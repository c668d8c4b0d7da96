// Changes a store's file in place, a line at a time.
//
// A new line is written into the padding and brought to the disk, and some time later the line that it replaces is
// withdrawn: of two lines of a key the later one counts, so nothing depends on when the withdrawal reaches the disk. At
// every instant, and after a loss of power too, the file holds the old value or the new one:
//
// - A line of up to a sector is written within one sector, which a disk writes whole.
// - A longer one is written behind the end of the file, where what does not reach the disk is NULs: in the padding it
//   would be blank lines, and what follows them would be read as a line of its own. It is written as a withdrawn line,
//   and becomes live with its first byte once the rest is on the disk.
// - A new key's default comes before its value, and a deleted one's goes after it: a default alone means nothing.
// - Before a key is deleted, the withdrawal of the lines that its two have replaced is on the disk: they would count
//   again.
// - Nothing is written, and no line is withdrawn, but where the file is what it is taken for: somebody may have edited
//   it within the resolution of its time, without a change of its size.
// - What is cut off the file is off the disk before anything is written in its place: it might come back in parts.
//
// Where there is no room to grow, withdrawn lines make room: those at the end are cut off, and a new line of up to a
// sector may take the place of others.
//
// Relaxed durability leaves out the last flush of a change, and the withdrawal of replaced lines: until the next flush
// they are what a loss of power may leave.
#pragma once

#include <zelva/settings.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "file/descriptor.h"
#include "format/batch.h"
#include "format/layout.h"

namespace zelva::file {

using format::Change;
using format::Layout;
using format::page_size;
using format::Place;
using format::rounded_up;
using format::sector_size;
using format::Superseded;

/// Takes the line that an entry has got.
using Placed = std::function<void(std::string_view key, Place line)>;

/// One change. REQUIRES for put: the file's last line has its line feed. All functions that return an int return 0, or
/// the errno of what failed; the file then means what it meant before. ESTALE: it is not the file of the layout.
/// `layout` is the file's, before and after.
class Writer {
  public:
    Writer(const Descriptor& file, Layout& layout, zelva_core_durability durability)
        : file_(file), layout_(layout), durability_(durability) {}

    /// Gives keys their values, whose lines `placed` is told. Nothing of it means anything without the last one.
    int put(const std::vector<Change>& changes, const Placed& placed);

    /// Takes values from keys, and all lines that these have replaced. The others mean nothing without the first one.
    int remove(const std::vector<Change>& changes);

    /// Brings the file to the disk.
    int flush();

    /// Withdraws replaced lines, once what replaces them is on the disk. The withdrawals are not flushed.
    int tidy();

    /// Takes away the padding.
    int trim_padding();

    /// Whether a flush has failed. The system may then take for written what is not.
    bool has_failed_to_flush() const { return has_failed_to_flush_; }

    /// Whether only the file itself tells what it means: a change that has failed could not be undone, or somebody else
    /// has changed the file.
    bool must_be_read() const { return must_be_read_; }

  private:
    bool is_out_of_room(int error) const;
    bool is_durable() const { return durability_ != ZELVA_CORE_DURABILITY_RELAXED; }

    int append(const std::string& text, bool is_last, std::size_t& offset);
    int append_short(std::string_view text, bool is_last, std::size_t& offset);
    int append_long(std::string text, bool is_last, std::size_t& offset);
    int write_into_dead_space(std::string_view text, const std::vector<Change>& changes, std::size_t& offset);

    int extend(std::size_t size);
    int cut(std::size_t size);
    int trim_dead();
    int stale();
    int read(std::size_t offset, char* bytes, std::size_t size);
    int check_padding(std::size_t end);
    int check_line(const Place& line, std::uint32_t name);
    int mark_dead(const Superseded& line);
    int mark_dead_at_once(const std::vector<Superseded>& lines, bool is_durable);
    int write(std::size_t offset, std::string_view bytes);
    void undo(std::size_t offset, std::string_view bytes);

    const Descriptor& file_;
    Layout& layout_;
    const zelva_core_durability durability_;
    bool has_failed_to_flush_ = false;
    bool must_be_read_ = false;
};

}  // namespace zelva::file
