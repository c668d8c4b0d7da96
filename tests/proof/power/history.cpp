#include "history.h"

#include <zelva/settings.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <variant>

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
    const std::string token = key + "." + std::to_string(number);
    return bait(std::max(size, token.size() + 2), token);
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

/// One that succeeds. Now and then some in succession are relaxed.
Operation random_operation(std::size_t number, const State& state, std::mt19937& random) {
    const bool is_relaxed = number / 8 % 4 == 3;
    const std::string key = "k" + std::to_string(random_below(number_of_keys, random));
    const std::string value = text(number, key, random_size(random));
    const std::size_t kind = random_below(20, random);
    if (kind < 2) {
        return sync_operation();
    }
    if (kind < 4) {
        return reopen_operation(store_name);
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

std::string abridged(const Value& value) {
    const auto* const text = std::get_if<std::string>(&value);
    return text == nullptr ? "no string" : text->substr(0, 16) + "... (" + std::to_string(text->size()) + " bytes)";
}

std::string described(const Entry* entry) {
    if (entry == nullptr) {
        return "absent";
    }
    return abridged(entry->value) + ", default " + (entry->default_value ? abridged(*entry->default_value) : "absent");
}

void check_state(const State& found, const model::Timeline& timeline, std::size_t acknowledged) {
    if (timeline.may_be_left(acknowledged, found)) {
        return;
    }
    const std::vector<State> candidates = timeline.after_power_loss(acknowledged);
    State all = found;
    for (const State& state : candidates) {
        all.insert(state.begin(), state.end());
    }
    std::ostringstream what;
    for (const auto& [key, any] : all) {
        what << "\n  " << key << " is " << described(model::find(found, key)) << "; may be";
        std::string last;
        for (const State& state : candidates) {
            const std::string next = described(model::find(state, key));
            what << (next == last ? "" : " [" + next + "]");
            last = next;
        }
    }
    throw std::runtime_error("the store does not hold what it should:" + what.str());
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

History::History(unsigned seed, std::size_t length) {
    std::mt19937 random(seed);
    for (std::size_t number = 1; number <= length; ++number) {
        State state = timeline_.last();
        operations_.push_back(random_operation(number, state, random));
        require_success(operations_.back().rule(state), operations_.back().name + ", by the model,");
        timeline_.add(std::move(state), operations_.back().is_durable);
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
    check_state(state_of_store(), model::Timeline(timeline_.last()), 0);
}

void History::check(std::size_t acknowledged, const std::string& settings_folder) const {
    const OpenStore store;
    State state = state_of_store();
    check_state(state, timeline_, acknowledged);
    check_names(settings_folder, {".zelva", store_name});
    check_names(settings_folder + "/.zelva", {store_name});

    const std::vector<Operation> more{set_operation("k0", text(0, "k0", 30)), set_operation("new", text(0, "new", 30)),
                                      reopen_operation(store_name)};
    for (const Operation& operation : more) {
        require_success(operation.run(), operation.name + ", after a check,");
        operation.rule(state);
    }
    check_state(state_of_store(), model::Timeline(state), 0);
}

}  // namespace power
