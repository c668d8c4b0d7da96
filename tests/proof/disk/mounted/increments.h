// Two programs that count up one key together, in turns, without a lock of the store's: so each get has to see what the
// other program has set, and no set may be lost.
#pragma once

#include <array>

#include "programs.h"

class Increments {
  public:
    static constexpr int per_program = 200;

    /// REQUIRES: made before its programs, and the key "k" is 0.
    Increments();
    Increments(const Increments&) = delete;
    Increments& operator=(const Increments&) = delete;
    ~Increments();

    /// Lets the two count.
    void run(Program& first, Program& second);

    /// What the key has to be.
    int acknowledged() const;

    /// How many sets of each program were refused.
    const std::array<int, 2>& refused() const { return refused_; }

    /// How many gets, of both programs, did not give what was acknowledged.
    int stale() const;

  private:
    std::array<int, 2> refused_{};
};
