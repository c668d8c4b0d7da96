#include "file/line.h"

#include <utility>

#include "value/text.h"

namespace zelva::file {

namespace {

bool begins_like_comment(std::string_view text) {
    return !text.empty() && (text[0] == '#' || text[0] == ';');
}

}  // namespace

std::optional<Entry> read_line(std::string_view line) {
    if (begins_like_comment(line)) {
        return std::nullopt;
    }
    const std::size_t separator = line.find('=');
    if (separator == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view key = value::trimmed(line.substr(0, separator));
    if (key.empty()) {
        return std::nullopt;
    }
    value::Packed value = value::Packed::read(value::without_leading_blanks(line.substr(separator + 1)));
    if (!value.has_value()) {
        return std::nullopt;
    }
    return Entry{key, std::move(value)};
}

void write_line(std::string_view key, const value::Value& value, std::string& out) {
    out += key;
    out += " = ";
    value::write_value(value, out);
    out += '\n';
}

bool is_key(std::string_view key) {
    const auto holds = [key](char c) { return key.find(c) != std::string_view::npos; };
    return !key.empty() && !holds('=') && !holds('\n') && !holds('\0') && value::trimmed(key).size() == key.size() &&
           !begins_like_comment(key);
}

}  // namespace zelva::file
