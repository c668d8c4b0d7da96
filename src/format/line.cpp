#include "format/line.h"

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
    entry.value_text = value::without_leading_blanks(line.substr(separator + 1));
    entry.column = line.size() - entry.value_text.size();
    entry.kind = Kind::entry;
}

void judge(Entry& entry) {
    if (entry.kind == Kind::entry && !value::read_value(entry.value_text)) {
        entry.kind = Kind::no_value;
    }
}

std::string_view value_text_in(std::string_view line) {
    return value::without_leading_blanks(line.substr(line.find('=') + 1));
}

std::string line_of(std::string_view name, const value::Value& value) {
    std::string line(name);
    line += " = ";
    value::write_value(value, line);
    line += '\n';
    return line;
}

std::optional<std::string_view> name_in(std::string_view line) {
    const std::size_t end = line.find('=');
    return end == std::string_view::npos ? std::nullopt : std::optional(value::trimmed(line.substr(0, end)));
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
