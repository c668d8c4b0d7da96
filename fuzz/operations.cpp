// Any sequence of operations, of edits by a person, and of ends of the program, against a plain model of the rules:
// every status, value, default and list is what the model says, and so is what the file means.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <utility>

#include "check.h"
#include "simulated_disk.h"
#include "store.h"
#include "support.h"
#include "value/json.h"

namespace {

using fuzz::default_prefix;
using fuzz::Entries;
using fuzz::Slot;
using simulated::disk;
using zelva::value::Type;

// Arguments.

/// As a C string holds it.
std::string any_text(FuzzedDataProvider& in) {
    // A line of up to a sector is written in another way than a longer one, and one that ends a page in a third.
    if (in.ConsumeIntegralInRange(0, 7) == 0) {
        return std::string(in.ConsumeIntegralInRange<std::size_t>(0, 5000), 'x');
    }
    return in.ConsumeRandomLengthString(40).c_str();
}

std::string any_key(FuzzedDataProvider& in) {
    static const std::vector<std::string> keys{"a",         "b",   "ab", "a b", "Version", std::string(600, 'k'),
                                               "DEFAULT_a", "",    " a", "a\t", "a=b",     "#a",
                                               ";a",        "a\nb"};
    const std::size_t chosen = in.ConsumeIntegralInRange<std::size_t>(0, keys.size());
    return chosen < keys.size() ? keys[chosen] : any_text(in);
}

double any_double(FuzzedDataProvider& in) {
    using limits = std::numeric_limits<double>;
    const double others[] = {-0.0, 0.1, limits::quiet_NaN(), limits::infinity(), limits::denorm_min(), limits::max()};
    return in.ConsumeBool() ? in.PickValueInArray(others) : in.ConsumeFloatingPoint<double>();
}

template <class Make>
auto any_array(FuzzedDataProvider& in, Make&& make) {
    std::vector<decltype(make(in))> elements(in.ConsumeIntegralInRange<std::size_t>(0, 3));
    std::generate(elements.begin(), elements.end(), [&] { return make(in); });
    return elements;
}

Value any_value(FuzzedDataProvider& in) {
    const auto any_int = [](FuzzedDataProvider& data) { return data.ConsumeIntegral<int>(); };
    const auto any_bool = [](FuzzedDataProvider& data) { return data.ConsumeBool(); };
    switch (in.ConsumeIntegralInRange(0, 8)) {
        case ZELVA_CORE_SETTING_TYPE_STRING:
            return any_text(in);
        case ZELVA_CORE_SETTING_TYPE_JSON:
            return Json{in.ConsumeBool() ? any_text(in) : '"' + any_text(in) + '"'};
        case ZELVA_CORE_SETTING_TYPE_INT:
            return any_int(in);
        case ZELVA_CORE_SETTING_TYPE_BOOL:
            return any_bool(in);
        case ZELVA_CORE_SETTING_TYPE_DOUBLE:
            return any_double(in);
        case ZELVA_CORE_SETTING_TYPE_ARRAYOFSTRING:
            return any_array(in, any_text);
        case ZELVA_CORE_SETTING_TYPE_ARRAYOFINT:
            return any_array(in, any_int);
        case ZELVA_CORE_SETTING_TYPE_ARRAYOFBOOL:
            return any_array(in, any_bool);
        default:
            return any_array(in, any_double);
    }
}

// The rules of names and values.

bool has_blank_at_end(const std::string& text) {
    const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
    return !text.empty() && (is_blank(text.front()) || is_blank(text.back()));
}

bool can_be_written(const std::string& key) {
    return !key.empty() && key.find_first_of("=\n") == std::string::npos && !has_blank_at_end(key) && key[0] != '#' &&
           key[0] != ';' && !fuzz::is_reserved(key);
}

/// The value as a get hands it out, or nothing for one that is refused.
std::optional<Value> accepted(const Value& value) {
    const auto has_line_feed = [](const std::string& text) { return text.find('\n') != std::string::npos; };
    const auto is_finite = [](double number) { return std::isfinite(number); };
    bool is_accepted = true;
    if (const auto* const text = std::get_if<std::string>(&value)) {
        is_accepted = !has_line_feed(*text);
    } else if (const auto* const json = std::get_if<Json>(&value)) {
        return zelva::value::canonical_json(json->text);
    } else if (const auto* const number = std::get_if<double>(&value)) {
        is_accepted = is_finite(*number);
    } else if (const auto* const texts = std::get_if<Strings>(&value)) {
        is_accepted = std::none_of(texts->begin(), texts->end(), has_line_feed) &&
                      std::none_of(texts->begin(), texts->end(), has_blank_at_end);
    } else if (const auto* const numbers = std::get_if<Doubles>(&value)) {
        is_accepted = std::all_of(numbers->begin(), numbers->end(), is_finite);
    }
    return is_accepted ? std::optional(value) : std::nullopt;
}

class Run {
  public:
    explicit Run(FuzzedDataProvider& in) : in_(in) {
        disk = simulated::Disk();
        open();
    }

