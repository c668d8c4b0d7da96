// A store's history: operations at random, and what they make of it.
#pragma once

#include <zelva/core.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace power {

/// A key's value and its default.
struct Entry {
    std::string value;
    std::optional<std::string> default_value;
};
inline bool operator==(const Entry& left, const Entry& right) {
    return left.value == right.value && left.default_value == right.default_value;
}
using State = std::map<std::string, Entry>;

struct Operation {
    std::string name;
    std::function<zelva_core_status()> run;
    std::function<void(State&)> model;
    bool is_durable;  // with its acknowledgement it survives the loss of power, and all operations before it
};

class History {
  public:
    /// The history of a store that is new and empty, by this seed. No two values of it are the same.
    History(unsigned seed, std::size_t length);

    std::size_t size() const { return operations_.size(); }

    /// What the operation of this number, counted from 0, does; "none" after the last one.
    std::string name(std::size_t number) const;

    /// Opens the store, runs the operations, and closes it. Calls `acknowledged` before all of that with 0, and after
    /// each operation with how many these are so far. Throws std::runtime_error when one fails.
    void run(const std::function<void(std::size_t)>& acknowledged) const;

    /// Opens the store after a loss of power, when so many operations had been acknowledged. Checks that it holds what
    /// it may hold then, and nothing else is in the folder; then that it can be written. Throws std::runtime_error that
    /// says what is wrong.
    void check(std::size_t acknowledged, const std::string& settings_folder) const;

  private:
    std::vector<Operation> operations_;
    std::vector<State> states_;         // before the first operation, and after each
    std::vector<std::size_t> durable_;  // of so many acknowledged operations: so many have to survive
};

/// The file of the store.
std::string store_file(const std::string& settings_folder);

}  // namespace power
