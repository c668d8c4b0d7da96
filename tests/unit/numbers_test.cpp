// Numbers through the text of the store's file and back, bit for bit: floats as doubles, doubles, and the ends of the
// range of ints; the same in a locale with a decimal comma.
#include <atomic>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstring>
#include <random>
#include <thread>

#include "simulated_disk.h"
#include "support.h"
#include "value/text.h"

BOOST_AUTO_TEST_SUITE(numbers)

template <class To, class From>
To bits_as(From from) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

bool is_same_number(double left, double right) {
    return bits_as<std::uint64_t>(left) == bits_as<std::uint64_t>(right);
}

/// Whether a number is written so that it reads back, or is refused if it is none.
bool is_kept(double number, std::string& text) {
    const Value value(number);
    if (!std::isfinite(number)) {
        return !zelva::value::is_storable(value);
    }
    text.clear();
    zelva::value::write_value(value, text);
    const auto read = zelva::value::read_value(text);
    return zelva::value::is_storable(value) && text.find(',') == std::string::npos && read &&
           std::holds_alternative<double>(*read) && is_same_number(std::get<double>(*read), number);
}

/// Every so many bit patterns of a float, in two threads.
void check_floats(std::uint64_t step) {
    std::atomic<std::uint64_t> count{0};
    std::atomic<std::uint64_t> first_wrong{UINT64_MAX};
    const auto check = [&](std::uint64_t begin) {
        std::string text;
        std::uint64_t checked = 0;
        for (std::uint64_t bits = begin; bits <= UINT32_MAX; bits += 2 * step, ++checked) {
            if (!is_kept(bits_as<float>(static_cast<std::uint32_t>(bits)), text)) {
                first_wrong = bits;
            }
        }
        count += checked;
    };
    std::thread other(check, step);
    check(0);
    other.join();
    BOOST_TEST_MESSAGE(count << " floats");
    BOOST_CHECK_MESSAGE(first_wrong == UINT64_MAX, "bits of a float: " << std::hex << first_wrong);
}

void check_doubles() {
    std::mt19937_64 random(1);
    std::string text;
    for (int i = 0; i < 1'000'000; ++i) {
        const auto bits = random();
        BOOST_REQUIRE_MESSAGE(is_kept(bits_as<double>(bits), text), "bits of a double: " << std::hex << bits);
    }
}

/// Doubles through a store and its file, with those at the ends of their ranges, and their neighbours.
void check_doubles_of_store() {
    std::mt19937_64 random(2);
    Doubles all;
    while (all.size() < 10000) {
        const auto number = bits_as<double>(random());
        if (std::isfinite(number)) {
            all.push_back(number);
        }
    }
    for (const double number : {0.0, -0.0, 1.0, 0.1, 1e15, 1e16, 1e17, 1e21, 1e22, 1e23, 123456789012345680.0,
                                9007199254740993.0, 2.2250738585072014e-308, 4.9406564584124654e-324,
                                1.7976931348623157e308, 3.4028234663852886e38, 2147483648.0, 5e-5}) {
        for (const double near : {number, std::nextafter(number, -1e308), std::nextafter(number, 1e308)}) {
            all.push_back(near);
            all.push_back(-near);
        }
    }
    simulated::disk = simulated::Disk();
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    for (std::size_t i = 0; i < all.size(); ++i) {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k" + std::to_string(i), all[i]));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("all", all));
    for (const double none : {HUGE_VAL, -HUGE_VAL, std::nan(""), -std::nan("1")}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, set("none", none));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, set("all", Doubles{1, none}));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, set_default("k0", none));
    }
    OpenStore::restart();
    const auto array = std::get<Doubles>(value_of("all"));
    BOOST_REQUIRE_EQUAL(all.size(), array.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        const auto number = std::get<double>(get("k" + std::to_string(i)).value);
        BOOST_REQUIRE_MESSAGE(is_same_number(all[i], number) && is_same_number(all[i], array[i]),
                              std::hexfloat << all[i] << " has become " << number << " and " << array[i]);
    }
    BOOST_CHECK(!zelva_core_settings_does_key_exist("none"));
    zelva_core_settings_deinit();
}

/// Ints around powers of two, at the ends of their range and beyond: as a person writes them, and as the store does.
void check_ints() {
    for (int power = 0; power <= 40; ++power) {
        for (long long near = -2; near <= 2; ++near) {
            for (const long long sign : {1, -1}) {
                const long long number = sign * ((1LL << power) + near);
                const bool is_int = number >= INT_MIN && number <= INT_MAX;
                const std::string digits = std::to_string(number);
                simulated::disk =
                    simulated::Disk("i = I" + digits + "\nai = AI0," + digits + "\nd = D" + digits + "\n");
                BOOST_TEST_CONTEXT(number) {
                    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
                    BOOST_CHECK_EQUAL(Value(static_cast<double>(number)), value_of("d"));
                    BOOST_CHECK_EQUAL(is_int, zelva_core_settings_does_key_exist("i"));
                    BOOST_CHECK_EQUAL(is_int, zelva_core_settings_does_key_exist("ai"));
                    if (is_int) {
                        const int value = static_cast<int>(number);
                        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("set", value));
                        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("array", Ints{value, value}));
                        OpenStore::restart();
                        BOOST_CHECK_EQUAL(Value(value), value_of("i"));
                        BOOST_CHECK_EQUAL(Value(Ints{0, value}), value_of("ai"));
                        BOOST_CHECK_EQUAL(Value(value), value_of("set"));
                        BOOST_CHECK_EQUAL(Value(Ints{value, value}), value_of("array"));
                        BOOST_CHECK_NE(simulated::disk.text().find("\nset = I" + digits + "\n"), std::string::npos);
                    }
                    zelva_core_settings_deinit();
                }
            }
        }
    }
}

void check_numbers() {
    check_floats(is_campaign() ? 1 : (1ULL << 32U) / 1'000'000);
    check_doubles();
    check_doubles_of_store();
    check_ints();
}

BOOST_AUTO_TEST_CASE(numbers_read_back_bit_for_bit) {
    check_numbers();
}

BOOST_AUTO_TEST_CASE(numbers_read_back_where_the_decimal_point_is_a_comma,
                     *boost::unit_test::precondition(has_comma_locale)) {
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    BOOST_REQUIRE_EQUAL(",", std::localeconv()->decimal_point);
    check_numbers();
    std::setlocale(LC_ALL, "C");
}

BOOST_AUTO_TEST_SUITE_END()
