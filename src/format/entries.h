// The entries of a settings file, by key: each with its value, its default and the places of their lines.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "format/line.h"
#include "value/function_ref.h"
#include "value/packed.h"

namespace zelva::format {

/// A value, and the place of its line.
struct Cell {
    value::Packed value;
    Place place;
};

class Entries {
  public:
    /// Makes room for so many keys.
    void reserve(std::size_t keys);
    bool is_empty() const { return count_ == 0; }

    /// Adds an entry of a file, whose text outlives this. Gives the place of the entry that it supersedes, if any.
    std::optional<Place> add(std::string_view name, value::Packed&& value, Place place);

    /// nullptr where there is none.
    const Cell* find(std::string_view key, Slot slot) const;

    /// By its name.
    Cell* find(std::string_view name);

    /// Makes room for an entry of this name, which exchange() then cannot lack. An entry that there is needs none.
    void prepare(std::string_view name);

    /// Puts a cell in the place of an entry's, and hands that out: an empty one for an entry that there is not. Takes
    /// no memory. REQUIRES: there is such an entry or room for it, or the cell is empty.
    void exchange(std::string_view name, Cell& cell);

    /// Gives the room back of an entry that is empty.
    void give_back(std::string_view name);

    bool has_keys() const;

    /// Calls `visit` with each key that has a value and begins with `prefix`, in order. The first call sorts all keys,
    /// and later changes keep that order. One thread at a time.
    void list(std::string_view prefix, value::FunctionRef<void(std::string_view)> visit);

  private:
    /// Memory for the records of a file: to ask for that of each by itself takes a fifth of the time that opening takes
    /// (measured with 10,000 keys). It is given back as a whole.
    class Pool {
      public:
        void* take(std::size_t size);

      private:
        std::vector<std::unique_ptr<char[]>> blocks_;
        std::size_t left_ = 0;  // of the last one
    };

    /// What there is of a key, and its name behind that, in one piece of memory: so a look-up waits for it but once.
    class Record {
      public:
        struct Delete {
            void operator()(Record* record) const;
        };
        using Owner = std::unique_ptr<Record, Delete>;

        /// Without a pool, a record has memory of its own.
        static Owner make(std::string_view name, Pool* pool);

        std::string_view name() const { return {reinterpret_cast<const char*>(this + 1), size_}; }
        const Cell& at(Slot slot) const { return slots_[static_cast<std::size_t>(slot)]; }
        Cell& at(Slot slot) { return slots_[static_cast<std::size_t>(slot)]; }
        bool is_empty() const { return !slots_[0].value.has_value() && !slots_[1].value.has_value(); }

      private:
        Record(std::size_t size, bool is_pooled) : size_(static_cast<std::uint32_t>(size)), is_pooled_(is_pooled) {}

        std::array<Cell, 2> slots_;
        const std::uint32_t size_;
        const bool is_pooled_;
    };

    /// A place in a hash table with open addressing: a key is in the bucket that its hash tells, or in one of those
    /// that follow without an empty one between. The standard library's table is a list of nodes, of which a look-up
    /// passes through two, and takes twice as long (measured with 10,000 keys).
    struct Bucket {
        Record::Owner record;
        std::size_t hash = 0;
    };

    /// The bucket of a key, or the empty one where it would be.
    std::size_t bucket_of(std::string_view key, std::size_t hash) const;
    std::size_t after(std::size_t bucket) const { return (bucket + 1) & (buckets_.size() - 1); }

    /// nullptr where there is none.
    Record* record_of(std::string_view key) const;
    /// The record of a key, and whether it was made just now.
    std::pair<Record*, bool> record_or_new(std::string_view key, Pool* pool);
    void remove_record(std::string_view key);
    void resize_table(std::size_t size);
    std::vector<Record*>::iterator place_of(std::string_view key);

    Pool pool_;
    std::size_t count_ = 0;
    std::vector<Bucket> buckets_;  // none, or a power of two of them, of which seven in eight are in use at most
    Record* last_added_ = nullptr;
    bool is_sorted_ = false;
    std::vector<Record*> sorted_;  // once there has been a list
};

}  // namespace zelva::format
