// Changes a store's file in place, a line at a time.
//
// A new line is written into the padding and flushed, and some time later the line that it supersedes is marked dead:
// of two lines of a name the later one wins, so nothing depends on when the mark reaches the disk. At every instant,
// and after a power loss too, the file holds the old value or the new one. Where a line is placed:
//
// | what                                   | where                                              | flushes |
// |----------------------------------------|----------------------------------------------------|---------|
// | one line, or a new key's two, of up to | in the padding, within one sector, which a disk    | 1       |
// | a sector together                      | writes whole                                       |         |
// | a longer line                          | behind the end of the file, dead at first; live by | 2       |
// |                                        | its first byte, once the rest is on the disk       |         |
// | either, on a full disk                 | in the place of dead lines, within one sector      | 2       |
// | a batch of several keys that does not  | behind the end of the file, as a record            | 1       |
// | fit into a sector, or removes some     | (format/batch_record.h)                                  |         |
//
// - What a power loss leaves of a longer line is NULs behind the end of the file. In the padding it would be blank
//   lines, and what follows them would be read as a line of its own.
// - A new key's default comes before its value, and a deleted one's goes after it: a default alone means nothing.
// - Before a key is deleted, the superseded lines of its two names are dead on the disk: they would count again.
// - Nothing is written, and no line is marked dead, but where the file is what it is taken for: somebody may have
//   edited it within the resolution of its time, without a change of its size.
// - A truncation is on the disk before anything is written in its place: what was cut off might come back in parts.
//
// Relaxed durability leaves out the last flush of a change, and marks no line dead: until the next flush superseded
// lines are what a power loss may leave.
#pragma once

#include <zelva/settings.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "file/descriptor.h"
#include "format/batch.h"
#include "format/batch_record.h"
#include "format/layout.h"

namespace zelva::file {

/// One transaction. On an error the file means what it meant before. ESTALE: it is not the file of the layout.
class Writer {
  public:
    /// `layout` is the file's, before and after.
    Writer(const Descriptor& file, format::Layout& layout, zelva_core_durability durability)
        : file_(file), layout_(layout), durability_(durability) {}

    /// Where the lines of a batch end at most that apply() writes.
    static std::size_t most_text(const format::Batch& batch, const format::Layout& layout);

    /// Makes all of the changes or none; `places`, one for each, gets the places of the new lines. Of the changes of
    /// one key, removals come first, the other removals mean nothing without the first one, and the other values
    /// nothing without the last one. A batch of several keys is flushed with relaxed durability as well. REQUIRES: the
    /// file's last line has its line feed.
    Error apply(const format::Batch& batch, std::vector<format::Place>& places);

    /// Does in the file what a batch has left to be done there. The bytes are not flushed.
    Error redo(const std::vector<format::Fix>& fixes);

    Error flush();

    /// Marks superseded lines dead, once what supersedes them is on the disk. The marks are not flushed.
    Error checkpoint();

    /// Cuts the padding off.
    Error trim();

    /// Whether a flush has failed. The system may then take for written what is not.
    bool has_failed_to_flush() const { return has_failed_to_flush_; }

    /// Whether only the file itself tells what it means: a change that has failed could not be undone, or somebody else
    /// has changed the file.
    bool must_be_read() const { return must_be_read_; }

  private:
    struct Insertion;

    bool is_durable() const { return durability_ != ZELVA_CORE_DURABILITY_RELAXED; }
    bool is_out_of_room(const Error& error) const;

    Error remove(const format::Change* begin, const format::Change* end, bool are_values_to_follow);
    Error settle(std::size_t end, bool are_values_to_follow);

    Error append_record(const format::Batch& batch, std::vector<format::Place>& places);
    Error write_record(const format::BatchRecord& record);
    Error carry_out(const format::BatchRecord& record, const std::vector<format::Superseded>& removed);
    Error align();

    Error insert(Insertion& insertion);
    Error place(Insertion& insertion);
    Error place_piece(const Insertion& insertion, std::size_t piece, std::size_t& offset);
    Error append(const std::string& text, bool is_last, std::size_t& offset);
    Error append_short(std::string_view text, bool is_last, std::size_t& offset);
    Error append_long(std::string text, bool is_last, std::size_t& offset);
    Error write_into_dead_space(std::string_view text, const Insertion& insertion, std::size_t& offset);
    Error retire(const Insertion& insertion);

    Error mark_dead(const format::Superseded& line);
    Error mark_all_dead(const std::vector<format::Superseded>& lines, bool is_durable);
    Error mark_within_sector(const std::vector<format::Superseded>& lines, bool is_durable);
    Error mark_in_turn(const std::vector<format::Superseded>& lines, bool is_durable);

    Error extend(std::size_t size);
    Error truncate(std::size_t size);
    Error truncate_dead();

    Error check_padding(std::size_t end);
    Error check_line(const format::Superseded& line);
    Error stale();
    Error read(std::size_t offset, char* bytes, std::size_t size);
    Error write(std::size_t offset, std::string_view bytes);
    void undo(std::size_t offset, std::string_view bytes);

    const Descriptor& file_;
    format::Layout& layout_;
    const zelva_core_durability durability_;
    bool has_failed_to_flush_ = false;
    bool must_be_read_ = false;
};

}  // namespace zelva::file
