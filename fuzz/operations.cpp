// Any sequence of operations, of edits by a person, and of ends of the program, against a plain model of the rules:
// every status, value, default and list is what the model says, and so is what the file means.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <optional>
#include <random>
#include <utility>

#include "check.h"
#include "folder.h"
#include "simulated_disk.h"
#include "store.h"

namespace {

using model::Type;
using simulated::disk;

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
            fuzz::check_holds(state_);
        }
        if (!edited_) {
            fuzz::check_file(file_on_disk(), state_, others_);
        }
    }

    void use(fuzz::File file) {
        state_ = fuzz::state_of(file.entries);
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

    /// Checks the status of a change against its rule, which changes the state as well. Of a store that is closed the
    /// rule tells only whether the parameters are valid; and on a full disk a change that it allows may fail.
    template <class Rule>
    void check_change(zelva_core_status status, const Rule& rule) {
        if (!is_open_) {
            State none;
            const bool is_invalid = rule(none) == ZELVA_CORE_STATUS_INVALID_PARAMS;
            CHECK(status == (is_invalid ? ZELVA_CORE_STATUS_INVALID_PARAMS : ZELVA_CORE_STATUS_NOT_INITIALIZED));
        } else if (disk.room != SIZE_MAX && status == ZELVA_CORE_STATUS_IO_FAILED) {
            read_if_edited();
            State changed = state_;
            CHECK(rule(changed) == ZELVA_CORE_STATUS_NO_ERROR);
        } else {
            // What is refused whatever the store holds is refused before an edit is found.
            if (status != ZELVA_CORE_STATUS_INVALID_PARAMS) {
                read_if_edited();
            }
            CHECK(status == rule(state_));
            is_durable_ =
                status == ZELVA_CORE_STATUS_NO_ERROR ? durability_ == ZELVA_CORE_DURABILITY_FULL : is_durable_;
        }
    }

    void set() {
        const bool is_default = !in_.ConsumeBool();
        const std::string key = any_key(in_);
        const Value value = any_value(in_);
        check_change(is_default ? ::set_default(key, value) : ::set(key, value), [&](State& state) {
            return is_default ? model::set_default(state, key, value) : model::set(state, key, value);
        });
    }

    void copy() {
        const std::string old_key = any_key(in_);
        const std::string new_key = any_key(in_);
        const auto type = static_cast<Type>(in_.ConsumeIntegralInRange(0, 8));
        check_change(types()[type].copy(old_key.c_str(), new_key.c_str()),
                     [&](State& state) { return model::copy(state, type, old_key, new_key); });
    }

    void remove() {
        const std::string key = any_key(in_);
        check_change(zelva_core_settings_delete_key(key.c_str()),
                     [&](State& state) { return model::remove(state, key); });
    }

    void get() {
        const auto type = static_cast<Type>(in_.ConsumeIntegralInRange(0, 8));
        const bool is_default = !in_.ConsumeBool();
        const std::string key = any_key(in_);
        const Got got = (is_default ? types()[type].get_default : types()[type].get)(key.c_str());
        Got expected = (is_default ? model::get_default : model::get)(state_, type, key);
        if (!is_open_ && expected.status != ZELVA_CORE_STATUS_INVALID_PARAMS) {
            expected.status = ZELVA_CORE_STATUS_NOT_INITIALIZED;
        }
        CHECK(got == expected);
    }

    void list() {
        const std::string prefix = any_key(in_);
        if (!is_open_) {
            CHECK(zelva_core_settings_get_keys_starting_with(prefix.c_str()) == nullptr);
            return;
        }
        CHECK(keys(prefix) == model::keys(state_, prefix));
    }

    void announce_version() {
        const auto announced = in_.ConsumeBool() ? in_.ConsumeIntegralInRange(0U, 5U) : in_.ConsumeIntegral<unsigned>();
        unsigned old = UINT_MAX;
        bool is_only_read = false;
        const bool was_durable = is_durable_;
        const zelva_core_status status = zelva_core_settings_get_and_set_version(&old, announced);
        unsigned expected = UINT_MAX;
        check_change(status, [&](State& state) {
            unsigned before = UINT_MAX;
            const State unchanged = state;
            const zelva_core_status allowed = model::announce_version(state, announced, before);
            // One that is there already is only read, and cannot fail.
            is_only_read = allowed == ZELVA_CORE_STATUS_NO_ERROR && state == unchanged;
            CHECK(!is_only_read || status == ZELVA_CORE_STATUS_NO_ERROR);
            if (status == ZELVA_CORE_STATUS_NO_ERROR) {
                expected = before;
            }
            return allowed;
        });
        if (is_only_read) {
            is_durable_ = was_durable;
        }
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            versions_ = std::pair(expected, announced);
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
        if (disk.room != SIZE_MAX && status == ZELVA_CORE_STATUS_IO_FAILED) {
            is_durable_ = false;
            return;
        }
        CHECK(status == ZELVA_CORE_STATUS_NO_ERROR);
        is_durable_ = true;
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
    State state_;
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
