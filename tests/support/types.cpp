#include "types.h"

#include <zelva/configuration.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace {

void require(bool holds) {
    if (!holds) {
        throw std::logic_error("a get has failed and written, or succeeded and not written all");
    }
}

/// Frees what a get has handed out.
void release(char* text) {
    free(text);
}
void release(char** array) {
    zelva_core_free_string_array(array);
}
void release(int** array) {
    zelva_core_free_int_array(array);
}
void release(bool** array) {
    zelva_core_free_bool_array(array);
}
void release(double** array) {
    zelva_core_free_double_array(array);
}
template <class Scalar>
void release(Scalar) {}

// How a value of each type gets through the C interface, and is released.

template <class T>
struct Caller {
    using Get = zelva_core_status(const char*, T*);
    using Set = zelva_core_status(const char*, T);

    static Got get(Get* function, const char* key) {
        T value{};
        const zelva_core_status status = function(key, &value);
        require(status == ZELVA_CORE_STATUS_NO_ERROR || value == T{});
        return {status, value};
    }
    static zelva_core_status set(Set* function, const char* key, const T& value) { return function(key, value); }
};

template <class Text>
struct TextCaller {
    using Get = zelva_core_status(const char*, char**);
    using Set = zelva_core_status(const char*, const char*);

    static Got get(Get* function, const char* key) {
        char* text = nullptr;
        const zelva_core_status status = function(key, &text);
        require((text == nullptr) == (status != ZELVA_CORE_STATUS_NO_ERROR));
        Got got{status, Text{text == nullptr ? "" : text}};
        release(text);
        return got;
    }
};
template <>
struct Caller<std::string> : TextCaller<std::string> {
    static zelva_core_status set(Set* function, const char* key, const std::string& text) {
        return function(key, text.c_str());
    }
};
template <>
struct Caller<Json> : TextCaller<Json> {
    static zelva_core_status set(Set* function, const char* key, const Json& json) {
        return function(key, json.text.c_str());
    }
};

template <class Element, class Pointee, Pointee** allocate(unsigned)>
struct ArrayCaller {
    using Get = zelva_core_status(const char*, Pointee***, int*);
    using Set = zelva_core_status(const char*, Pointee**);

    static Element element(char* text) { return Element(text); }
    template <class Scalar>
    static Element element(Scalar* scalar) {
        return *scalar;
    }

    static Got get(Get* function, const char* key) {
        Pointee** array = nullptr;
        int length = -1;
        const zelva_core_status status = function(key, &array, &length);
        require((array == nullptr) == (status != ZELVA_CORE_STATUS_NO_ERROR));
        std::vector<Element> elements;
        if (array != nullptr) {
            for (Pointee** slot = array; *slot != nullptr; ++slot) {
                elements.push_back(element(*slot));
            }
        }
        require(length == (status == ZELVA_CORE_STATUS_NO_ERROR ? static_cast<int>(elements.size()) : -1));
        release(array);
        return {status, elements};
    }

    static void fill(char*& slot, const std::string& text) { slot = strdup(text.c_str()); }
    template <class Scalar>
    static void fill(Scalar*& slot, Scalar value) {
        *slot = value;
    }

    static zelva_core_status set(Set* function, const char* key, const std::vector<Element>& elements) {
        Pointee** array = allocate(static_cast<unsigned>(elements.size()));
        for (std::size_t i = 0; i < elements.size(); ++i) {
            fill(array[i], elements[i]);
        }
        const zelva_core_status status = function(key, array);
        release(array);
        return status;
    }
};
template <>
struct Caller<Strings> : ArrayCaller<std::string, char, zelva_core_alloc_string_array> {};
template <>
struct Caller<Ints> : ArrayCaller<int, int, zelva_core_alloc_int_array> {};
template <>
struct Caller<Bools> : ArrayCaller<bool, bool, zelva_core_alloc_bool_array> {};
template <>
struct Caller<Doubles> : ArrayCaller<double, double, zelva_core_alloc_double_array> {};

template <class Out, zelva_core_status get(const char*, Out*)>
zelva_core_status get_and_free(const char* key) {
    Out out{};
    const zelva_core_status status = get(key, &out);
    release(out);
    return status;
}
template <class Out, zelva_core_status get(const char*, Out*, int*)>
zelva_core_status get_and_free(const char* key) {
    Out out{};
    const zelva_core_status status = get(key, &out, nullptr);
    release(out);
    return status;
}

