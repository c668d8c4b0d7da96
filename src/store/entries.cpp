#include "store/entries.h"

#include <algorithm>
#include <utility>

#include "value/text.h"

namespace zelva::store {

namespace {

constexpr std::string_view default_prefix = "DEFAULT_";

/// The key and the slot that a name stands for.
std::pair<std::string_view, Slot> parsed(std::string_view name) {
    return is_reserved(name) ? std::pair(name.substr(default_prefix.size()), Slot::default_value)
                             : std::pair(name, Slot::value);
}

std::uint32_t hash_of(std::string_view key) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(key));
}

}  // namespace

bool is_reserved(std::string_view name) {
    return value::begins_with(name, default_prefix);
}

std::string entry_name(std::string_view key, Slot slot) {
    std::string name(slot == Slot::value ? "" : default_prefix);
    name += key;
    return name;
}

std::size_t Entries::bucket_of(std::string_view key, std::uint32_t hash) const {
    std::size_t bucket = hash & (buckets_.size() - 1);
    while (buckets_[bucket].record != none &&
           (buckets_[bucket].hash != hash || records_[buckets_[bucket].record].name() != key)) {
        bucket = after(bucket);
    }
    return bucket;
}

const Entries::Record* Entries::record_of(std::string_view key) const {
    if (buckets_.empty()) {
        return nullptr;
    }
    const std::uint32_t record = buckets_[bucket_of(key, hash_of(key))].record;
    return record == none ? nullptr : &records_[record];
}

void Entries::resize_table(std::size_t size) {
    const std::vector<Bucket> old = std::exchange(buckets_, std::vector<Bucket>(size));
    for (const Bucket& bucket : old) {
        if (bucket.record != none) {
            buckets_[bucket_of(records_[bucket.record].name(), bucket.hash)] = bucket;
        }
    }
}

void Entries::reserve(std::size_t keys) {
    constexpr std::size_t smallest = 16;
    std::size_t size = std::max(smallest, buckets_.size());
    while (size / 4 * 3 < keys) {
        size *= 2;
    }
    if (size != buckets_.size()) {
        resize_table(size);
    }
}

Entries::Record& Entries::add_record(value::Packed key) {
    reserve(records_.size() + 1);
    Record& record = records_.emplace_back();
    record.key = std::move(key);
    const std::uint32_t hash = hash_of(record.name());
    buckets_[bucket_of(record.name(), hash)] = {static_cast<std::uint32_t>(records_.size() - 1), hash};
    return record;
}

void Entries::remove_record(std::string_view key) {
    std::size_t hole = bucket_of(key, hash_of(key));
    const std::uint32_t number = std::exchange(buckets_[hole], {}).record;
    for (std::size_t next = after(hole); buckets_[next].record != none; next = after(next)) {
        // A key must be found without passing an empty bucket.
        const std::size_t wanted = buckets_[next].hash & (buckets_.size() - 1);
        const bool is_between = hole <= next ? hole < wanted && wanted <= next : hole < wanted || wanted <= next;
        if (!is_between) {
            buckets_[std::exchange(hole, next)] = std::exchange(buckets_[next], {});
        }
    }
    Record& record = records_[number];
    if (is_sorted_) {
        sorted_.erase(place_of(key));
    }
    // The last record takes the place of this one.
    Record& last = records_.back();
    if (&last != &record) {
        buckets_[bucket_of(last.name(), hash_of(last.name()))].record = number;
        if (is_sorted_) {
            *place_of(last.name()) = &record;
        }
        record = std::move(last);
    }
    records_.pop_back();
}

std::optional<file::Line> Entries::add(std::string_view name, value::Packed&& value, file::Line line) {
    const auto [key, slot] = parsed(name);
    // A key's two lines mostly follow each other.
    const bool is_last = !records_.empty() && records_.back().name() == key;
    Record* record = is_last ? &records_.back() : record_of(key);
    if (record == nullptr) {
        record = &add_record(value::Packed::string_in(key));
    }
    Held& held = record->at(slot);
    const auto earlier = held.value.has_value() ? std::optional(held.line) : std::nullopt;
    held.value = std::move(value);
    held.line = line;
    return earlier;
}

const Held* Entries::find(std::string_view key, Slot slot) const {
    const Record* const record = record_of(key);
    return record != nullptr && record->at(slot).value.has_value() ? &record->at(slot) : nullptr;
}

Held* Entries::find(std::string_view name) {
    const auto [key, slot] = parsed(name);
    return const_cast<Held*>(find(key, slot));
}

void Entries::prepare(std::string_view name) {
    const std::string_view key = parsed(name).first;
    if (record_of(key) != nullptr) {
        return;
    }
    if (is_sorted_ && sorted_.size() == sorted_.capacity()) {
        sorted_.reserve(2 * sorted_.size() + 1);
    }
    Record& record = add_record(value::Packed(value::Value(std::string(key))));
    if (is_sorted_) {
        sorted_.insert(place_of(key), &record);
    }
}

void Entries::put(std::string_view name, Held held) {
    const auto [key, slot] = parsed(name);
    if (Record* const record = record_of(key)) {
        record->at(slot) = std::move(held);
    }
}

void Entries::give_back(std::string_view name) {
    const std::string_view key = parsed(name).first;
    const Record* const record = record_of(key);
    if (record != nullptr && record->is_empty()) {
        remove_record(key);
    }
}

void Entries::erase(std::string_view name) {
    if (Held* const held = find(name)) {
        *held = {};
        give_back(name);
    }
}

bool Entries::has_keys() const {
    return std::any_of(records_.begin(), records_.end(),
                       [](const Record& record) { return record.at(Slot::value).value.has_value(); });
}

std::vector<Entries::Record*>::iterator Entries::place_of(std::string_view key) {
    return std::lower_bound(sorted_.begin(), sorted_.end(), key,
                            [](const Record* record, std::string_view other) { return record->name() < other; });
}

void Entries::list(std::string_view prefix, const std::function<void(std::string_view)>& use) {
    if (!is_sorted_) {
        sorted_.reserve(records_.size());
        for (Record& record : records_) {
            sorted_.push_back(&record);
        }
        std::sort(sorted_.begin(), sorted_.end(),
                  [](const Record* left, const Record* right) { return left->name() < right->name(); });
        is_sorted_ = true;
    }
    for (auto place = place_of(prefix); place != sorted_.end() && value::begins_with((*place)->name(), prefix);
         ++place) {
        // A default without its key is nothing to a program.
        if ((*place)->at(Slot::value).value.has_value()) {
            use((*place)->name());
        }
    }
}

}  // namespace zelva::store
