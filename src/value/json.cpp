#include "value/json.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "value/number.h"
#include "value/text.h"

namespace zelva::value {

namespace {

constexpr std::uint32_t invalid = 0xFFFFFFFF;

bool is_high_surrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool is_low_surrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Reads the text from left to right and writes its canonical form as it goes. Containers that are open are kept on a
/// stack of its own, so that nesting cannot overflow the program's.
class Canonicalizer {
  public:
    explicit Canonicalizer(std::string_view text) : rest_(text) {}

    bool run() {
        do {
            if (!begin_value()) {
                return false;
            }
        } while (wants_value_);
        skip_blanks();
        return rest_.empty();
    }

    std::string& out() { return out_; }

  private:
    /// Reads a scalar, an empty container, or the opening of a container up to its first value; then whatever ends
    /// after it, up to the next value.
    bool begin_value() {
        skip_blanks();
        if (take('{')) {
            return open('{', '}');
        }
        if (take('[')) {
            return open('[', ']');
        }
        return scalar() && end_value();
    }

    bool open(char opening, char closing) {
        out_ += opening;
        skip_blanks();
        if (take(closing)) {
            out_ += closing;
            return end_value();
        }
        out_ += ' ';
        closings_.push_back(closing);
        return next_in_container();
    }

    /// Reads the closings that follow a complete value, and the comma up to the next value.
    bool end_value() {
        wants_value_ = false;
        while (!closings_.empty()) {
            skip_blanks();
            if (take(',')) {
                out_ += ", ";
                return next_in_container();
            }
            if (!take(closings_.back())) {
                return false;
            }
            out_ += ' ';
            out_ += closings_.back();
            closings_.pop_back();
        }
        return true;
    }

    /// Reads what stands before a value in its container: in an object, the name.
    bool next_in_container() {
        wants_value_ = true;
        if (closings_.back() == ']') {
            return true;
        }
        skip_blanks();
        if (!take('"') || !string()) {
            return false;
        }
        skip_blanks();
        if (!take(':')) {
            return false;
        }
        out_ += " : ";
        return true;
    }

    bool scalar() {
        if (take('"')) {
            return string();
        }
        return literal("true") || literal("false") || literal("null") || number();
    }

    bool literal(std::string_view word) {
        if (!begins_with(rest_, word)) {
            return false;
        }
        rest_.remove_prefix(word.size());
        out_ += word;
        return true;
    }

    bool number() {
        const std::string_view begin = rest_;
        take('-');
        if (!take('0') && !digits()) {
            return false;
        }
        if (take('.') && !digits()) {
            return false;
        }
        if (take('e') || take('E')) {
            if (!take('+')) {
                take('-');
            }
            if (!digits()) {
                return false;
            }
        }
        const auto number = read_double(begin.substr(0, begin.size() - rest_.size()));
        if (!number) {
            return false;
        }
        write_double_20_digits(*number, out_);
        return true;
    }

    bool digits() {
        if (rest_.empty() || !is_digit(rest_[0])) {
            return false;
        }
        while (!rest_.empty() && is_digit(rest_[0])) {
            rest_.remove_prefix(1);
        }
        return true;
    }

    /// Reads a string whose opening quote has been read.
    bool string() {
        out_ += '"';
        while (!take('"')) {
            const std::uint32_t character = take('\\') ? escape() : utf8();
            if (character == invalid) {
                return false;
            }
            write_character(character);
        }
        out_ += '"';
        return true;
    }

    std::uint32_t escape() {
        if (rest_.empty()) {
            return invalid;
        }
        const char c = rest_[0];
        rest_.remove_prefix(1);
        switch (c) {
            case '"':
            case '\\':
            case '/':
                return static_cast<unsigned char>(c);
            case 'b':
                return '\b';
            case 'f':
                return '\f';
            case 'n':
                return '\n';
            case 'r':
                return '\r';
            case 't':
                return '\t';
            case 'u':
                return code_point();
            default:
                return invalid;
        }
    }

