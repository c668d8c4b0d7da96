// How values cross the C interface: scalars as they are, texts as NUL-terminated strings, arrays as NULL-terminated
// arrays of pointers to their elements. All that is handed out comes from malloc, since C programs free it.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "value/json.h"
#include "value/value.h"

namespace zelva::api {

/// The C type of an element, and how it is passed in and handed out.
template <class T>
struct CType {
    using In = T;
    using Out = T;
};
template <>
struct CType<std::string> {
    using In = const char*;
    using Out = char*;
};
template <>
struct CType<value::Json> : CType<std::string> {};

/// What the slots of a value array of these elements point to.
template <class Element>
using Pointee = std::conditional_t<std::is_same_v<Element, std::string>, char, Element>;

template <class Element>
struct CType<std::vector<Element>> {
    using In = Pointee<Element>**;
    using Out = Pointee<Element>**;
};

template <class T>
using In = typename CType<T>::In;
template <class T>
using Out = typename CType<T>::Out;

/// An array of n empty slots and the NULL after them. Throws std::bad_alloc.
template <class P>
P** allocate_slots(std::size_t n) {
    auto* array = static_cast<P**>(std::calloc(n + 1, sizeof(P*)));
    if (array == nullptr) {
        throw std::bad_alloc();
    }
    return array;
}

/// Frees the elements of a value array up to the first NULL, then the array.
template <class P>
void free_array(P** array) {
    if (array == nullptr) {
        return;
    }
    for (P** slot = array; *slot != nullptr; ++slot) {
        std::free(*slot);
    }
    std::free(array);
}

struct ArrayDeleter {
    template <class P>
    void operator()(P** array) const {
        free_array(array);
    }
};

/// Owns a value array that is being filled from its first slot on.
template <class P>
using ArrayOwner = std::unique_ptr<P*, ArrayDeleter>;

/// One element on its own: a copy of `value` for the slot of an array, or a text for a char*. Throws std::bad_alloc.
template <class T>
T* new_element(const T& value) {
    void* memory = std::malloc(sizeof(T));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return new (memory) T(value);
}
char* new_element(std::string_view text);
inline char* new_element(const std::string& text) {
    return new_element(std::string_view(text));
}

/// Gives a value to the caller's variable. Throws std::bad_alloc, and then leaves the variable alone.
template <class T>
void to_c(const T& value, T* out) {
    *out = value;
}
inline void to_c(std::string_view text, char** out) {
    *out = new_element(text);
}

template <class Element>
void to_c(const std::vector<Element>& elements, Pointee<Element>*** out, int* length) {
    ArrayOwner<Pointee<Element>> array(allocate_slots<Pointee<Element>>(elements.size()));
    std::size_t i = 0;
    for (const Element& element : elements) {
        array.get()[i++] = new_element(element);
    }
    *out = array.release();
    if (length != nullptr) {
        *length = static_cast<int>(elements.size());
    }
}

/// Takes a value from the caller. Nothing for a text that is not JSON. REQUIRES: no pointer is NULL.
template <class T>
std::optional<T> from_c(In<T> in) {
    if constexpr (std::is_same_v<T, value::Json>) {
        return value::canonical_json(in);
    } else if constexpr (value::is_array<T>) {
        T elements;
        for (auto slot = in; *slot != nullptr; ++slot) {
            if constexpr (std::is_same_v<typename T::value_type, std::string>) {
                elements.emplace_back(*slot);
            } else {
                elements.push_back(**slot);
            }
        }
        return elements;
    } else {
        return T(in);
    }
}

}  // namespace zelva::api
