// What a store holds in memory: its keys, each with its value, its default and where their lines are in the file.
//
// The names of entries are those of lines: a key's default is an entry under the key's name with "DEFAULT_" before it.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "file/layout.h"
#include "value/packed.h"

namespace zelva::store {

/// The two entries that a key can have.
enum class Slot { value, default_value };

/// Whether a name is that of a default.
bool is_reserved(std::string_view name);

/// The name of an entry.
std::string entry_name(std::string_view key, Slot slot);

/// A value, and where it stands in the file.
struct Held {
    value::Packed value;
    file::Line line;
};

class Entries {
  public:
    /// Makes room for so many keys.
    void reserve(std::size_t keys) { records_.reserve(keys); }

    /// Adds an entry of a file, whose text outlives this. Gives the line that its name had before, if it had one.
    std::optional<file::Line> add(std::string_view name, value::Packed value, file::Line line);

    /// nullptr where there is none.
    const Held* find(std::string_view key, Slot slot) const;

    /// By its name.
    Held* find(std::string_view name);

    /// Makes room for an entry of this name; it comes to be with put(), which then cannot fail, or the room is given
    /// back.
    void prepare(std::string_view name);
    void put(std::string_view name, Held held);
    void give_back(std::string_view name);

    /// Removes an entry, if there is one.
    void erase(std::string_view name);

    bool has_keys() const;

    /// Calls `use` with each key that has a value and begins with `prefix`, in order. The first call sorts all keys,
    /// and later changes keep that order. One thread at a time.
    void list(std::string_view prefix, const std::function<void(std::string_view)>& use);

  private:
    struct Record {
        std::array<Held, 2> slots;
        std::unique_ptr<char[]> key;  // nullptr where it is part of the file's text

        bool is_empty() const { return !slots[0].value.has_value() && !slots[1].value.has_value(); }
    };
    using Records = std::unordered_map<std::string_view, Record>;

    std::vector<Records::value_type*>::iterator place_of(std::string_view key);

    Records records_;  // by key
    bool is_sorted_ = false;
    std::vector<Records::value_type*> sorted_;  // once there has been a list
};

}  // namespace zelva::store
