// A settings file written anew, as a person would have written it.
#pragma once

#include <string>
#include <string_view>

#include "format/batch.h"
#include "format/layout.h"

namespace zelva::format {

/// No line that is dead, superseded or damaged is left, and of a person's blank lines two in a row at the most. A
/// changed entry keeps its place. An entry behind `arranged_end` (that of the text's layout) goes back to where its
/// dead line stands, if that can be told: all but the first byte of its name is left there. A new entry goes to the
/// end, in the order given. The text has no padding.
std::string compacted(std::string_view text, std::size_t arranged_end, const Batch& batch);

}  // namespace zelva::format
