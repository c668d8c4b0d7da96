#include "value/number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace zelva::value {

namespace {

/// `text` without the '+' that std::from_chars does not take. A second sign after it stays no number.
std::string_view without_plus(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    return text;
}

/// Whether the decimal `number`, which no double holds, lies between -1 and 1: too small, then, not too large. It is
/// not 0.
bool is_below_one(std::string_view number) {
    const std::size_t mantissa_end = std::min(number.find_first_of("eE"), number.size());
    const std::string_view mantissa = number.substr(0, mantissa_end);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t first = mantissa.find_first_of("123456789");
    // The power of ten of the first digit that is not zero.
    const auto distance = static_cast<long long>(point) - static_cast<long long>(first);
    const long long power = distance > 0 ? distance - 1 : distance;

    const std::string_view exponent_text = without_plus(number.substr(std::min(mantissa_end + 1, number.size())));
    long long exponent = 0;
    const auto read = std::from_chars(exponent_text.data(), exponent_text.data() + exponent_text.size(), exponent);
    if (read.ec == std::errc::result_out_of_range) {
        return exponent_text[0] == '-';
    }
    return exponent < -power;
}

}  // namespace

std::optional<int> read_int(std::string_view text) {
    text = without_plus(text);
    int number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc()) {
        return std::nullopt;
    }
    return number;
}

std::optional<double> read_double(std::string_view text) {
    text = without_plus(text);
    double number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec == std::errc::result_out_of_range) {
        const std::string_view matched = text.substr(0, static_cast<std::size_t>(read.ptr - text.data()));
        if (!is_below_one(matched)) {
            return std::nullopt;
        }
        return text[0] == '-' ? -0.0 : 0.0;
    }
    // std::from_chars reads "inf" and "nan", too.
    if (read.ec != std::errc() || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

namespace {

/// Room for any double in 20 digits: sign, digits, point and exponent, or sign, "0.000" and digits.
using Buffer = std::array<char, 48>;

}  // namespace

void write_int(int number, std::string& out) {
    Buffer buffer;
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    out.append(buffer.data(), written.ptr);
}

void write_double(double number, std::string& out) {
    Buffer buffer;
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    out.append(buffer.data(), written.ptr);
}

void write_double_20_digits(double number, std::string& out) {
    Buffer buffer;
    const auto written =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::general, 20);
    out.append(buffer.data(), written.ptr);
}

}  // namespace zelva::value
