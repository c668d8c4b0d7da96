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

}  // namespace

bool is_reserved(std::string_view name) {
    return value::begins_with(name, default_prefix);
}

std::string entry_name(std::string_view key, Slot slot) {
    std::string name(slot == Slot::value ? "" : default_prefix);
    name += key;
    return name;
}

std::optional<file::Line> Entries::add(std::string_view name, value::Packed value, file::Line line) {
    const auto [key, slot] = parsed(name);
    Held& held = records_[key].slots[static_cast<std::size_t>(slot)];
    const auto earlier = held.value.has_value() ? std::optional(held.line) : std::nullopt;
    held = {std::move(value), line};
    return earlier;
}

const Held* Entries::find(std::string_view key, Slot slot) const {
    const auto record = records_.find(key);
    if (record == records_.end()) {
        return nullptr;
    }
    const Held& held = record->second.slots[static_cast<std::size_t>(slot)];
    return held.value.has_value() ? &held : nullptr;
}

Held* Entries::find(std::string_view name) {
    const auto [key, slot] = parsed(name);
    return const_cast<Held*>(find(key, slot));
}

void Entries::prepare(std::string_view name) {
    const std::string_view key = parsed(name).first;
    if (records_.find(key) != records_.end()) {
        return;
    }
    if (is_sorted_ && sorted_.size() == sorted_.capacity()) {
        sorted_.reserve(2 * sorted_.size() + 1);
    }
    auto text = std::make_unique<char[]>(key.size());
    std::copy(key.begin(), key.end(), text.get());
    const std::string_view own_key(text.get(), key.size());
    const auto record = records_.try_emplace(own_key).first;
    record->second.key = std::move(text);
    if (is_sorted_) {
        sorted_.insert(place_of(key), &*record);
    }
}

void Entries::put(std::string_view name, Held held) {
    const auto [key, slot] = parsed(name);
    records_.find(key)->second.slots[static_cast<std::size_t>(slot)] = std::move(held);
}

void Entries::give_back(std::string_view name) {
    const std::string_view key = parsed(name).first;
    const auto record = records_.find(key);
    if (record == records_.end() || !record->second.is_empty()) {
        return;
    }
    if (is_sorted_) {
        sorted_.erase(place_of(key));
    }
    const std::unique_ptr<char[]> text = std::move(record->second.key);  // the map looks at it until then
    records_.erase(record);
}

void Entries::erase(std::string_view name) {
    if (Held* const held = find(name)) {
        *held = {};
        give_back(name);
    }
}

bool Entries::has_keys() const {
    return std::any_of(records_.begin(), records_.end(),
                       [](const auto& record) { return record.second.slots[0].value.has_value(); });
}

std::vector<Entries::Records::value_type*>::iterator Entries::place_of(std::string_view key) {
    return std::lower_bound(
        sorted_.begin(), sorted_.end(), key,
        [](const Records::value_type* record, std::string_view other) { return record->first < other; });
}

void Entries::list(std::string_view prefix, const std::function<void(std::string_view)>& use) {
    if (!is_sorted_) {
        sorted_.reserve(records_.size());
        for (Records::value_type& record : records_) {
            sorted_.push_back(&record);
        }
        std::sort(sorted_.begin(), sorted_.end(),
                  [](const auto* left, const auto* right) { return left->first < right->first; });
        is_sorted_ = true;
    }
    for (auto place = place_of(prefix); place != sorted_.end() && value::begins_with((*place)->first, prefix);
         ++place) {
        // A default without its key is nothing to a program.
        if ((*place)->second.slots[0].value.has_value()) {
            use((*place)->first);
        }
    }
}

}  // namespace zelva::store