    /// Reads what follows \u, with a second \u where the first is half of a pair.
    std::uint32_t code_point() {
        const std::uint32_t unit = hexadecimal();
        if (is_low_surrogate(unit)) {
            return invalid;
        }
        if (!is_high_surrogate(unit)) {
            return unit;
        }
        if (!take('\\') || !take('u')) {
            return invalid;
        }
        const std::uint32_t low = hexadecimal();
        return is_low_surrogate(low) ? 0x10000 + ((unit - 0xD800) << 10U) + (low - 0xDC00) : invalid;
    }

    std::uint32_t hexadecimal() {
        if (rest_.size() < 4) {
            return invalid;
        }
        std::uint32_t unit = 0;
        for (const char c : rest_.substr(0, 4)) {
            const char lower = static_cast<char>(c | 0x20);
            if (is_digit(c)) {
                unit = unit * 16 + static_cast<std::uint32_t>(c - '0');
            } else if (lower >= 'a' && lower <= 'f') {
                unit = unit * 16 + static_cast<std::uint32_t>(lower - 'a') + 10;
            } else {
                return invalid;
            }
        }
        rest_.remove_prefix(4);
        return unit;
    }

    /// Reads one character in UTF-8 (RFC 3629: no longer than needed, no surrogates, nothing above U+10FFFF).
    std::uint32_t utf8() {
        if (rest_.empty() || rest_[0] == '\0') {
            return invalid;
        }
        const auto lead = static_cast<unsigned char>(rest_[0]);
        rest_.remove_prefix(1);
        if (lead < 0x80) {
            return lead;
        }
        if (lead >= 0xC2 && lead <= 0xDF) {
            return continued(lead & 0x1FU, 1, 0x80);
        }
        if (lead >= 0xE0 && lead <= 0xEF) {
            const std::uint32_t character = continued(lead & 0x0FU, 2, 0x800);
            return is_high_surrogate(character) || is_low_surrogate(character) ? invalid : character;
        }
        if (lead >= 0xF0 && lead <= 0xF4) {
            const std::uint32_t character = continued(lead & 0x07U, 3, 0x10000);
            return character > 0x10FFFF ? invalid : character;
        }
        return invalid;
    }

    std::uint32_t continued(std::uint32_t character, std::size_t count, std::uint32_t lowest) {
        if (rest_.size() < count) {
            return invalid;
        }
        for (const char c : rest_.substr(0, count)) {
            const auto byte = static_cast<unsigned char>(c);
            if ((byte & 0xC0U) != 0x80) {
                return invalid;
            }
            character = (character << 6U) | (byte & 0x3FU);
        }
        rest_.remove_prefix(count);
        return character >= lowest ? character : invalid;
    }

    void write_character(std::uint32_t character) {
        switch (character) {
            case '"':
                out_ += "\\\"";
                return;
            case '\\':
                out_ += "\\\\";
                return;
            case '\b':
                out_ += "\\b";
                return;
            case '\f':
                out_ += "\\f";
                return;
            case '\n':
                out_ += "\\n";
                return;
            case '\r':
                out_ += "\\r";
                return;
            case '\t':
                out_ += "\\t";
                return;
            default:
                break;
        }
        if (character == 0 || (character >= 0x80 && character < 0x10000)) {
            constexpr std::string_view hexadecimal_digits = "0123456789abcdef";
            out_ += "\\u";
            for (const unsigned shift : {12U, 8U, 4U, 0U}) {
                out_ += hexadecimal_digits[(character >> shift) & 0xFU];
            }
        } else if (character < 0x80) {
            out_ += static_cast<char>(character);
        } else {
            out_ += static_cast<char>(0xF0U | (character >> 18U));
            for (const unsigned shift : {12U, 6U, 0U}) {
                out_ += static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
            }
        }
    }

    void skip_blanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\n\r"), rest_.size())); }

    bool take(char c) {
        if (rest_.empty() || rest_[0] != c) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    std::string_view rest_;
    std::string out_;
    std::vector<char> closings_;
    bool wants_value_ = true;
};

}  // namespace

std::optional<Json> canonical_json(std::string_view text) {
    Canonicalizer canonicalizer(text);
    if (!canonicalizer.run()) {
        return std::nullopt;
    }
    return Json{std::move(canonicalizer.out())};
}

}  // namespace zelva::value
