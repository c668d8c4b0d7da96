#include "format/entries.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "value/text.h"

namespace zelva::format {

using value::Content;
using value::Type;
using value::Value;

/// What is known of a value. `judged` and those that follow: it is of the type that is so much more.
enum Entries::State : std::uint32_t {
    empty,  // there is no entry
    unjudged,
    invalid,
    own_json,  // of a JSON text that does not stand in the file in its canonical form
    judged
};

namespace {

constexpr std::uint32_t state_bits = 4;
constexpr std::uint32_t state_mask = (1U << state_bits) - 1;

constexpr bool is_array_type(Type type) {
    return type > ZELVA_CORE_SETTING_TYPE_DOUBLE;
}

/// The bytes of a number or a pointer, and back.
template <class T>
std::uint64_t bits_of(T what) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &what, sizeof what);
    return bits;
}
template <class T>
T read_bits(std::uint64_t bits) {
    T what{};
    std::memcpy(&what, &bits, sizeof what);
    return what;
}

const Value* value_in(std::uint64_t content) {
    return static_cast<const Value*>(read_bits<const void*>(content));
}

}  // namespace

Entries::~Entries() {
    for (const Table& table : tables_) {
        for (std::size_t i = 0; i < table.size; ++i) {
            table.buckets[i].clear();
        }
    }
}

Entries::State Entries::Bucket::state() const {
    return static_cast<State>(tag.load(std::memory_order_acquire) & state_mask);
}

/// Moves what another bucket holds to this one, which is empty.
void Entries::Bucket::take(Bucket& other) {
    offset = other.offset;
    content.store(other.content.exchange(0, std::memory_order_relaxed), std::memory_order_relaxed);
    tag.store(other.tag.exchange(empty, std::memory_order_relaxed), std::memory_order_relaxed);
}

void Entries::Bucket::clear() {
    const State old = state();
    if (old == own_json || (old >= judged && is_array_type(static_cast<Type>(old - judged)))) {
        delete value_in(content.load(std::memory_order_relaxed));
    }
    content.store(0, std::memory_order_relaxed);
    tag.store(empty, std::memory_order_relaxed);
}

inline std::size_t Entries::Table::home_of(std::uint32_t tag) const {
    return (tag >> state_bits) & (size - 1);
}

inline bool Entries::is_at(std::uint32_t offset, std::string_view key, Slot slot) const {
    const std::size_t prefix = slot == Slot::value ? 0 : default_prefix.size();
    if (text_.size() - offset <= prefix + key.size()) {
        return false;
    }
    const char* text = text_.data() + offset + prefix;
    if (std::memcmp(text, key.data(), key.size()) != 0) {
        return false;
    }
    text += key.size();
    while (value::is_blank(*text)) {
        ++text;  // at the end of the text there is a NUL
    }
    // What ends in a blank, or holds a '=', is no name.
    return *text == '=' && key.find('=') == std::string_view::npos && (key.empty() || !value::is_blank(key.back()));
}

Entries::Bucket& Entries::bucket_of(std::string_view key, Slot slot) const {
    const Table& in = table(slot);
    const std::uint32_t hash = hash_of_name(key) << state_bits;
    for (std::size_t i = in.home_of(hash);; i = in.after(i)) {
        const std::uint32_t tag = in.buckets[i].tag.load(std::memory_order_relaxed);
        if (tag == empty || ((tag & ~state_mask) == hash && is_at(in.buckets[i].offset, key, slot))) {
            return in.buckets[i];
        }
    }
}

std::string_view Entries::line_at(std::uint32_t offset) const {
    const std::string_view text(text_);
    return text.substr(offset, text.find('\n', offset) - offset);
}

/// The line of the name that lies there.
Place Entries::place_at(std::uint32_t offset) const {
    std::size_t begin = offset;
    while (begin > 0 && value::is_blank(text_[begin - 1])) {
        --begin;
    }
    const std::size_t end = std::min(text_.find('\n', offset), text_.size() - 1) + 1;
    return {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin)};
}

