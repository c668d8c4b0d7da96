// A store's history: operations at random, and what they make of it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "operations.h"

namespace power {

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
    model::Timeline timeline_{State()};
};

/// The file of the store.
std::string store_file(const std::string& settings_folder);

}  // namespace power
