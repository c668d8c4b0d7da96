#include "model.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>

#include "value/json.h"

namespace model {

namespace {

bool is_same_double(double left, double right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

bool has_blank_at_end(const std::string& text) {
    const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
    return !text.empty() && (is_blank(text.front()) || is_blank(text.back()));
}

bool can_be_written(const std::string& key) {
    return !key.empty() && key.find_first_of("=\n") == std::string::npos && !has_blank_at_end(key) && key[0] != '#' &&
           key[0] != ';' && !is_reserved(key);
}

/// The value as a get hands it out, or nothing for one that is refused.
std::optional<Value> accepted(const Value& value) {
    const auto has_line_feed = [](const std::string& text) { return text.find('\n') != std::string::npos; };
    const auto is_finite = [](double number) { return std::isfinite(number); };
    bool is_accepted = true;
    if (const auto* const text = std::get_if<std::string>(&value)) {
        is_accepted = !has_line_feed(*text);
    } else if (const auto* const json = std::get_if<zelva::value::Json>(&value)) {
        return zelva::value::canonical_json(json->text);
    } else if (const auto* const number = std::get_if<double>(&value)) {
        is_accepted = is_finite(*number);
    } else if (const auto* const texts = std::get_if<std::vector<std::string>>(&value)) {
        is_accepted = std::none_of(texts->begin(), texts->end(), has_line_feed) &&
                      std::none_of(texts->begin(), texts->end(), has_blank_at_end);
    } else if (const auto* const numbers = std::get_if<std::vector<double>>(&value)) {
        is_accepted = std::all_of(numbers->begin(), numbers->end(), is_finite);
    }
    return is_accepted ? std::optional(value) : std::nullopt;
}

/// A set of the value or of the default: the first one of a key sets both.
zelva_core_status write(State& state, const std::string& key, const Value& value, bool is_default) {
    const std::optional<Value> written = accepted(value);
    if (!can_be_written(key) || !written) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    Entry& entry = state.try_emplace(key, Entry{*written, *written}).first->second;
    if (entry.value.index() != value.index()) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    if (is_default) {
        entry.default_value = *written;
    } else {
        entry.value = *written;
    }
    return ZELVA_CORE_STATUS_NO_ERROR;
}

/// The status of an operation that reads a key of this type.
zelva_core_status status_of_read(const State& state, Type type, const std::string& key) {
    if (is_reserved(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Entry* const entry = find(state, key);
    return entry == nullptr               ? ZELVA_CORE_STATUS_SETTING_NOT_PRESENT
           : entry->value.index() != type ? ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE
                                          : ZELVA_CORE_STATUS_NO_ERROR;
}

}  // namespace

const std::string default_prefix = "DEFAULT_";

bool is_reserved(const std::string& name) {
    return name.compare(0, default_prefix.size(), default_prefix) == 0;
}

bool is_same(const Value& left, const Value& right) {
    if (!(left == right)) {
        return false;
    }
    if (const double* const number = std::get_if<double>(&left)) {
        return is_same_double(*number, std::get<double>(right));
    }
    if (const auto* const numbers = std::get_if<std::vector<double>>(&left)) {
        return std::equal(numbers->begin(), numbers->end(), std::get<std::vector<double>>(right).begin(),
                          is_same_double);
    }
    return true;
}

bool operator==(const Entry& left, const Entry& right) {
    return is_same(left.value, right.value) && left.default_value.has_value() == right.default_value.has_value() &&
           (!left.default_value || is_same(*left.default_value, *right.default_value));
}

bool operator==(const Got& left, const Got& right) {
    return left.status == right.status &&
           (left.status != ZELVA_CORE_STATUS_NO_ERROR || is_same(left.value, right.value));
}

const Entry* find(const State& state, const std::string& key) {
    const auto entry = state.find(key);
    return entry == state.end() ? nullptr : &entry->second;
}

zelva_core_status set(State& state, const std::string& key, const Value& value) {
    return write(state, key, value, false);
}

zelva_core_status set_default(State& state, const std::string& key, const Value& value) {
    return write(state, key, value, true);
}

zelva_core_status copy(State& state, Type type, const std::string& old_key, const std::string& new_key) {
    if (!can_be_written(new_key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const zelva_core_status status = status_of_read(state, type, old_key);
    return status == ZELVA_CORE_STATUS_NO_ERROR ? set(state, new_key, Value(state.at(old_key).value)) : status;
}

zelva_core_status remove(State& state, const std::string& key) {
    if (is_reserved(key)) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return state.erase(key) == 1 ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
}

zelva_core_status announce_version(State& state, unsigned announced, unsigned& old) {
    const std::string key = "Version";
    if (announced == 0 || announced > INT_MAX) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    const Entry* const entry = find(state, key);
    const int* const number = entry == nullptr ? nullptr : std::get_if<int>(&entry->value);
    if (entry != nullptr && number == nullptr) {
        return ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;
    }
    // Below 1 is none.
    const unsigned present = number == nullptr || *number < 0 ? 0 : static_cast<unsigned>(*number);
    old = state.empty() ? announced : present;
    if (announced > present) {
        state[key].value = static_cast<int>(announced);
    }
    return ZELVA_CORE_STATUS_NO_ERROR;
}

Got get(const State& state, Type type, const std::string& key) {
    const zelva_core_status status = status_of_read(state, type, key);
    return {status, status == ZELVA_CORE_STATUS_NO_ERROR ? state.at(key).value : Value()};
}

Got get_default(const State& state, Type type, const std::string& key) {
    const zelva_core_status status = status_of_read(state, type, key);
    if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        return {status, {}};
    }
    const std::optional<Value>& value = state.at(key).default_value;
    if (!value) {
        return {ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, {}};
    }
    return value->index() == type ? Got{ZELVA_CORE_STATUS_NO_ERROR, *value}
                                  : Got{ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, {}};
}

std::vector<std::string> keys(const State& state, const std::string& prefix) {
    std::vector<std::string> names;
    for (auto entry = state.lower_bound(prefix);
         entry != state.end() && entry->first.compare(0, prefix.size(), prefix) == 0; ++entry) {
        names.push_back(entry->first);
    }
    return names;
}

void Timeline::add(State state, bool is_durable) {
    states_.push_back(std::move(state));
    durable_.push_back(is_durable ? durable_.size() : durable_.back());
}

std::vector<State> Timeline::between(std::size_t begin, std::size_t end) const {
    const auto at = [this](std::size_t number) {
        return states_.begin() + static_cast<std::ptrdiff_t>(std::min(number, states_.size()));
    };
    return {at(begin), at(end)};
}

std::vector<State> Timeline::before(std::size_t acknowledged) const {
    return between(0, acknowledged);
}

std::vector<State> Timeline::after_kill(std::size_t acknowledged) const {
    return between(acknowledged, acknowledged + 2);
}

std::vector<State> Timeline::after_power_loss(std::size_t acknowledged) const {
    return between(durable(acknowledged), acknowledged + 2);
}

bool Timeline::may_be_left(std::size_t acknowledged, const std::string& key, const Entry* found) const {
    const auto begin = states_.begin() + static_cast<std::ptrdiff_t>(durable(acknowledged));
    const auto end = states_.begin() + static_cast<std::ptrdiff_t>(std::min(acknowledged + 2, states_.size()));
    const auto is_in = [&key](auto from, auto to, const auto& is_match) {
        return std::any_of(from, to, [&](const State& state) { return is_match(find(state, key)); });
    };
    const auto is_absent = [](const Entry* entry) { return entry == nullptr; };
    if (found == nullptr) {
        return is_in(begin, end, is_absent);
    }
    const auto has_value = [found](const Entry* entry) {
        return entry != nullptr && is_same(entry->value, found->value);
    };
    const auto has_default = [found](const Entry* entry) {
        return entry != nullptr && Entry{found->value, entry->default_value} == *found;
    };
    return is_in(begin, end, has_value) &&
           (is_in(begin, end, has_default) ||
            (is_in(begin, end, is_absent) &&
             (!found->default_value || is_in(states_.begin(), states_.end(), has_default))));
}

bool Timeline::may_be_left(std::size_t acknowledged, const State& found) const {
    const std::vector<State> states = after_power_loss(acknowledged);
    if (std::find(states.begin(), states.end(), found) != states.end()) {
        return true;
    }
    State all = found;
    for (const State& state : states) {
        all.insert(state.begin(), state.end());
    }
    // With one operation whose outcome is open there is nothing to be mixed.
    return states.size() > 2 && std::all_of(all.begin(), all.end(), [&](const auto& any) {
               return may_be_left(acknowledged, any.first, find(found, any.first));
           });
}

}  // namespace model
