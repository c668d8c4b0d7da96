// What a settings file is made of, and where.
//
// A live line is an entry, a comment or a rejected line. A superseded line is an entry that does not count and is still
// to be marked dead: a later line of the same name wins, or it is the default of a key that has been deleted. A dead
// line is one that has been marked. Padding is a run of line feeds, which are blank lines, at the end of the file; the
// same run between lines is a gap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "format/entries.h"
#include "format/line.h"

namespace zelva::format {

/// What disks write whole, in bytes: after a power loss all of a sector is old, or all of it is new.
inline constexpr std::size_t sector_size = 512;

/// In what steps the file grows, in bytes: the usual size of a page and of a block.
inline constexpr std::size_t page_size = 4096;

/// So many blank lines in a row a compaction keeps. A person's lines of one byte each, with so many between them, are
/// not worth another one.
inline constexpr std::size_t most_blanks = 2;

constexpr std::size_t rounded_up(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

/// A superseded line, and the hash of its name: it is marked dead only where it is still that entry's.
struct Superseded : Place {
    std::uint32_t name = 0;
};

struct Layout {
    std::size_t size = 0;      // of the file
    std::size_t text_end = 0;  // where its last line ends; padding or damage from here on
    std::size_t live = 0;      // bytes of live lines
    std::size_t dead = 0;      // bytes of all else before text_end
    std::vector<Superseded> superseded;
    bool is_unterminated = false;        // the last line has no line feed: a person has written it
    bool is_damaged = false;             // there is damage after text_end
    bool is_flushed = false;             // all that it means has certainly reached the disk
    std::size_t checkpoint_end = 0;      // a key whose lines lie before this can be deleted without an extra flush
    bool is_truncation_durable = false;  // the size has reached the disk, if something has been cut off
    /// Before it, the lines stand where a person or a compaction has put them; behind it, where there was room. 0 when
    /// that cannot be told.
    std::size_t arranged_end = 0;

    /// Counts a live line as one that is to be marked dead.
    void supersede(const Superseded& line) {
        superseded.push_back(line);
        live -= line.size;
        dead += line.size;
    }

    /// Whether a file without its dead bytes is worth writing. A set costs its line, as much padding, and its share of
    /// this: with fewer dead bytes that would be more than three lines together (measured: 3.1 times without the half).
    bool is_wasteful() const { return dead > live + live / 2 + page_size; }
};

/// Reads the text that `entries` has, and adds the entries that it holds.
Layout read_layout(Entries& entries);

}  // namespace zelva::format
