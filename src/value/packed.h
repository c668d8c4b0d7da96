// A value in 16 bytes, as a store holds many of them: a number itself, a string as the text that it was read from.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "value/value.h"

namespace zelva::value {

/// How a packed value of type T is looked at: texts as they stand, and only arrays by reference.
template <class T>
using View = std::conditional_t<
    is_array<T>, const T&,
    std::conditional_t<std::is_same_v<T, std::string> || std::is_same_v<T, Json>, std::string_view, T>>;

class Packed {
  public:
    /// No value.
    Packed() = default;
    explicit Packed(const Value& value);
    Packed(Packed&& other) noexcept { *this = std::move(other); }
    Packed& operator=(Packed&& other) noexcept {
        std::swap(content_, other.content_);
        std::swap(size_, other.size_);
        std::swap(type_, other.type_);
        std::swap(storage_, other.storage_);
        return *this;
    }
    ~Packed() {
        if (storage_ == Storage::own_text || storage_ == Storage::own_value) {
            release();
        }
    }

    /// Reads a value from its tag and text, as read_value. It may refer to the text, which must then live longer.
    static Packed read(std::string_view text);

    bool has_value() const { return storage_ != Storage::nothing; }

    // REQUIRES: has_value(); and that T is the type.

    Type type() const { return static_cast<Type>(type_); }

    template <class T>
    View<T> get() const {
        if constexpr (is_array<T>) {
            return std::get<T>(*content_.value);
        } else if constexpr (std::is_same_v<T, int>) {
            return content_.integer;
        } else if constexpr (std::is_same_v<T, bool>) {
            return content_.truth;
        } else if constexpr (std::is_same_v<T, double>) {
            return content_.real;
        } else {
            return {content_.text, size_};
        }
    }

    /// A copy that stands by itself.
    Value value() const;

  private:
    void refer_to(std::string_view text, Type type);
    void release();

    enum class Storage : std::uint8_t { nothing, inside, in_text, own_text, own_value };

    union Content {
        int integer;
        bool truth;
        double real;
        const char* text;
        const Value* value;
    };
    Content content_{};
    std::uint32_t size_ = 0;  // of a text
    std::uint8_t type_ = 0;
    Storage storage_ = Storage::nothing;
};

/// Whether two values have the same text.
bool is_same(const Packed& left, const Value& right);

}  // namespace zelva::value
