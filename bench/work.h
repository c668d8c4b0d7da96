// The work that every store is given: the same keys, the same values, in the same order.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// Keys at positions 0 to size() - 1: ints first, then as many strings. Positions are in random order of names, so that
/// who goes through them jumps in the store as programs do, while the keys themselves lie in memory one after another.
///
/// Keys are of 26 bytes, strings of 20. A hundred keys each begin with the same section().
class Work {
  public:
    explicit Work(std::size_t size);

    std::size_t size() const { return keys_.size(); }
    std::size_t ints() const { return keys_.size() / 2; }
    bool is_int(std::size_t position) const { return position < ints(); }

    const std::string& key(std::size_t position) const { return keys_[position]; }

    /// Positions in the order of names, in which stores are filled.
    const std::vector<std::size_t>& by_name() const { return by_name_; }

    /// The values of a key differ from one generation to the next, and tell which key they belong to.
    int number(std::size_t position, unsigned generation = 0) const;
    std::string text(std::size_t position, unsigned generation = 0) const;

    /// End the process when this is no value of the key: who does not do the work is not measured.
    void check(std::size_t position, int number) const;
    void check(std::size_t position, const std::string& text) const;

    static std::string section(std::size_t number);
    static constexpr std::size_t section_size = 100;

  private:
    std::vector<std::size_t> serials_;  // by position
    std::vector<std::string> keys_;
    std::vector<std::size_t> by_name_;
};

/// Ends the process with a message.
[[noreturn]] void fail(const std::string& message);

inline void require(bool is_true, const char* message) {
    if (!is_true) {
        fail(message);
    }
}

}  // namespace bench
