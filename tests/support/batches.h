// Several keys at once. For programs that link the library's objects: no function of the interface makes a batch.
#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "api/stores.h"
#include "operations.h"

inline zelva_core_status write_all(const std::vector<zelva::store::Wish>& wishes) {
    return zelva::api::guarded([&wishes] { return zelva::api::settings().write_all(wishes); });
}

/// Sets the keys that have a value, and deletes the others.
inline Operation batch_operation(std::vector<zelva::store::Wish> wishes) {
    std::string name = "batch";
    for (const auto& [key, value] : wishes) {
        name += (value ? " " : " -") + key;
    }
    const auto rule = [wishes](State& state) {
        State changed = state;
        for (const auto& [key, value] : wishes) {
            if (const auto status = value ? model::set(changed, key, *value) : model::remove(changed, key)) {
                return status;
            }
        }
        state = std::move(changed);
        return ZELVA_CORE_STATUS_NO_ERROR;
    };
    return {std::move(name), [wishes] { return write_all(wishes); }, rule};
}

/// From two to so many of sixty keys, k0 to k59: sets of short and of long texts, and deletes of those that are
/// present.
inline Operation random_batch(std::mt19937& random, std::set<std::string>& present, std::size_t most = 40) {
    std::set<std::string> keys;
    const std::size_t size = 2 + random() % (most - 1);
    while (keys.size() < size) {
        keys.insert("k" + std::to_string(random() % 60));
    }
    std::vector<zelva::store::Wish> wishes;
    for (const std::string& key : keys) {
        const std::size_t sizes[] = {1, 30, 300, 700};
        const bool is_delete = present.count(key) != 0 && random() % 3 == 0;
        wishes.push_back({key, is_delete ? std::nullopt : std::optional<Value>(bait(sizes[random() % 4], key))});
        if (is_delete) {
            present.erase(key);
        } else {
            present.insert(key);
        }
    }
    return batch_operation(std::move(wishes));
}
