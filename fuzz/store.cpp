#include "store.h"

#include <stdlib.h>

#include <algorithm>

#include "api/crossing.h"
#include "check.h"
#include "support.h"

// The disk in memory keeps what is below this folder.
const std::string& Folder::path() {
    static const std::string path = "/settings";
    return path;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("ZELVA_CORE_SETTINGS_DIR", Folder::path().c_str(), 1);
    return 0;
}

namespace fuzz {

namespace {

namespace api = zelva::api;

template <class P>
void release(P** array) {
    api::free_array(array);
}
void release(char* text) {
    free(text);
}
template <class Scalar>
void release(Scalar) {}

template <class T, auto* get_value, auto* get_default>
Got get_typed(Slot slot, const char* key) {
    const auto function = slot == Slot::value ? get_value : get_default;
    api::Out<T> out{};
    Got got{};
    if constexpr (zelva::value::is_array<T>) {
        int length = -1;
        got.status = function(key, &out, &length);
        if (got.status == ZELVA_CORE_STATUS_NO_ERROR) {
            got.value = *api::take_in<T>(out);
            CHECK(static_cast<std::size_t>(length) == std::get<T>(got.value).size());
        } else {
            CHECK(length == -1);
        }
    } else {
        got.status = function(key, &out);
        if (got.status == ZELVA_CORE_STATUS_NO_ERROR) {
            got.value = T{out};
        }
    }
    CHECK(got.status == ZELVA_CORE_STATUS_NO_ERROR || out == api::Out<T>{});
    release(out);
    return got;
}

template <class T, auto* set_value, auto* set_default>
zelva_core_status set_typed(Slot slot, const char* key, const Value& value) {
    const auto function = slot == Slot::value ? set_value : set_default;
    api::Out<T> in{};
    if constexpr (std::is_same_v<T, Json>) {
        api::hand_out(std::string_view(std::get<Json>(value).text), &in);
    } else if constexpr (zelva::value::is_array<T>) {
        api::hand_out(std::get<T>(value), &in, nullptr);
    } else {
        api::hand_out(std::get<T>(value), &in);
    }
    const zelva_core_status status = function(key, in);
    release(in);
    return status;
}

struct Functions {
    Got (*get)(Slot, const char*);
    zelva_core_status (*set)(Slot, const char*, const Value&);
    zelva_core_status (*copy)(const char*, const char*);
};

#define FUNCTIONS(T, name)                                                                                        \
    Functions {                                                                                                   \
        get_typed<T, zelva_core_settings_get_##name##_value, zelva_core_settings_get_default_##name##_value>,     \
            set_typed<T, zelva_core_settings_set_##name##_value, zelva_core_settings_set_default_##name##_value>, \
            zelva_core_settings_copy_##name##_key                                                                 \
    }

// In the order of the types' numbers.
constexpr Functions functions[] = {
    FUNCTIONS(std::string, string), FUNCTIONS(Json, json),         FUNCTIONS(int, int),
    FUNCTIONS(bool, bool),          FUNCTIONS(double, double),     FUNCTIONS(Strings, arrayofstring),
    FUNCTIONS(Ints, arrayofint),    FUNCTIONS(Bools, arrayofbool), FUNCTIONS(Doubles, arrayofdouble),
};

}  // namespace

Got get(Type type, Slot slot, const std::string& key) {
    return functions[type].get(slot, key.c_str());
}

zelva_core_status set(Slot slot, const std::string& key, const Value& value) {
    return functions[value.index()].set(slot, key.c_str(), value);
}

zelva_core_status copy(Type type, const std::string& old_key, const std::string& new_key) {
    return functions[type].copy(old_key.c_str(), new_key.c_str());
}

std::vector<std::string> keys(const std::string& prefix) {
    char** const list = zelva_core_settings_get_keys_starting_with(prefix.c_str());
    CHECK(list != nullptr);
    std::vector<std::string> names = *api::take_in<Strings>(list);
    release(list);
    std::sort(names.begin(), names.end());
    return names;
}

void check_holds(const Entries& entries) {
    std::vector<std::string> expected;
    for (const auto& [key, value] : entries) {
        if (is_reserved(key)) {
            continue;
        }
        expected.push_back(key);
        CHECK(zelva_core_settings_does_key_exist(key.c_str()));
        Type type{};
        CHECK(zelva_core_settings_get_type(key.c_str(), &type) == ZELVA_CORE_STATUS_NO_ERROR);
        CHECK(type == zelva::value::type_of(value));
        const Got got = get(type, Slot::value, key);
        CHECK(got.status == ZELVA_CORE_STATUS_NO_ERROR);
        CHECK(is_same(got.value, value));

        const auto found = entries.find(default_prefix + key);
        const Got got_default = get(type, Slot::default_value, key);
        if (found == entries.end()) {
            CHECK(got_default.status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
        } else if (found->second.index() != value.index()) {
            CHECK(got_default.status == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
        } else {
            CHECK(got_default.status == ZELVA_CORE_STATUS_NO_ERROR);
            CHECK(is_same(got_default.value, found->second));
        }
    }
    CHECK(keys() == expected);
}

}  // namespace fuzz
