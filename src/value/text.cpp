#include "value/text.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "value/json.h"
#include "value/number.h"

namespace zelva::value {

namespace {

/// How values of one C++ type are read, written and judged. The file's only list of the types.
template <class T>
struct Text;

template <>
struct Text<std::string> {
    static constexpr std::string_view tag = "S";
    static std::optional<std::string> read(std::string_view text) { return std::string(text); }
    static void write(const std::string& text, std::string& out) { out += text; }
    static bool is_storable(const std::string& text) {
        return text.find_first_of(std::string_view("\n\0", 2)) == std::string::npos;
    }
};

template <>
struct Text<Json> {
    static constexpr std::string_view tag = "J";
    static std::optional<Json> read(std::string_view text) { return canonical_json(text); }
    static void write(const Json& json, std::string& out) { out += json.text; }
    static bool is_storable(const Json&) { return true; }
};

template <>
struct Text<int> {
    static constexpr std::string_view tag = "I";
    static std::optional<int> read(std::string_view text) { return read_int(without_leading_blanks(text)); }
    static void write(int number, std::string& out) { write_int(number, out); }
    static bool is_storable(int) { return true; }
};

template <>
struct Text<bool> {
    static constexpr std::string_view tag = "B";
    static std::optional<bool> read(std::string_view text) {
        text = trimmed(text);
        if (text == "TRUE" || text == "1") {
            return true;
        }
        if (text == "FALSE" || text == "0") {
            return false;
        }
        return std::nullopt;
    }
    static void write(bool truth, std::string& out) { out += truth ? "TRUE" : "FALSE"; }
    static bool is_storable(bool) { return true; }
};

template <>
struct Text<double> {
    static constexpr std::string_view tag = "D";
    static std::optional<double> read(std::string_view text) { return read_double(without_leading_blanks(text)); }
    static void write(double number, std::string& out) { write_double(number, out); }
    static bool is_storable(double number) { return std::isfinite(number); }
};

/// How the elements of an array are read and written: as values of their own, but for strings, which must not be
/// taken apart at their commas.
template <class Element>
struct ElementText : Text<Element> {
    /// The first comma of `text` that ends an element.
    static std::size_t find_separator(std::string_view text) { return text.find(','); }
};

template <>
struct ElementText<std::string> {
    static std::size_t find_separator(std::string_view text) {
        std::size_t comma = text.find(',');
        while (comma != std::string_view::npos && comma > 0 && text[comma - 1] == '\\') {
            comma = text.find(',', comma + 1);
        }
        return comma;
    }

    static std::optional<std::string> read(std::string_view text) {
        std::string element;
        element.reserve(text.size());
        for (std::size_t i = 0; i < text.size(); ++i) {
            const bool is_escape = text[i] == '\\' && i + 1 < text.size() && text[i + 1] == ',';
            i += is_escape ? 1 : 0;
            element += text[i];
        }
        return element;
    }

    static void write(const std::string& element, std::string& out) {
        for (const char c : element) {
            if (c == ',') {
                out += '\\';
            }
            out += c;
        }
    }

    static bool is_storable(const std::string& element) {
        return Text<std::string>::is_storable(element) && trimmed(element).size() == element.size();
    }
};

template <class Element>
struct Text<std::vector<Element>> {
    // "AS", "AI", "AB", "AD".
    static constexpr char tag_letters[] = {'A', Text<Element>::tag[0]};
    static constexpr std::string_view tag{tag_letters, 2};

    static std::optional<std::vector<Element>> read(std::string_view text) {
        std::vector<Element> elements;
        // no test: the compiler's own, for arrays of strings. It would leave the loop by the return for an element that
        // cannot be read, and every text is a string.
        for (bool is_next = !text.empty(); is_next;) {
            const std::size_t end = ElementText<Element>::find_separator(text);
            auto element = ElementText<Element>::read(trimmed(text.substr(0, end)));
            if (!element) {
                return std::nullopt;
            }
            elements.push_back(*std::move(element));
            is_next = end != std::string_view::npos;
            text.remove_prefix(is_next ? end + 1 : text.size());
        }
        return elements;
    }

    static void write(const std::vector<Element>& elements, std::string& out) {
        const std::size_t begin = out.size();
        for (std::size_t i = 0; i < elements.size(); ++i) {
            if (i > 0) {
                // A backslash at the end of an element would make the comma part of it.
                out += out.back() == '\\' ? " ," : ",";
            }
            ElementText<Element>::write(elements[i], out);
        }
        if (!elements.empty() && out.size() == begin) {
            // One empty string: the blank tells it from an empty array.
            out += ' ';
        }
    }

    static bool is_storable(const std::vector<Element>& elements) {
        return std::all_of(elements.begin(), elements.end(), ElementText<Element>::is_storable);
    }
};

/// Reads a value of type T if the text has its tag; whether it had.
template <class T>
bool read_tagged(std::string_view text, std::optional<Value>& value) {
    if (!begins_with(text, Text<T>::tag)) {
        return false;
    }
    if (auto read = Text<T>::read(text.substr(Text<T>::tag.size()))) {
        value.emplace(*std::move(read));
    }
    return true;
}

/// Tries the types in turn: no tag is the beginning of another.
template <class... T>
std::optional<Value> read_any(std::string_view text, const std::variant<T...>*) {
    std::optional<Value> value;
    static_cast<void>((read_tagged<T>(text, value) || ...));
    return value;
}

template <class T>
using TextOf = Text<std::decay_t<T>>;

}  // namespace

std::optional<Value> read_value(std::string_view text) {
    return read_any(text, static_cast<const Value*>(nullptr));
}

void write_value(const Value& value, std::string& out) {
    std::visit(
        [&out](const auto& typed) {
            out += TextOf<decltype(typed)>::tag;
            TextOf<decltype(typed)>::write(typed, out);
        },
        value);
}

bool is_storable(const Value& value) {
    return std::visit([](const auto& typed) { return TextOf<decltype(typed)>::is_storable(typed); }, value);
}

}  // namespace zelva::value
