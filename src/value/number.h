// Numbers in decimal text, read and written without the locale: in a file the decimal point is a point everywhere.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelva::value {

inline bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// Reads the decimal integer that `text` begins with, sign allowed; what follows its digits is ignored. Nothing when
/// there is no digit or the number is out of the range of int.
std::optional<int> read_int(std::string_view text);

/// Reads the decimal floating-point number that `text` begins with: sign, point and exponent allowed; what cannot
/// continue it is ignored. Gives the nearest double, which is 0 for a number too small for any other. Nothing when
/// there is no digit or the number is too large.
std::optional<double> read_double(std::string_view text);

void write_int(int number, std::string& out);

/// Writes the shortest text that reads back as the same double. REQUIRES: `number` is finite.
void write_double(double number, std::string& out);

/// Writes 20 significant digits, without zeros at the end. REQUIRES: `number` is finite.
void write_double_20_digits(double number, std::string& out);

}  // namespace zelva::value