    void run() {
        constexpr int most_operations = 100;
        for (int i = 0; i < most_operations && in_.remaining_bytes() > 0; ++i) {
            (this->*in_.PickValueInArray(operations))();
            check();
        }
        if (is_open_) {
            open_or_close();
            check();
        }
    }

  private:
    /// Read again only when it has changed: few operations do, and a long JSON text takes a while.
    const fuzz::File& file_on_disk() {
        std::string text = disk.text();
        if (text != text_read_) {
            file_read_ = fuzz::read_file(text);
            text_read_ = std::move(text);
        }
        return file_read_;
    }

    void check() {
        if (is_open_) {
            fuzz::check_holds(entries_);
        }
        if (!edited_) {
            const fuzz::File& file = file_on_disk();
            CHECK(fuzz::is_same(fuzz::meaning(file.entries), fuzz::meaning(entries_)));
            CHECK(file.others == others_);
        }
    }

    void use(fuzz::File file) {
        entries_ = std::move(file.entries);
        others_ = std::move(file.others);
        edited_ = std::nullopt;
    }

    void read() { use(file_on_disk()); }

    /// What every change does first: it finds what a person has made of the file.
    void read_if_edited() {
        if (edited_) {
            use(*std::move(edited_));
        }
    }

    /// The status of a change that the rules allow. On a full disk it may fail.
    bool is_done(zelva_core_status status) {
        if (disk.room != SIZE_MAX && status == ZELVA_CORE_STATUS_IO_FAILED) {
            return false;
        }
        CHECK(status == ZELVA_CORE_STATUS_NO_ERROR);
        is_durable_ = durability_ == ZELVA_CORE_DURABILITY_FULL;
        return true;
    }

    bool has(const std::string& name) const { return entries_.count(name) != 0; }
    bool is_of_other_type(const std::string& key, std::size_t type) const {
        return has(key) && entries_.at(key).index() != type;
    }

