// The entries of a settings file, by key: an index of its text.
//
// A value is judged when it is first asked for, or when a second line of its name comes, since only then does it matter
// which of the two counts. Opening takes two thirds of the time that it took with records and all values judged
// (measured with 10,000 keys).
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "format/batch.h"
#include "format/line.h"
#include "value/content.h"
#include "value/function_ref.h"

namespace zelva::format {

/// Any number of threads may call the const member functions at the same time, but for list().
class Entries {
  public:
    Entries() = default;
    explicit Entries(std::string&& text) : text_(std::move(text)) {}
    Entries(const Entries&) = delete;
    Entries& operator=(const Entries&) = delete;
    ~Entries();

    /// The file's text, as far as entries refer to it: of lines that have come since it was read, only those of
    /// entries.
    std::string_view text() const { return text_; }

    /// Adds what looks like an entry, whose name is a part of the text. Gives the place of the line that it supersedes,
    /// if any.
    std::optional<Place> add(std::string_view name);

    /// Finds a value. What is found lives until the next change.
    bool find(std::string_view key, Slot slot, value::Content& found) const;
    bool contains(std::string_view key, Slot slot) const;

    /// The line of an entry; nothing where there is none.
    std::optional<Place> place_of(std::string_view key, Slot slot) const;

    bool has_keys() const;

    /// Calls `visit` with each key that has a value and begins with `prefix`, in order. The first call sorts all keys,
    /// and later changes keep that order. One thread at a time.
    void list(std::string_view prefix, value::FunctionRef<void(std::string_view)> visit);

    /// Makes room for the changes of a batch, whose lines end at `text_size` at most. put() then takes no memory.
    void prepare(const Batch& batch, std::size_t text_size);
    bool is_prepared(const Batch& batch, std::size_t text_size) const;

    /// Makes a change, whose line, if any, is in this place.
    void put(const Change& change, Place place) noexcept;

  private:
    enum State : std::uint32_t;

    /// An entry. With the text, a get waits for two cache lines.
    struct Bucket {
        std::atomic<std::uint32_t> tag{0};      // hash and state; 0 for an empty bucket
        std::uint32_t offset = 0;               // of the name in the text
        std::atomic<std::uint64_t> content{0};  // of a judged value: a number, where a text lies, or a pointer

        State state() const;
        void take(Bucket& other);
        void clear();
    };

    /// A hash table with open addressing: an entry is in the bucket that its hash tells, or in one of those that follow
    /// without an empty one between. Values and defaults have one each, since defaults are seldom read.
    struct Table {
        std::size_t most_entries() const { return size / 5 * 4; }
        std::size_t home_of(std::uint32_t tag) const;
        std::size_t after(std::size_t bucket) const { return (bucket + 1) & (size - 1); }
        void make_room(std::size_t entries);
        void remove(std::size_t hole);

        std::unique_ptr<Bucket[]> buckets;
        std::size_t size = 0;   // 0, or a power of two
        std::size_t count = 0;  // of buckets that are in use
    };

    /// A key's name in the text.
    struct Name {
        std::uint32_t offset;
        std::uint32_t size;
    };

    Table& table(Slot slot) { return tables_[static_cast<std::size_t>(slot)]; }
    const Table& table(Slot slot) const { return tables_[static_cast<std::size_t>(slot)]; }

    /// The bucket of an entry, or the empty one where it would be. REQUIRES: the table is not empty.
    Bucket& bucket_of(std::string_view key, Slot slot) const;
    /// The bucket of an entry with a value; nullptr where there is none.
    Bucket* find(std::string_view key, Slot slot) const;
    bool is_at(std::uint32_t offset, std::string_view key, Slot slot) const;
    std::string_view line_at(std::uint32_t offset) const;
    Place place_at(std::uint32_t offset) const;

    bool is_judged_valid(Bucket& bucket) const;
    State judge(Bucket& bucket) const;
    static State judged_as(value::Type type);
    std::uint64_t place_of_text(std::string_view part) const;

    std::string_view text_of(const Name& name) const { return std::string_view(text_).substr(name.offset, name.size); }
    std::vector<Name>::iterator sorted_place(std::string_view key);
    void sort();
    void keep_sorted(const Change& change, bool is_there, std::uint32_t offset);

    std::string text_;
    std::array<Table, 2> tables_;
    bool is_sorted_ = false;
    std::vector<Name> sorted_;  // all keys, once there has been a list
};

}  // namespace zelva::format
