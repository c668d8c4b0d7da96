#include "format/line.h"

#include <functional>

namespace zelva::format {

namespace {

bool begins_like_comment(std::string_view text) {
    return !text.empty() && (text[0] == '#' || text[0] == ';');
}

}  // namespace

void read_line(std::string_view line, Entry& entry) {
    entry.column = 0;
    if (line.empty()) {
        entry.kind = Kind::blank;
        return;
    }
    if (line[0] == dead_mark) {
        entry.kind = Kind::dead;
        return;
    }
    if (begins_like_comment(line)) {
        entry.kind = Kind::comment;
        return;
    }
    const std::size_t separator = line.find('=');
    if (separator == std::string_view::npos) {
        entry.kind = Kind::no_equals_sign;
        entry.column = line.size();
        return;
    }
    entry.name = value::trimmed(line.substr(0, separator));
    if (entry.name.empty()) {
        entry.kind = Kind::no_name;
        return;
    }
    const std::string_view text = value::without_leading_blanks(line.substr(separator + 1));
    entry.column = line.size() - text.size();
    entry.value = value::Packed::read(text);
    entry.kind = entry.value.has_value() ? Kind::entry : Kind::no_value;
}

void write_line(std::string_view name, const value::Value& value, std::string& out) {
    out += name;
    out += " = ";
    value::write_value(value, out);
    out += '\n';
}

std::optional<std::string_view> name_in(std::string_view line) {
    const std::size_t end = line.find('=');
    return end == std::string_view::npos ? std::nullopt : std::optional(value::trimmed(line.substr(0, end)));
}

std::uint32_t hash_of_name(std::string_view name) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
}

bool is_name(std::string_view name) {
    const auto holds = [name](char c) { return name.find(c) != std::string_view::npos; };
    return !name.empty() && !holds('=') && !holds('\n') && !holds('\0') && value::trimmed(name).size() == name.size() &&
           !begins_like_comment(name);
}

std::string entry_name(std::string_view key, Slot slot) {
    std::string name(slot == Slot::value ? "" : default_prefix);
    name += key;
    return name;
}

}  // namespace zelva::format
