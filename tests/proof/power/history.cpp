#include "history.h"

#include <zelva/settings.h>
#include <zelva/accessors.hpp>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>

namespace power {

namespace {

constexpr const char* store_name = "power";
constexpr std::size_t number_of_keys = 12;

void require_success(zelva_core_status status, const std::string& what) {
    if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        throw std::runtime_error(what + " fails with status " + std::to_string(status));
    }
}

/// A text that tells which operation has written it, and any part of which, if it came to stand at the beginning of a
/// line, would be an entry of its own.
std::string text(std::size_t number, const std::string& key, std::size_t size) {
    const std::string token = key + "." + std::to_string(number) + "=S";
    std::string text;
    while (text.size() < size) {
        text += token;
    }
    text.resize(std::max(size, token.size()));
    return text;
}

Operation set_operation(const std::string& key, const std::string& value) {
    return {"set " + key + " to " + std::to_string(value.size()) + " bytes",
            [=] { return zelva::core::settingsSetString(key.c_str(), value); },
            [=](State& state) {
                state.try_emplace(key, Entry{value, value}).first->second.value = value;
            },
            true};
}

Operation set_default_operation(const std::string& key, const std::string& value) {
    return {"set the default of " + key + " to " + std::to_string(value.size()) + " bytes",
            [=] { return zelva::core::settingsSetDefaultString(key.c_str(), value); },
            [=](State& state) {
                state.try_emplace(key, Entry{value, value}).first->second.default_value = value;
            },
            true};
}

Operation delete_operation(const std::string& key) {
    return {"delete " + key, [=] { return zelva_core_settings_delete_key(key.c_str()); },
            [=](State& state) { state.erase(key); }, true};
}

Operation relaxed(const Operation& operation) {
    return {"relaxed: " + operation.name,
            [run = operation.run] {
                zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
                const zelva_core_status status = run();
                zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL);
                return status;
            },
            operation.model, false};
}

Operation sync_operation() {
    return {"sync", [] { return zelva_core_settings_sync(); }, [](State&) {}, true};
}

Operation reopen_operation() {
    return {"close and open",
            [] {
                zelva_core_settings_deinit();
                return zelva_core_settings_init(store_name);
            },
            [](State&) {}, false};
}

/// A number from 0 to `end` - 1; the same with every standard library.
std::size_t random_below(std::size_t end, std::mt19937& random) {
    return random() % end;
}

/// The size of a value: most are short, two lines of some do not fit into a sector, one line of others does not, or not
/// even into a page.
std::size_t random_size(std::mt19937& random) {
    const std::size_t kind = random_below(16, random);
    return kind < 9    ? 8 + random_below(50, random)
           : kind < 12 ? 200 + random_below(290, random)
           : kind < 15 ? 500 + random_below(1000, random)
                       : 4000 + random_below(5000, random);
}

/// Now and then some operations in succession are relaxed.
Operation random_operation(std::size_t number, const State& state, std::mt19937& random) {
    const bool is_relaxed = number / 8 % 4 == 3;
    const std::string key = "k" + std::to_string(random_below(number_of_keys, random));
    const std::string value = text(number, key, random_size(random));
    const std::size_t kind = random_below(20, random);
    if (kind < 2) {
        return sync_operation();
    }
    if (kind < 4) {
        return reopen_operation();
    }
    const Operation operation = kind < 7                             ? set_default_operation(key, value)
                                : kind < 10 && state.count(key) != 0 ? delete_operation(key)
                                                                     : set_operation(key, value);
    return is_relaxed ? relaxed(operation) : operation;
}

/// The store, open.
class OpenStore {
  public:
    OpenStore() { require_success(zelva_core_settings_init(store_name), "opening the store"); }
    OpenStore(const OpenStore&) = delete;
    OpenStore& operator=(const OpenStore&) = delete;
    ~OpenStore() { zelva_core_settings_deinit(); }
};

State state_of_store() {
    State state;
    char** const keys = zelva_core_settings_get_all_keys();
    if (keys == nullptr) {
        throw std::runtime_error("the store does not list its keys");
    }
    for (char** key = keys; *key != nullptr; ++key) {
        Entry& entry = state[*key];
        std::string value;
        if (zelva::core::settingsGetString(*key, entry.value) != ZELVA_CORE_STATUS_NO_ERROR) {
            throw std::runtime_error(std::string("the store does not hand out ") + *key);
        }
        if (zelva::core::settingsGetDefaultString(*key, value) == ZELVA_CORE_STATUS_NO_ERROR) {
            entry.default_value = value;
        }
    }
    zelva_core_free_string_array(keys);
    return state;
}