template <class T>
TypeFunctions functions(const char* name, zelva_core_settings_type type, T first, T second,
                        typename Caller<T>::Get* get, typename Caller<T>::Get* get_default,
                        typename Caller<T>::Get* get_configuration, zelva_core_status get_and_free(const char*),
                        typename Caller<T>::Set* set, typename Caller<T>::Set* set_default,
                        zelva_core_status copy(const char*, const char*)) {
    using namespace std::placeholders;
    const auto setter = [](typename Caller<T>::Set* function) {
        return [function](const char* key, const Value& value) {
            return Caller<T>::set(function, key, std::get<T>(value));
        };
    };
    return {name,
            type,
            std::move(first),
            std::move(second),
            std::bind(&Caller<T>::get, get, _1),
            std::bind(&Caller<T>::get, get_default, _1),
            std::bind(&Caller<T>::get, get_configuration, _1),
            get_and_free,
            setter(set),
            setter(set_default),
            copy};
}

const TypeFunctions& functions_of(const std::string& key) {
    zelva_core_settings_type type{};
    if (zelva_core_settings_get_type(key.c_str(), &type) != ZELVA_CORE_STATUS_NO_ERROR) {
        throw std::runtime_error("no key " + key);
    }
    return types()[type];
}

}  // namespace

#define TYPE(NUMBER, name, Out, first, second)                                                                   \
    functions(#name, ZELVA_CORE_SETTING_TYPE_##NUMBER, first, second, zelva_core_settings_get_##name##_value,    \
              zelva_core_settings_get_default_##name##_value, zelva_core_configuration_get_##name##_value,       \
              get_and_free<Out, zelva_core_settings_get_##name##_value>, zelva_core_settings_set_##name##_value, \
              zelva_core_settings_set_default_##name##_value, zelva_core_settings_copy_##name##_key)

const std::vector<TypeFunctions>& types() {
    static const std::vector<TypeFunctions> all{
        TYPE(STRING, string, char*, std::string("one"), std::string("two")),
        TYPE(JSON, json, char*, Json{"{ \"a\" : 1 }"}, Json{"[ true ]"}),
        TYPE(INT, int, int, 7, -8),
        TYPE(BOOL, bool, bool, true, false),
        TYPE(DOUBLE, double, double, 0.1, -2.5e300),
        TYPE(ARRAYOFSTRING, arrayofstring, char**, (Strings{"a", "b,c", ""}), Strings{""}),
        TYPE(ARRAYOFINT, arrayofint, int**, (Ints{1, -2}), Ints{}),
        TYPE(ARRAYOFBOOL, arrayofbool, bool**, (Bools{true, false}), Bools{false}),
        TYPE(ARRAYOFDOUBLE, arrayofdouble, double**, (Doubles{0.5, 1e-7}), Doubles{3.023}),
    };
    return all;
}

Got get(const std::string& key) {
    return functions_of(key).get(key.c_str());
}
Got get_default(const std::string& key) {
    return functions_of(key).get_default(key.c_str());
}
zelva_core_status set(const std::string& key, const Value& value) {
    return types()[value.index()].set(key.c_str(), value);
}
zelva_core_status set_default(const std::string& key, const Value& value) {
    return types()[value.index()].set_default(key.c_str(), value);
}

Strings keys(const std::string& prefix) {
    char** list = zelva_core_settings_get_keys_starting_with(prefix.c_str());
    if (list == nullptr) {
        throw std::runtime_error("the store does not list its keys");
    }
    Strings names;
    for (char** name = list; *name != nullptr; ++name) {
        names.emplace_back(*name);
    }
    zelva_core_free_string_array(list);
    return names;
}

State state_of_store() {
    State state;
    for (const std::string& key : keys()) {
        Got got = get(key);
        if (got.status != ZELVA_CORE_STATUS_NO_ERROR) {
            throw std::runtime_error("the store does not hand out " + key);
        }
        Entry& entry = state[key];
        entry.value = std::move(got.value);
        got = get_default(key);
        if (got.status == ZELVA_CORE_STATUS_NO_ERROR) {
            entry.default_value = std::move(got.value);
        }
    }
    return state;
}
