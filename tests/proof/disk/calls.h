// The calls of the system that an operation makes, and what the tests of them write.
#pragma once

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "operations.h"
#include "support.h"
#include "watched_system.h"

/// The calls that an operation makes.
struct Calls {
    std::vector<watched::Call> all;

    template <class Operation>
    explicit Calls(const Operation& operation) {
        watched::before_call = [this](const watched::Call& call) {
            all.push_back(call);
            return watched::Fate{};
        };
        operation();
        watched::before_call = nullptr;
    }

    std::size_t count(const std::string& name) const {
        return static_cast<std::size_t>(
            std::count_if(all.begin(), all.end(), [&name](const watched::Call& call) { return name == call.name; }));
    }
    std::size_t bytes_written() const {
        return std::accumulate(all.begin(), all.end(), std::size_t{0}, [](std::size_t sum, const watched::Call& call) {
            return sum + (std::string("pwrite") == call.name ? call.size : 0);
        });
    }
    std::string names() const {
        std::string text;
        for (const watched::Call& call : all) {
            text += std::string(call.name) + " ";
        }
        return text;
    }
};

inline bool is_write(const watched::Call& call) {
    const std::string name = call.name;
    return name == "pwrite" || name == "ftruncate" || name == "fdatasync" || name == "fsync";
}

/// A file to be compacted.
inline std::string wasteful_file() {
    std::string text = "# mine\nk = I1\nDEFAULT_k = I7\n";
    for (int i = 0; i < 100; ++i) {
        text += "=ld = S" + bait(40) + "\n";
    }
    return text;
}

/// The file is open, has padding, and its folder is on the disk.
inline void warm_up() {
    set("warm", 1);
    set("warm", 2);
}
