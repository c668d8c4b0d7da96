// The rules of a store, as plainly as DESIGN.md states them: what it holds, what each operation answers and makes of
// that, and what may be left after a kill or a power loss. The model knows no file and calls no store: tests run an
// operation on both, and compare.
#pragma once

#include <zelva/core.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "value/value.h"

namespace model {

using zelva::value::Type;
using zelva::value::Value;

/// Whether two values are the same, bit for bit: 0 and -0 are not.
bool is_same(const Value& left, const Value& right);

/// A key's value and its default. Where a person has given the default another type than the value, it is not handed
/// out.
struct Entry {
    Value value;
    std::optional<Value> default_value;
};
bool operator==(const Entry& left, const Entry& right);

/// What a store holds, by key. A default without its key means nothing and is not in here.
using State = std::map<std::string, Entry>;

/// Names that begin so are those of defaults.
extern const std::string default_prefix;
bool is_reserved(const std::string& name);

// Operations: each gives its status, and changes the state if that is ZELVA_CORE_STATUS_NO_ERROR. Whether it is
// ZELVA_CORE_STATUS_INVALID_PARAMS does not depend on the state.

zelva_core_status set(State& state, const std::string& key, const Value& value);
zelva_core_status set_default(State& state, const std::string& key, const Value& value);
zelva_core_status copy(State& state, Type type, const std::string& old_key, const std::string& new_key);
zelva_core_status remove(State& state, const std::string& key);

/// `old` is written on success: the version that the settings had, or the announced one if they hold no keys.
zelva_core_status announce_version(State& state, unsigned announced, unsigned& old);

/// What a get gives: a status, and the value when it is ZELVA_CORE_STATUS_NO_ERROR.
struct Got {
    zelva_core_status status;
    Value value;
};
bool operator==(const Got& left, const Got& right);
Got get(const State& state, Type type, const std::string& key);
Got get_default(const State& state, Type type, const std::string& key);

/// The keys that begin with a prefix, in the order of their bytes.
std::vector<std::string> keys(const State& state, const std::string& prefix = "");

/// The states of a store, from the first one through all operations, and what an end leaves of them.
class Timeline {
  public:
    explicit Timeline(State first) : states_{std::move(first)} {}

    /// One more operation has been acknowledged. One that is durable survives a power loss, and all before it do.
    void add(State state, bool is_durable);

    /// How many operations have been acknowledged.
    std::size_t size() const { return states_.size() - 1; }

    const State& last() const { return states_.back(); }

    /// The states before so many operations were acknowledged.
    std::vector<State> before(std::size_t acknowledged) const;

    /// How many of so many acknowledged operations survive a power loss at least.
    std::size_t durable(std::size_t acknowledged) const { return durable_[acknowledged]; }

    /// What a kill leaves after so many acknowledged operations: all or nothing of the next one.
    std::vector<State> after_kill(std::size_t acknowledged) const;

    /// The states that a power loss may leave after so many acknowledged operations: any one since the last durable
    /// one.
    std::vector<State> after_power_loss(std::size_t acknowledged) const;

    /// Whether a power loss may leave a key so, nullptr for none: with a value that it has in one of the states that
    /// may be left, and with a default likewise. If it is absent in one of them, its default may also be lost, or one
    /// that it had before.
    bool may_be_left(std::size_t acknowledged, const std::string& key, const Entry* found) const;

    /// Whether a power loss may leave this: one of the states that may be left, or a mixture of them where more than
    /// one operation was not durable.
    bool may_be_left(std::size_t acknowledged, const State& found) const;

  private:
    std::vector<State> between(std::size_t begin, std::size_t end) const;

    std::vector<State> states_;
    std::vector<std::size_t> durable_{0};
};

/// The key's entry, or nullptr.
const Entry* find(const State& state, const std::string& key);

}  // namespace model
