// A batch of several keys in a text that stays right for readers who know nothing of batches.
//
// It is written behind the end of the file, in one piece: a comment that tells what it changes, and its new lines,
// dead.
//
//     #batch = 1c0f8a7d2e5b9346 6b44 000000789d3f00c1 000002000b7712aa
//     =ey = I5
//     =EFAULT_l = Sx
//
// The comment holds, in hexadecimal digits, a checksum, the first bytes of the lines, and where the lines are that the
// batch removes, each with a digest of its name.
// The batch counts from when all of that is on the disk, which the checksum tells: so it takes one flush. Only then are
// first bytes put in place and removed lines marked dead, without a flush. Until that is on the disk, whoever reads the
// file does so in memory, and before the next write in the file. The comment is a superseded line from the beginning:
// it is marked dead with the next checkpoint.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "format/batch.h"
#include "format/layout.h"

namespace zelva::format {

/// A batch as it is written at one place of a file.
struct BatchRecord {
    std::string text;           // with dead lines
    std::string live;           // the same with live ones
    Place comment;              // these are places in the file
    std::vector<Place> places;  // one for each change; of those that give a value
};
BatchRecord record_of(const Batch& batch, std::size_t offset);

/// What a reader takes for the name of a record's comment.
inline constexpr std::string_view comment_name = "#batch";

/// Whether changes are of one key alone.
bool is_of_one_key(const Change* begin, const Change* end);

/// A byte that a batch has changed, and the file does not have yet.
struct Fix {
    std::size_t offset;
    char byte;
};

/// Makes the batches count that a file's text holds. What is to be done in the file, too, is added to `fixes`, and the
/// comments of all records to `superseded`.
void redo(std::string& text, std::vector<Fix>& fixes, std::vector<Superseded>& superseded);

}  // namespace zelva::format
