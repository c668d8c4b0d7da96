// What a store's file is made of, and where.
//
// A live line is an entry, a comment or a rejected line. A withdrawn line is one whose first byte the store has
// overwritten with '=': its key is empty, so that every reader of the format rejects it. A replaced line is an entry
// that does not count and is still to be withdrawn: a later line of the same key replaces it, or it is the default of a
// key that has been deleted. Padding is a run of line feeds, which are blank lines, at the end of the file; the same
// run between lines is a gap. A line that holds a NUL is damage: what a loss of power leaves where a file was growing.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "file/line.h"

namespace zelva::file {

/// What disks write whole, in bytes: after a loss of power all of a sector is old, or all of it is new.
constexpr std::size_t sector_size = 512;

/// In what steps the file grows, in bytes: the usual size of a page and of a block.
constexpr std::size_t page_size = 4096;

/// The first byte of a withdrawn line.
constexpr char withdrawn_mark = '=';

constexpr std::size_t rounded_up(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

/// Where the line of an entry is, its line feed included.
struct Line {
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
};

/// Tells the name of an entry from most others.
std::uint32_t hash_of_name(std::string_view name);

/// A replaced line, and the name of its entry: a line is withdrawn only where it is still that entry's.
struct Replaced : Line {
    std::uint32_t name = 0;
};

/// The name of the entry or withdrawn entry that a line, or the beginning of one, stands for: what precedes its first
/// '=', without blanks. Nothing when there is no '='.
std::optional<std::string_view> name_in(std::string_view line);

/// A key that gets a value, or loses the one it has.
struct Change {
    std::string key;
    std::optional<value::Value> value;
    std::optional<Line> line;  // the one that the key has
};

struct Layout {
    std::size_t size = 0;      // of the file
    std::size_t text_end = 0;  // where its last line ends; padding or damage from here on
    std::size_t live = 0;      // bytes of live lines
    std::size_t dead = 0;      // bytes of all else before text_end
    std::vector<Replaced> replaced;
    bool is_unterminated = false;  // the last line has no line feed: a person has written it
    bool is_damaged = false;       // there is damage after text_end
    bool is_flushed = false;       // all that it means has certainly reached the disk
    std::size_t settled_end = 0;   // before it, what lines have replaced is certainly withdrawn on the disk, too
    bool is_end_flushed = false;   // and so has its size, if something has been cut off
    /// Before it, the lines stand where a person or a compaction has put them; behind it, where there was room. 0 when
    /// that cannot be told.
    std::size_t arranged_end = 0;

    /// Whether a file without its dead bytes is worth writing. A set costs its line, as much padding, and its share of
    /// this: with fewer dead bytes that would be more than three lines together (measured: 3.1 times without the half).
    bool is_wasteful() const { return dead > live + live / 2 + page_size; }
};

/// Takes an entry and its line. Gives the line that the key had before, if there was one.
using UseEntry = std::function<std::optional<Line>(Entry&&, Line)>;

/// Reads a file's text, to which the entries then refer; a last line without a line feed counts too.
Layout read_layout(std::string_view text, const UseEntry& use);

// What follows is seldom called: `cold` has it built for its size, not its speed.

/// A file's text after changes, as a person would have written it, and where its entries are. The keys are parts of the
/// text and of the changes that it was made from.
struct Compacted {
    std::string text;  // without padding
    std::vector<std::pair<std::string_view, Line>> lines;
    Layout layout;
};

/// Nothing dead is left but a person's blank lines, of each run two at the most. A changed entry keeps its place. An
/// entry behind `arranged_end` (that of the text's layout) goes back to where its withdrawn line stands, if that can be
/// told: all but the first byte of its name is left there. A new entry goes to the end, in the order given.
[[gnu::cold]] Compacted compacted(std::string_view text, std::size_t arranged_end, const std::vector<Change>& changes);

/// The lines of entries, as they are written.
std::string lines_of(const Change* begin, const Change* end);

/// A text that fits into withdrawn lines: where it begins and what to write there, all within one sector. What is left
/// of those lines stays withdrawn.
struct Patch {
    std::size_t offset = 0;       // of `bytes`
    std::string bytes;            // of which the text is a part
    std::size_t text_offset = 0;  // of the text in the file
};
[[gnu::cold]] std::optional<Patch> fitted_into_withdrawn(std::string_view file, std::string_view text);

/// Where the last line ends that is neither withdrawn nor blank nor damage.
[[gnu::cold]] std::size_t live_end(std::string_view file);

}  // namespace zelva::file