/// Several threads may judge the same value.
Entries::State Entries::judge(Bucket& bucket) const {
    const std::string_view text = value_text_in(line_at(bucket.offset));
    std::uint64_t content = 0;
    State state = invalid;
    if (value::begins_with(text, "S")) {
        content = place_of_text(text.substr(1));
        state = judged_as(ZELVA_CORE_SETTING_TYPE_STRING);
    } else if (std::optional<Value> value = value::read_value(text)) {
        state = judged_as(value::type_of(*value));
        const value::Json* const json = std::get_if<value::Json>(&*value);
        if (const int* const integer = std::get_if<int>(&*value)) {
            content = bits_of(*integer);
        } else if (const bool* const truth = std::get_if<bool>(&*value)) {
            content = bits_of(*truth);
        } else if (const double* const real = std::get_if<double>(&*value)) {
            content = bits_of(*real);
        } else if (json != nullptr && json->text == text.substr(1)) {
            content = place_of_text(text.substr(1));
        } else {
            state = json != nullptr ? own_json : state;
            auto own = std::make_unique<const Value>(*std::move(value));
            std::uint64_t none = 0;
            if (bucket.content.compare_exchange_strong(none, bits_of<const void*>(own.get()))) {
                static_cast<void>(own.release());
            }
            content = bucket.content.load(std::memory_order_relaxed);
        }
    }
    bucket.content.store(content, std::memory_order_relaxed);
    bucket.tag.store((bucket.tag.load(std::memory_order_relaxed) & ~state_mask) | state, std::memory_order_release);
    return state;
}

std::uint64_t Entries::place_of_text(std::string_view part) const {
    return static_cast<std::uint64_t>(part.data() - text_.data()) << 32U | part.size();
}

Entries::State Entries::judged_as(Type type) {
    return static_cast<State>(judged + static_cast<std::uint32_t>(type));
}

bool Entries::is_judged_valid(Bucket& bucket) const {
    const State state = bucket.state();
    return (state == unjudged ? judge(bucket) : state) > invalid;
}

inline Entries::Bucket* Entries::find(std::string_view key, Slot slot) const {
    if (table(slot).size == 0) {
        return nullptr;
    }
    Bucket& bucket = bucket_of(key, slot);
    return is_judged_valid(bucket) ? &bucket : nullptr;
}

bool Entries::contains(std::string_view key, Slot slot) const {
    return find(key, slot) != nullptr;
}

std::optional<Place> Entries::place_of(std::string_view key, Slot slot) const {
    const Bucket* const bucket = find(key, slot);
    return bucket != nullptr ? std::optional(place_at(bucket->offset)) : std::nullopt;
}

bool Entries::find(std::string_view key, Slot slot, Content& found) const {
    const Bucket* const bucket = find(key, slot);
    if (bucket == nullptr) {
        return false;
    }
    const std::uint64_t content = bucket->content.load(std::memory_order_relaxed);
    const std::uint32_t state = bucket->tag.load(std::memory_order_relaxed) & state_mask;
    if (state == own_json) {
        found = Content(ZELVA_CORE_SETTING_TYPE_JSON, std::get<value::Json>(*value_in(content)).text);
        return true;
    }
    const auto type = static_cast<Type>(state - judged);
    switch (type) {
        case ZELVA_CORE_SETTING_TYPE_STRING:
        case ZELVA_CORE_SETTING_TYPE_JSON:
            found = Content(type, {text_.data() + (content >> 32U), static_cast<std::uint32_t>(content)});
            break;
        case ZELVA_CORE_SETTING_TYPE_INT:
            found = Content(read_bits<int>(content));
            break;
        case ZELVA_CORE_SETTING_TYPE_BOOL:
            found = Content(read_bits<bool>(content));
            break;
        case ZELVA_CORE_SETTING_TYPE_DOUBLE:
            found = Content(read_bits<double>(content));
            break;
        default:
            found = Content(type, value_in(content));
    }
    return true;
}

/// So that so many entries have room.
void Entries::Table::make_room(std::size_t entries) {
    constexpr std::size_t smallest = 16;
    std::size_t new_size = std::max(size, smallest);
    while (new_size / 5 * 4 < entries) {
        new_size *= 2;
    }
    if (new_size == size) {
        return;
    }
    const std::unique_ptr<Bucket[]> old = std::exchange(buckets, std::make_unique<Bucket[]>(new_size));
    const std::size_t old_size = std::exchange(size, new_size);
    for (std::size_t i = 0; i < old_size; ++i) {
        if (old[i].state() != empty) {
            std::size_t bucket = home_of(old[i].tag.load(std::memory_order_relaxed));
            while (buckets[bucket].state() != empty) {
                bucket = after(bucket);
            }
            buckets[bucket].take(old[i]);
        }
    }
}

void Entries::Table::remove(std::size_t hole) {
    buckets[hole].clear();
    --count;
    for (std::size_t next = after(hole); buckets[next].state() != empty; next = after(next)) {
        // An entry must be found without passing an empty bucket.
        const std::size_t home = home_of(buckets[next].tag.load(std::memory_order_relaxed));
        const bool is_between = hole <= next ? hole < home && home <= next : hole < home || home <= next;
        if (!is_between) {
            buckets[std::exchange(hole, next)].take(buckets[next]);
        }
    }
}

