// What a store holds in memory: its keys, each with its value, its default and where their lines are in the file.
//
// The names of entries are those of lines: a key's default is an entry under the key's name with "DEFAULT_" before it.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
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
    void reserve(std::size_t keys);

    /// Adds an entry of a file, whose text outlives this. Gives the line that its name had before, if it had one.
    std::optional<file::Line> add(std::string_view name, value::Packed&& value, file::Line line);

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
    /// What there is of a key. As large as what processors read at once.
    struct Record {
        value::Packed key;  // a string
        std::array<Held, 2> slots;

        std::string_view name() const { return key.get<std::string>(); }
        const Held& at(Slot slot) const { return slots[static_cast<std::size_t>(slot)]; }
        Held& at(Slot slot) { return slots[static_cast<std::size_t>(slot)]; }
        bool is_empty() const { return !slots[0].value.has_value() && !slots[1].value.has_value(); }
    };

    /// A place in a hash table with open addressing: a key is in the bucket that its hash tells, or in one of those
    /// that follow without an empty one between. To look a key up then costs one look at a bucket and one at its
    /// record, where the standard library's table, a list of nodes, takes twice as long (measured with 10,000 keys).
    struct Bucket {
        std::uint32_t record = none;  // its number
        std::uint32_t hash = 0;
    };
    static constexpr std::uint32_t none = UINT32_MAX;

    /// The bucket of a key, or the empty one where it would be.
    std::size_t bucket_of(std::string_view key, std::uint32_t hash) const;
    std::size_t after(std::size_t bucket) const { return (bucket + 1) & (buckets_.size() - 1); }

    /// nullptr where there is none.
    const Record* record_of(std::string_view key) const;
    Record* record_of(std::string_view key) { return const_cast<Record*>(std::as_const(*this).record_of(key)); }
    Record& add_record(value::Packed key);
    void remove_record(std::string_view key);
    void resize_table(std::size_t size);
    std::vector<Record*>::iterator place_of(std::string_view key);

    std::deque<Record> records_;
    std::vector<Bucket> buckets_;  // none, or a power of two of them, of which three quarters are in use at most
    bool is_sorted_ = false;
    std::vector<Record*> sorted_;  // once there has been a list
};

}  // namespace zelva::store