    /// What is written of a value that is accepted, and of a name that can be written.
    void check_write(Slot slot, const std::string& key, const Value& value, zelva_core_status status) {
        if (is_of_other_type(key, value.index())) {
            CHECK(status == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
        } else if (is_done(status)) {
            if (slot == Slot::default_value || !has(key)) {
                entries_[default_prefix + key] = value;
            }
            if (slot == Slot::value || !has(key)) {
                entries_[key] = value;
            }
        }
    }

    void set() {
        const Slot slot = in_.ConsumeBool() ? Slot::value : Slot::default_value;
        const std::string key = any_key(in_);
        const Value value = any_value(in_);
        const std::optional<Value> expected = accepted(value);
        const zelva_core_status status = fuzz::set(slot, key, value);
        if (!can_be_written(key) || !expected) {
            CHECK(status == ZELVA_CORE_STATUS_INVALID_PARAMS);
        } else if (!is_open_) {
            CHECK(status == ZELVA_CORE_STATUS_NOT_INITIALIZED);
        } else {
            read_if_edited();
            check_write(slot, key, *expected, status);
        }
    }

    void copy() {
        const std::string old_key = any_key(in_);
        const std::string new_key = any_key(in_);
        const auto type = static_cast<Type>(in_.ConsumeIntegralInRange(0, 8));
        const zelva_core_status status = fuzz::copy(type, old_key, new_key);
        if (fuzz::is_reserved(old_key) || !can_be_written(new_key)) {
            CHECK(status == ZELVA_CORE_STATUS_INVALID_PARAMS);
        } else if (!is_open_) {
            CHECK(status == ZELVA_CORE_STATUS_NOT_INITIALIZED);
        } else {
            read_if_edited();
            if (!has(old_key)) {
                CHECK(status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
            } else if (is_of_other_type(old_key, type)) {
                CHECK(status == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
            } else {
                check_write(Slot::value, new_key, Value(entries_.at(old_key)), status);
            }
        }
    }

    void remove() {
        const std::string key = any_key(in_);
        const zelva_core_status status = zelva_core_settings_delete_key(key.c_str());
        if (fuzz::is_reserved(key)) {
            CHECK(status == ZELVA_CORE_STATUS_INVALID_PARAMS);
        } else if (!is_open_) {
            CHECK(status == ZELVA_CORE_STATUS_NOT_INITIALIZED);
        } else {
            read_if_edited();
            if (!has(key)) {
                CHECK(status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
            } else if (is_done(status)) {
                entries_.erase(key);
                entries_.erase(default_prefix + key);
            }
        }
    }

    void get() {
        const auto type = static_cast<Type>(in_.ConsumeIntegralInRange(0, 8));
        const Slot slot = in_.ConsumeBool() ? Slot::value : Slot::default_value;
        const std::string key = any_key(in_);
        const std::string name = (slot == Slot::value ? "" : default_prefix) + key;
        const fuzz::Got got = fuzz::get(type, slot, key);
        if (fuzz::is_reserved(key)) {
            CHECK(got.status == ZELVA_CORE_STATUS_INVALID_PARAMS);
        } else if (!is_open_) {
            CHECK(got.status == ZELVA_CORE_STATUS_NOT_INITIALIZED);
        } else if (!has(key)) {
            CHECK(got.status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
        } else if (is_of_other_type(key, type)) {
            CHECK(got.status == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
        } else if (!has(name)) {
            CHECK(got.status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
        } else if (is_of_other_type(name, type)) {
            CHECK(got.status == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
        } else {
            CHECK(got.status == ZELVA_CORE_STATUS_NO_ERROR && fuzz::is_same(got.value, entries_.at(name)));
        }
    }

    void list() {
        const std::string prefix = any_key(in_);
        if (!is_open_) {
            CHECK(zelva_core_settings_get_keys_starting_with(prefix.c_str()) == nullptr);
            return;
        }
        std::vector<std::string> expected;
        for (const auto& [name, value] : entries_) {
            if (!fuzz::is_reserved(name) && name.compare(0, prefix.size(), prefix) == 0) {
                expected.push_back(name);
            }
        }
        CHECK(fuzz::keys(prefix) == expected);
    }

    void announce_version() {
        const auto announced = in_.ConsumeBool() ? in_.ConsumeIntegralInRange(0U, 5U) : in_.ConsumeIntegral<unsigned>();
        unsigned old = UINT_MAX;
        const zelva_core_status status = zelva_core_settings_get_and_set_version(&old, announced);
        bool is_successful = false;
        unsigned expected = UINT_MAX;
        if (announced == 0 || announced > INT_MAX) {
            CHECK(status == ZELVA_CORE_STATUS_INVALID_PARAMS);
        } else if (!is_open_) {
            CHECK(status == ZELVA_CORE_STATUS_NOT_INITIALIZED);
        } else {
            read_if_edited();
            const std::string key = "Version";
            if (is_of_other_type(key, ZELVA_CORE_SETTING_TYPE_INT)) {
                CHECK(status == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
            } else {
                const bool has_keys = !fuzz::meaning(entries_).empty();
                const int present = has(key) ? std::max(std::get<int>(entries_.at(key)), 0) : 0;
                if (announced <= static_cast<unsigned>(present)) {
                    CHECK(status == ZELVA_CORE_STATUS_NO_ERROR);
                    is_successful = true;
                } else if (is_done(status)) {
                    is_successful = true;
                    if (!has(key)) {
                        entries_.erase(default_prefix + key);
                    }
                    entries_[key] = static_cast<int>(announced);
                }
                if (is_successful) {
                    expected = has_keys ? static_cast<unsigned>(present) : announced;
                    versions_ = std::pair(expected, announced);
                }
            }
        }
        CHECK(old == expected);
    }

    void get_versions() {
        unsigned old = UINT_MAX;
        unsigned announced = UINT_MAX;
        const zelva_core_status status = zelva_core_settings_get_versions(&old, &announced);
        if (!is_open_) {
            CHECK(status == ZELVA_CORE_STATUS_NOT_INITIALIZED);
        } else if (!versions_) {
            CHECK(status == ZELVA_CORE_STATUS_INVALID_PARAMS);
        } else {
            CHECK(status == ZELVA_CORE_STATUS_NO_ERROR && std::pair(old, announced) == *versions_);
        }
    }

    void set_durability() {
        const auto durability = in_.ConsumeBool() ? ZELVA_CORE_DURABILITY_FULL : ZELVA_CORE_DURABILITY_RELAXED;
        const zelva_core_status status = zelva_core_settings_set_durability(durability);
        CHECK(status == (is_open_ ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_NOT_INITIALIZED));
        durability_ = durability;
    }

    void sync() {
        const zelva_core_status status = zelva_core_settings_sync();
        if (!is_open_) {
            CHECK(status == ZELVA_CORE_STATUS_NOT_INITIALIZED);
            return;
        }
        read_if_edited();
        is_durable_ = is_done(status);
    }

    void reload() {
        const zelva_core_status status = zelva_core_settings_reload();
        CHECK(status == (is_open_ ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_NOT_INITIALIZED));
        if (is_open_) {
            read();
        }
    }

    void open() {
        CHECK(zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR);
        CHECK(zelva_core_settings_init("test") == ZELVA_CORE_STATUS_ALLOC_FAILED);
        read();
        is_open_ = true;
        durability_ = ZELVA_CORE_DURABILITY_FULL;
        versions_ = std::nullopt;
    }

    void open_or_close() {
        if (!is_open_) {
            open();
            return;
        }
        CHECK(zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
        CHECK(zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NOT_INITIALIZED);
        is_open_ = false;
        read_if_edited();
    }

    void end_program(const simulated::Disk& left, bool is_known) {
        if (is_open_) {
            zelva_core_settings_deinit();
            is_open_ = false;
        }
        disk = left;
        if (is_known) {
            check();
        }
        open();
    }

    void kill() {
        read_if_edited();
        end_program(simulated::Disk(disk), true);
    }

    void lose_power() {
        read_if_edited();
        std::mt19937 random(in_.ConsumeIntegral<unsigned>());
        const simulated::Disk left = disk.after_power_loss(random);
        end_program(left, is_durable_);
    }

    void fill_disk() {
        disk.room =
            in_.ConsumeBool() ? SIZE_MAX : disk.text().size() + in_.ConsumeIntegralInRange<std::size_t>(0, 5000);
    }

    void edit() {
        std::string text = disk.text();
        const std::size_t begin =
            in_.ConsumeBool() ? text.size() : in_.ConsumeIntegralInRange<std::size_t>(0, text.size());
        text.erase(begin, in_.ConsumeIntegralInRange<std::size_t>(0, 1000));
        text.insert(begin, in_.ConsumeRandomLengthString(100));
        const std::string& folder = Folder::path();
        const simulated::Disk::Names names = disk.names_in(folder);
        const auto present = names.find("test");
        const auto way = in_.ConsumeIntegralInRange(0, 3);
        if (way == 0) {
            disk.names_to_change(folder).erase("test");
        } else {
            // In place, or as a new file.
            const auto file = way == 1 && present != names.end() ? present->second : disk.create();
            disk.resize(file, 0);
            disk.write(file, 0, text);
            disk.flush(file);
            disk.names_to_change(folder)["test"] = file;
        }
        disk.flush_folder(folder);
        edited_ = file_on_disk();
        if (!is_open_) {
            read_if_edited();
        }
    }

    static constexpr void (Run::*operations[])() = {
        &Run::set,
        &Run::set,
        &Run::set,
        &Run::set,
        &Run::copy,
        &Run::remove,
        &Run::get,
        &Run::list,
        &Run::announce_version,
        &Run::get_versions,
        &Run::set_durability,
        &Run::sync,
        &Run::reload,
        &Run::open_or_close,
        &Run::kill,
        &Run::lose_power,
        &Run::fill_disk,
        &Run::edit,
    };

    FuzzedDataProvider& in_;
    bool is_open_ = false;
    bool is_durable_ = true;
    zelva_core_durability durability_ = ZELVA_CORE_DURABILITY_FULL;
    Entries entries_;
    std::vector<std::string> others_;
    std::string text_read_;
    fuzz::File file_read_;              // what `text_read_` means
    std::optional<fuzz::File> edited_;  // what a person has made of the file since it was read
    std::optional<std::pair<unsigned, unsigned>> versions_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    Run(in).run();
    disk = simulated::Disk();  // what is left must not look like a leak
    return 0;
}
