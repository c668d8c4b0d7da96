// A value as a store hands it out, without a copy: a number itself, a text or an array where it stands.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

#include "value/value.h"

namespace zelva::value {

/// How a value of type T is looked at: texts as they stand, and only arrays by reference.
template <class T>
using View = std::conditional_t<
    is_array<T>, const T&,
    std::conditional_t<std::is_same_v<T, std::string> || std::is_same_v<T, Json>, std::string_view, T>>;

/// What it refers to must outlive it.
class Content {
  public:
    /// 0.
    Content() : Content(0) {}
    explicit Content(int integer) : type_(type_for<int>), integer_(integer) {}
    explicit Content(bool truth) : type_(type_for<bool>), truth_(truth) {}
    explicit Content(double real) : type_(type_for<double>), real_(real) {}
    /// A string, or a canonical JSON text.
    Content(Type type, std::string_view text) : type_(type), text_(text) {}
    /// An array, of this type.
    Content(Type type, const Value* array) : type_(type), array_(array) {}

    Type type() const { return type_; }

    /// REQUIRES: T is the type.
    template <class T>
    View<T> get() const {
        if constexpr (is_array<T>) {
            return std::get<T>(*array_);
        } else if constexpr (std::is_same_v<T, int>) {
            return integer_;
        } else if constexpr (std::is_same_v<T, bool>) {
            return truth_;
        } else if constexpr (std::is_same_v<T, double>) {
            return real_;
        } else {
            return text_;
        }
    }

    /// A copy that stands by itself.
    Value value() const {
        switch (type_) {
            case ZELVA_CORE_SETTING_TYPE_STRING:
                return std::string(text_);
            case ZELVA_CORE_SETTING_TYPE_JSON:
                return Json{std::string(text_)};
            case ZELVA_CORE_SETTING_TYPE_INT:
                return integer_;
            case ZELVA_CORE_SETTING_TYPE_BOOL:
                return truth_;
            case ZELVA_CORE_SETTING_TYPE_DOUBLE:
                return real_;
            default:
                return *array_;
        }
    }

  private:
    Type type_;
    union {
        int integer_;
        bool truth_;
        double real_;
        std::string_view text_;
        const Value* array_;
    };
};

}  // namespace zelva::value
