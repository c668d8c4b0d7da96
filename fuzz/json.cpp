// Any text as JSON, beside nlohmann::json: that is strict, tells the values of a text one by one, so that the order and
// repetition of names are seen, and takes any depth of nesting, as the library does.
#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "check.h"
#include "value/json.h"

namespace {

using zelva::value::canonical_json;

/// One thing that a text says.
struct Event {
    enum class Kind { null, boolean, number, string, name, object, object_end, array, array_end } kind;
    std::string text{};
    double number = 0;
};

bool operator==(const Event& left, const Event& right) {
    // 0 and -0 are one: the other reader takes "-0" for an integer.
    return left.kind == right.kind && left.text == right.text && !(left.number < right.number) &&
           !(left.number > right.number);
}

class Recorder : public nlohmann::json_sax<nlohmann::json> {
  public:
    std::vector<Event> events;

    bool null() override { return add({Event::Kind::null}); }
    bool boolean(bool truth) override { return add({Event::Kind::boolean, truth ? "true" : "false"}); }
    bool number_integer(number_integer_t number) override { return add_number(static_cast<double>(number)); }
    bool number_unsigned(number_unsigned_t number) override { return add_number(static_cast<double>(number)); }
    bool number_float(number_float_t number, const string_t&) override { return add_number(number); }
    bool string(string_t& text) override { return add({Event::Kind::string, text}); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return add({Event::Kind::object}); }
    bool key(string_t& name) override { return add({Event::Kind::name, name}); }
    bool end_object() override { return add({Event::Kind::object_end}); }
    bool start_array(std::size_t) override { return add({Event::Kind::array}); }
    bool end_array() override { return add({Event::Kind::array_end}); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception&) override { return false; }

  private:
    bool add(Event event) {
        events.push_back(std::move(event));
        return true;
    }
    bool add_number(double number) { return add({Event::Kind::number, "", number}); }
};

/// The text with escapes for the control characters that stand in its strings, where the library takes them as they
/// are.
std::string with_escapes(const std::string& text) {
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    if (std::none_of(text.begin(), text.end(), is_control)) {
        return text;
    }
    std::string out;
    bool is_in_string = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (is_in_string && is_control(text[i])) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(text[i]));
            out += escape;
            continue;
        }
        out += text[i];
        is_in_string ^= text[i] == '"';
        if (is_in_string && text[i] == '\\' && i + 1 < text.size()) {
            out += text[++i];
        }
    }
    return out;
}

/// Nothing for what is refused.
std::optional<std::vector<Event>> read(const std::string& text) {
    // These the other reader would pass over: a byte order mark, and all that follows a NUL.
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0 || text.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    Recorder recorder;
    const bool is_read = nlohmann::json::sax_parse(with_escapes(text), &recorder);
    return is_read ? std::optional(std::move(recorder.events)) : std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto canonical = canonical_json(text);
    const auto events = read(text);
    CHECK(canonical.has_value() == events.has_value());
    if (canonical) {
        const auto again = canonical_json(canonical->text);
        CHECK(again && *again == *canonical);
        CHECK(read(canonical->text) == events);
        CHECK(canonical->text.find('\n') == std::string::npos);
    }
    return 0;
}