const Entry* find(const State& state, const std::string& key) {
    const auto entry = state.find(key);
    return entry == state.end() ? nullptr : &entry->second;
}

std::string abridged(const std::string& value) {
    return value.substr(0, 16) + "... (" + std::to_string(value.size()) + " bytes)";
}

std::string described(const Entry* entry) {
    if (entry == nullptr) {
        return "absent";
    }
    return abridged(entry->value) + ", default " + (entry->default_value ? abridged(*entry->default_value) : "absent");
}

/// States, one of which the store had when the power was lost.
using Candidates = std::vector<State>;

/// Whether a key may be as it was found: with a value that it has in one of the candidates, and a default likewise; one
/// that is not in all of them may have none, or one from an earlier life. This is what relaxed durability promises.
bool is_possible(const std::string& key, const Entry* found, const Candidates& candidates,
                 const std::vector<State>& history) {
    const auto in = [&](const std::vector<State>& states, const auto& is_match) {
        return std::any_of(states.begin(), states.end(),
                           [&](const State& state) { return is_match(find(state, key)); });
    };
    const auto is_absent = [](const Entry* entry) { return entry == nullptr; };
    if (found == nullptr) {
        return in(candidates, is_absent);
    }
    const auto has_value = [&](const Entry* entry) { return entry != nullptr && entry->value == found->value; };
    const auto has_default = [&](const Entry* entry) {
        return entry != nullptr && entry->default_value == found->default_value;
    };
    return in(candidates, has_value) &&
           (in(candidates, has_default) ||
            (in(candidates, is_absent) && (!found->default_value || in(history, has_default))));
}

void check_state(const State& found, const Candidates& candidates, const std::vector<State>& history) {
    if (std::find(candidates.begin(), candidates.end(), found) != candidates.end()) {
        return;
    }
    State all = found;
    for (const State& state : candidates) {
        all.insert(state.begin(), state.end());
    }
    // With no more than one operation whose outcome is open there is nothing to be mixed.
    bool is_right = candidates.size() > 2;
    std::ostringstream what;
    for (const auto& [key, any] : all) {
        const Entry* const entry = find(found, key);
        is_right = is_right && is_possible(key, entry, candidates, history);
        what << "\n  " << key << " is " << described(entry) << "; may be";
        std::string last;
        for (const State& state : candidates) {
            const std::string next = described(find(state, key));
            what << (next == last ? "" : " [" + next + "]");
            last = next;
        }
    }
    if (!is_right) {
        throw std::runtime_error("the store does not hold what it should:" + what.str());
    }
}

void check_names(const std::string& folder, const std::set<std::string>& allowed) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (allowed.count(entry.path().filename()) == 0) {
            throw std::runtime_error("left over: " + entry.path().string());
        }
    }
}

}  // namespace

std::string store_file(const std::string& settings_folder) {
    return settings_folder + "/" + store_name;
}

History::History(unsigned seed, std::size_t length) : states_(1), durable_(1) {
    std::mt19937 random(seed);
    for (std::size_t number = 1; number <= length; ++number) {
        operations_.push_back(random_operation(number, states_.back(), random));
        states_.push_back(states_.back());
        operations_.back().model(states_.back());
        durable_.push_back(operations_.back().is_durable ? number : durable_.back());
    }
}

std::string History::name(std::size_t number) const {
    return number < operations_.size() ? operations_[number].name : "none";
}

void History::run(const std::function<void(std::size_t)>& acknowledged) const {
    acknowledged(0);
    const OpenStore store;
    for (std::size_t i = 0; i < operations_.size(); ++i) {
        require_success(operations_[i].run(), operations_[i].name);
        acknowledged(i + 1);
    }
    check_state(state_of_store(), {states_.back()}, {});
}

void History::check(std::size_t acknowledged, const std::string& settings_folder) const {
    const std::size_t end = std::min(acknowledged + 2, states_.size());
    const Candidates candidates(states_.begin() + static_cast<std::ptrdiff_t>(durable_[acknowledged]),
                                states_.begin() + static_cast<std::ptrdiff_t>(end));
    const OpenStore store;
    State state = state_of_store();
    check_state(state, candidates, states_);
    check_names(settings_folder, {".zelva", store_name});
    check_names(settings_folder + "/.zelva", {store_name});

    const std::vector<Operation> more{set_operation("k0", text(0, "k0", 30)), set_operation("new", text(0, "new", 30)),
                                      reopen_operation()};
    for (const Operation& operation : more) {
        require_success(operation.run(), operation.name + ", after a check,");
        operation.model(state);
    }
    check_state(state_of_store(), {state}, {});
}

}  // namespace power
