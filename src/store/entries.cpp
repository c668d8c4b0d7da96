#include "store/entries.h"

#include <algorithm>
#include <new>
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

std::size_t hash_of(std::string_view key) {
    return std::hash<std::string_view>()(key);
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

Entries::Record::Owner Entries::Record::make(std::string_view name) {
    void* const memory = ::operator new(sizeof(Record) + name.size());
    std::copy(name.begin(), name.end(), static_cast<char*>(memory) + sizeof(Record));
    return Owner(new (memory) Record(name.size()));
}

void Entries::Record::Delete::operator()(Record* record) const {
    record->~Record();
    ::operator delete(record);
}

std::size_t Entries::bucket_of(std::string_view key, std::size_t hash) const {
    std::size_t bucket = hash & (buckets_.size() - 1);
    while (buckets_[bucket].record && (buckets_[bucket].hash != hash || buckets_[bucket].record->name() != key)) {
        bucket = after(bucket);
    }
    return bucket;
}

Entries::Record* Entries::record_of(std::string_view key) const {
    return buckets_.empty() ? nullptr : buckets_[bucket_of(key, hash_of(key))].record.get();
}

void Entries::resize_table(std::size_t size) {
    std::vector<Bucket> old = std::exchange(buckets_, std::vector<Bucket>(size));
    for (Bucket& bucket : old) {
        if (bucket.record) {
            buckets_[bucket_of(bucket.record->name(), bucket.hash)] = std::move(bucket);
        }
    }
}

void Entries::reserve(std::size_t keys) {
    constexpr std::size_t smallest = 16;
    std::size_t size = std::max(smallest, buckets_.size());
    while (size / 8 * 7 < keys) {
        size *= 2;
    }
    if (size != buckets_.size()) {
        resize_table(size);
    }
}

Entries::Record* Entries::add_record(std::string_view key) {
    reserve(count_ + 1);
    const std::size_t hash = hash_of(key);
    Bucket& bucket = buckets_[bucket_of(key, hash)];
    bucket = {Record::make(key), hash};
    ++count_;
    return bucket.record.get();
}

void Entries::remove_record(std::string_view key) {
    if (is_sorted_) {
        sorted_.erase(place_of(key));
    }
    std::size_t hole = bucket_of(key, hash_of(key));
    buckets_[hole] = {};
    --count_;
    last_added_ = nullptr;
    for (std::size_t next = after(hole); buckets_[next].record; next = after(next)) {
        // A key must be found without passing an empty bucket.
        const std::size_t wanted = buckets_[next].hash & (buckets_.size() - 1);
        const bool is_between = hole <= next ? hole < wanted && wanted <= next : hole < wanted || wanted <= next;
        if (!is_between) {
            buckets_[std::exchange(hole, next)] = std::move(buckets_[next]);
        }
    }
}

std::optional<file::Line> Entries::add(std::string_view name, value::Packed&& value, file::Line line) {
    const auto [key, slot] = parsed(name);
    // A key's two lines mostly follow each other.
    if (last_added_ == nullptr || last_added_->name() != key) {
        Record* const present = record_of(key);
        last_added_ = present != nullptr ? present : add_record(key);
    }
    Held& held = last_added_->at(slot);
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
    Record* const record = add_record(key);
    if (is_sorted_) {
        sorted_.insert(place_of(key), record);
    }
}

void Entries::put(std::string_view name, Held held) {
    const auto [key, slot] = parsed(name);
    record_of(key)->at(slot) = std::move(held);
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
    return std::any_of(buckets_.begin(), buckets_.end(), [](const Bucket& bucket) {
        return bucket.record && bucket.record->at(Slot::value).value.has_value();
    });
}

std::vector<Entries::Record*>::iterator Entries::place_of(std::string_view key) {
    return std::lower_bound(sorted_.begin(), sorted_.end(), key,
                            [](const Record* record, std::string_view other) { return record->name() < other; });
}

void Entries::list(std::string_view prefix, const std::function<void(std::string_view)>& use) {
    if (!is_sorted_) {
        sorted_.reserve(count_);
        for (const Bucket& bucket : buckets_) {
            if (bucket.record) {
                sorted_.push_back(bucket.record.get());
            }
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
