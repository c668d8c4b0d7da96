#include "work.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace bench {

namespace {

/// `number` in decimal, with zeros before it.
std::string padded(std::size_t number, std::size_t width) {
    std::string digits = std::to_string(number);
    digits.insert(0, width - std::min(width, digits.size()), '0');
    return digits;
}

constexpr std::size_t serial_width = 7;

}  // namespace

Work::Work(std::size_t size) : serials_(size), keys_(size), by_name_(size) {
    // Even serial numbers are ints.
    for (std::size_t i = 0; i < size; ++i) {
        serials_[i] = is_int(i) ? 2 * i : 2 * (i - ints()) + 1;
    }
    std::mt19937 random(1);
    const auto first_string = serials_.begin() + static_cast<std::ptrdiff_t>(ints());
    std::shuffle(serials_.begin(), first_string, random);
    std::shuffle(first_string, serials_.end(), random);
    for (std::size_t i = 0; i < size; ++i) {
        keys_[i] = section(serials_[i] / section_size) + "setting" + padded(serials_[i], 6);
        by_name_[serials_[i]] = i;
    }
}

std::string Work::section(std::size_t number) {
    return "section" + padded(number, 5) + ".";
}

int Work::number(std::size_t position, unsigned generation) const {
    return static_cast<int>(serials_[position] + size() * (generation % 1000));
}

std::string Work::text(std::size_t position, unsigned generation) const {
    return "value-" + padded(serials_[position], serial_width) + "-" + padded(generation % 1000000, 6);
}

void Work::check(std::size_t position, int number) const {
    require(number >= 0 && static_cast<std::size_t>(number) % size() == serials_[position], "a wrong int was read");
}

void Work::check(std::size_t position, const std::string& text) const {
    require(text.size() == 20 && text.compare(6, serial_width, padded(serials_[position], serial_width)) == 0,
            "a wrong string was read");
}

void fail(const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(1);
}

}  // namespace bench
