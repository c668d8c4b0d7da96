#include "format/entries.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

#include "value/text.h"

namespace zelva::format {

namespace {

std::size_t hash_of(std::string_view key) {
    return std::hash<std::string_view>()(key);
}

}  // namespace

void* Entries::Pool::take(std::size_t size) {
    constexpr std::size_t usual_block = 65536;
    size = (size + alignof(Record) - 1) / alignof(Record) * alignof(Record);
    if (size > left_) {
        const std::size_t block_size = std::max(size, usual_block);
        std::unique_ptr<char[]> block(new char[block_size]);
        blocks_.push_back(std::move(block));
        left_ = block_size;
    }
    left_ -= size;
    return blocks_.back().get() + left_;
}

Entries::Record::Owner Entries::Record::make(std::string_view name, Pool* pool) {
    const std::size_t size = sizeof(Record) + name.size();
    void* const memory = pool != nullptr ? pool->take(size) : ::operator new(size);
    std::copy(name.begin(), name.end(), static_cast<char*>(memory) + sizeof(Record));
    return Owner(new (memory) Record(name.size(), pool != nullptr));
}

void Entries::Record::Delete::operator()(Record* record) const {
    const bool is_pooled = record->is_pooled_;
    record->~Record();
    if (!is_pooled) {
        ::operator delete(record);
    }
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

std::pair<Entries::Record*, bool> Entries::record_or_new(std::string_view key, Pool* pool) {
    reserve(count_ + 1);
    const std::size_t hash = hash_of(key);
    Bucket& bucket = buckets_[bucket_of(key, hash)];
    const bool is_new = !bucket.record;
    if (is_new) {
        bucket = {Record::make(key, pool), hash};
        ++count_;
    }
    return {bucket.record.get(), is_new};
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

std::optional<Place> Entries::add(std::string_view name, value::Packed&& value, Place place) {
    const auto [key, slot] = parse_name(name);
    // A key's two lines mostly follow each other.
    if (last_added_ == nullptr || last_added_->name() != key) {
        last_added_ = record_or_new(key, &pool_).first;
    }
    Cell& cell = last_added_->at(slot);
    const auto earlier = cell.value.has_value() ? std::optional(cell.place) : std::nullopt;
    cell.value = std::move(value);
    cell.place = place;
    return earlier;
}

const Cell* Entries::find(std::string_view key, Slot slot) const {
    const Record* const record = record_of(key);
    return record != nullptr && record->at(slot).value.has_value() ? &record->at(slot) : nullptr;
}

Cell* Entries::find(std::string_view name) {
    const auto [key, slot] = parse_name(name);
    return const_cast<Cell*>(find(key, slot));
}

void Entries::prepare(std::string_view name) {
    const std::string_view key = parse_name(name).key;
    if (is_sorted_ && sorted_.size() == sorted_.capacity()) {
        sorted_.reserve(2 * sorted_.size() + 1);
    }
    const auto [record, is_new] = record_or_new(key, nullptr);
    if (is_sorted_ && is_new) {
        sorted_.insert(place_of(key), record);
    }
}

void Entries::exchange(std::string_view name, Cell& cell) {
    const auto [key, slot] = parse_name(name);
    if (Record* const record = record_of(key)) {
        std::swap(record->at(slot), cell);
    }
}

void Entries::give_back(std::string_view name) {
    const std::string_view key = parse_name(name).key;
    const Record* const record = record_of(key);
    if (record != nullptr && record->is_empty()) {
        remove_record(key);
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

void Entries::list(std::string_view prefix, value::FunctionRef<void(std::string_view)> visit) {
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
            visit((*place)->name());
        }
    }
}

}  // namespace zelva::format
