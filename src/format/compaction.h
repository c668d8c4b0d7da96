// A settings file written anew, as a person would have written it.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "format/batch.h"
#include "format/layout.h"

namespace zelva::format {

/// A file's text after changes, and where its entries are. The names are parts of the text and of the changes that it
/// was made from.
struct Compacted {
    std::string text;  // without padding
    std::vector<std::pair<std::string_view, Place>> places;
    std::vector<Place> batch_places;  // one for each change; of those that give a value
    Layout layout;
};

/// No line that is dead, superseded or damaged is left, and of a person's blank lines two in a row at the most. A
/// changed entry keeps its place. An entry behind `arranged_end` (that of the text's layout) goes back to where its
/// dead line stands, if that can be told: all but the first byte of its name is left there. A new entry goes to the
/// end, in the order given.
Compacted compacted(std::string_view text, std::size_t arranged_end, const Batch& batch);

}  // namespace zelva::format
