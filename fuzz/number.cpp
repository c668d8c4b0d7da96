// Any text as a number, beside the C library's functions; and any number through its text and back.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "check.h"
#include "reference.h"
#include "value/number.h"

namespace {

namespace value = zelva::value;

bool is_same(double left, double right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

std::string written(void write(double, std::string&), double number) {
    std::string text;
    write(number, text);
    return text;
}

void check_int(int number) {
    std::string text;
    value::write_int(number, text);
    CHECK(text == std::to_string(number));
    CHECK(value::read_int(text) == number);
}

void check_double(double number) {
    const std::string shortest = written(value::write_double, number);
    CHECK(is_same(value::read_double(shortest).value(), number));
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.20g", number);
    const std::string text = written(value::write_double_20_digits, number);
    CHECK(text == expected);
    CHECK(is_same(value::read_double(text).value(), number));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::optional<int> integer = value::read_int(text);
    CHECK(integer == fuzz::read_int(text));
    const std::optional<double> real = value::read_double(text);
    const std::optional<double> expected = fuzz::read_double(text);
    CHECK(real.has_value() == expected.has_value());
    if (integer) {
        check_int(*integer);
    }
    if (real) {
        CHECK(is_same(*real, *expected));
        check_double(*real);
    }

    // The bytes as they are reach numbers that no short text tells.
    FuzzedDataProvider in(data, size);
    check_int(in.ConsumeIntegral<int>());
    const auto bits = in.ConsumeIntegral<std::uint64_t>();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (std::isfinite(number)) {
        check_double(number);
    }
    return 0;
}
