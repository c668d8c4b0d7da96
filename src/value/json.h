// The canonical form of JSON text.
#pragma once

#include <optional>
#include <string_view>

#include "value/value.h"

namespace zelva::value {

/// Reads a JSON text (RFC 8259) and gives its canonical form, in which every JSON value is kept and handed out:
///
///   - one line: "{ " members "}" with ", " between them and " " before the brace, "[ " elements " ]" alike, " : "
///     between name and value, "{}" and "[]" when empty; members in the order written, repeated names included;
///   - a number as the nearest double in 20 significant digits, "0.1" as "0.10000000000000000555";
///   - in strings \" \\ \b \f \n \r \t and \u0000 as escapes, characters of two and three bytes in UTF-8 as \u and
///     four lower-case hexadecimal digits, anything else as itself.
///
/// The canonical form of a canonical text is that text.
///
/// Raw control characters are accepted inside strings, since texts with line breaks in their strings are in use; but
/// not NUL, which no C string holds. Texts that say what no Unicode text or no double can hold are refused: invalid
/// UTF-8, half a surrogate pair, numbers beyond the largest double. Nesting is limited by memory alone.
std::optional<Json> canonical_json(std::string_view text);

}  // namespace zelva::value
