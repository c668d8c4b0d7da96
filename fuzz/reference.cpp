#include "reference.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "value/json.h"

namespace fuzz {

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

std::optional<bool> read_bool(const std::string& text) {
    const std::string word = trimmed(text);
    if (word == "TRUE" || word == "1") {
        return true;
    }
    if (word == "FALSE" || word == "0") {
        return false;
    }
    return std::nullopt;
}

std::vector<std::string> split(const std::string& text, bool has_escapes) {
    std::vector<std::string> elements(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (has_escapes && text.compare(i, 2, "\\,") == 0) {
            elements.back() += text[++i];
        } else if (text[i] == ',') {
            elements.emplace_back();
        } else {
            elements.back() += text[i];
        }
    }
    std::transform(elements.begin(), elements.end(), elements.begin(), trimmed);
    return elements;
}

template <class Element, class Read>
std::optional<Value> read_array(const std::string& text, Read&& read) {
    std::vector<Element> elements;
    if (!text.empty()) {
        for (const std::string& element_text : split(text, std::is_same_v<Element, std::string>)) {
            const std::optional<Element> element = read(element_text);
            if (!element) {
                return std::nullopt;
            }
            elements.push_back(*element);
        }
    }
    return elements;
}

std::optional<Value> read_value(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const std::string rest = text.substr(1);
    switch (text[0]) {
        case 'S':
            return rest;
        case 'J':
            return zelva::value::canonical_json(rest);
        case 'I':
            return read_int(trimmed(rest));
        case 'B':
            return read_bool(rest);
        case 'D':
            return read_double(trimmed(rest));
        case 'A':
            break;
        default:
            return std::nullopt;
    }
    const std::string list = rest.substr(std::min<std::size_t>(rest.size(), 1));
    switch (rest.empty() ? '\0' : rest[0]) {
        case 'S':
            return read_array<std::string>(list, [](const std::string& element) { return std::optional(element); });
        case 'I':
            return read_array<int>(list, read_int);
        case 'B':
            return read_array<bool>(list, read_bool);
        case 'D':
            return read_array<double>(list, read_double);
        default:
            return std::nullopt;
    }
}

/// What `text` begins with of these characters, if a digit comes first, or one after a sign or point.
std::string beginning(const std::string& text, const char* characters) {
    std::size_t first = text.find_first_not_of("+-") == 1 ? 1 : 0;
    if (text.compare(first, 1, ".") == 0 && std::strchr(characters, '.') != nullptr) {
        ++first;
    }
    const bool is_number = first < text.size() && text[first] >= '0' && text[first] <= '9';
    return is_number ? text.substr(0, text.find_first_not_of(characters)) : "";
}

}  // namespace

std::optional<int> read_int(const std::string& text) {
    const std::string digits = beginning(text, "+-0123456789");
    errno = 0;
    const long number = std::strtol(digits.c_str(), nullptr, 10);
    const bool is_int = !digits.empty() && errno == 0 && number >= INT_MIN && number <= INT_MAX;
    return is_int ? std::optional(static_cast<int>(number)) : std::nullopt;
}

std::optional<double> read_double(const std::string& text) {
    const std::string digits = beginning(text, "+-.0123456789eE");
    const double number = std::strtod(digits.c_str(), nullptr);
    return !digits.empty() && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

File read_file(const std::string& text) {
    File file;
    // Blank lines are passed over at once: a file may end in thousands of them.
    for (std::size_t end = 0, begin; (begin = text.find_first_not_of('\n', end)) != std::string::npos;) {
        end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        if (line[0] == '=' || line.find('\0') != std::string::npos) {
            continue;
        }
        const std::size_t separator = line.find('=');
        const std::string key = trimmed(line.substr(0, separator));
        std::optional<Value> value;
        if (line[0] != '#' && line[0] != ';' && separator != std::string::npos && !key.empty()) {
            const std::size_t tag = line.find_first_not_of(" \t", separator + 1);
            value = read_value(tag == std::string::npos ? "" : line.substr(tag));
        }
        if (value) {
            file.entries[key] = *value;
        } else {
            file.others.push_back(line);
        }
    }
    return file;
}

model::State state_of(const Entries& entries) {
    model::State state;
    for (const auto& [name, value] : entries) {
        if (!is_reserved(name)) {
            const auto found = entries.find(default_prefix + name);
            state[name] = {value, found == entries.end() ? std::nullopt : std::optional(found->second)};
        }
    }
    return state;
}

bool is_same(const Entries& left, const Entries& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return one.first == other.first && is_same(one.second, other.second);
    });
}

}  // namespace fuzz