std::optional<Place> Entries::add(std::string_view name) {
    constexpr std::size_t usual_line = 48;
    const auto [key, slot] = parse_name(name);
    Table& in = table(slot);
    if (in.count == in.most_entries()) {
        // Mostly each key has a default.
        in.make_room(in.size == 0 ? text_.size() / (2 * usual_line) : in.count + 1);
    }
    Bucket& bucket = bucket_of(key, slot);
    const auto offset = static_cast<std::uint32_t>(name.data() - text_.data());
    std::optional<Place> superseded;
    if (bucket.state() == empty) {
        ++in.count;
    } else {
        Bucket later;
        later.offset = offset;
        const bool is_valid = judge(later) > invalid;
        later.clear();
        if (!is_valid) {
            return std::nullopt;  // a line that is none
        }
        if (is_judged_valid(bucket)) {
            superseded = place_at(bucket.offset);
        }
        bucket.clear();
    }
    bucket.offset = offset;
    bucket.tag.store(hash_of_name(key) << state_bits | unjudged, std::memory_order_relaxed);
    return superseded;
}

bool Entries::is_prepared(const Batch& batch, std::size_t text_size) const {
    const bool is_new = std::any_of(batch.begin(), batch.end(),
                                    [](const Change& change) { return change.gives_value() && !change.place; });
    return !is_new && text_size <= text_.capacity();
}

void Entries::prepare(const Batch& batch, std::size_t text_size) {
    if (text_size > text_.capacity()) {
        text_.reserve(std::max(text_size, text_.size() + text_.size() / 2));
    }
    for (Table& table : tables_) {
        table.make_room(table.count + batch.size());
    }
    if (is_sorted_ && sorted_.capacity() < sorted_.size() + batch.size()) {
        sorted_.reserve(2 * sorted_.size() + batch.size());
    }
}

void Entries::put(const Change& change, Place place) noexcept {
    const auto [key, slot] = parse_name(change.name);
    Table& in = table(slot);
    if (in.size == 0) {
        return;  // there is nothing to remove
    }
    Bucket& bucket = bucket_of(key, slot);
    if (slot == Slot::value) {
        keep_sorted(change, is_judged_valid(bucket), place.offset);
    }
    if (!change.gives_value()) {
        if (bucket.state() != empty) {
            in.remove(static_cast<std::size_t>(&bucket - in.buckets.get()));
        }
        return;
    }
    text_.resize(std::max<std::size_t>(text_.size(), place.offset + place.size), '\n');
    text_.replace(place.offset, place.size, change.line);
    in.count += bucket.state() == empty ? 1 : 0;
    bucket.clear();
    bucket.offset = place.offset;
    bucket.tag.store(hash_of_name(key) << state_bits | unjudged, std::memory_order_relaxed);
}

bool Entries::has_keys() const {
    const Table& values = table(Slot::value);
    return std::any_of(values.buckets.get(), values.buckets.get() + values.size,
                       [this](Bucket& bucket) { return is_judged_valid(bucket); });
}

std::vector<Entries::Name>::iterator Entries::sorted_place(std::string_view key) {
    return std::lower_bound(sorted_.begin(), sorted_.end(), key,
                            [this](const Name& name, std::string_view other) { return text_of(name) < other; });
}

void Entries::sort() {
    const Table& values = table(Slot::value);
    sorted_.reserve(values.count);
    for (std::size_t i = 0; i < values.size; ++i) {
        Bucket& bucket = values.buckets[i];
        if (is_judged_valid(bucket)) {
            const std::string_view name = *name_in(line_at(bucket.offset));
            sorted_.push_back({bucket.offset, static_cast<std::uint32_t>(name.size())});
        }
    }
    std::sort(sorted_.begin(), sorted_.end(),
              [this](const Name& left, const Name& right) { return text_of(left) < text_of(right); });
    is_sorted_ = true;
}

void Entries::list(std::string_view prefix, value::FunctionRef<void(std::string_view)> visit) {
    if (!is_sorted_) {
        sorted_.clear();  // there may have been no memory for all of them
        sort();
    }
    for (auto place = sorted_place(prefix); place != sorted_.end(); ++place) {
        if (!value::begins_with(text_of(*place), prefix)) {
            return;
        }
        visit(text_of(*place));
    }
}

/// Before a change of a key's value.
void Entries::keep_sorted(const Change& change, bool is_there, std::uint32_t offset) {
    if (!is_sorted_) {
        return;
    }
    const auto place = sorted_place(change.name);
    if (is_there && !change.gives_value()) {
        sorted_.erase(place);
    } else if (is_there) {
        place->offset = offset;
    } else if (change.gives_value()) {
        sorted_.insert(place, {offset, static_cast<std::uint32_t>(change.name.size())});
    }
}

}  // namespace zelva::format
