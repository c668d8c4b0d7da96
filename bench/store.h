// The store of this project, as the benchmarks use it.
#pragma once

#include <zelva/settings.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "work.h"

namespace bench {

constexpr const char* store_name = "bench";

inline void expect(zelva_core_status status) {
    if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        fail("the store's status is " + std::to_string(status));
    }
}

/// Chooses the settings folder. REQUIRES: the library has not been called yet.
inline void use_folder(const std::string& folder) {
    require(setenv("ZELVA_CORE_SETTINGS_DIR", folder.c_str(), 1) == 0, "setenv");
}

/// The store, open for as long as this lives.
class OpenStore {
  public:
    OpenStore() { expect(zelva_core_settings_init(store_name)); }
    ~OpenStore() { zelva_core_settings_deinit(); }
    OpenStore(const OpenStore&) = delete;
    OpenStore& operator=(const OpenStore&) = delete;
};

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// A string that was handed out.
using HandedOut = std::unique_ptr<char, Free>;

inline int get_int(const std::string& key) {
    int number = 0;
    expect(zelva_core_settings_get_int_value(key.c_str(), &number));
    return number;
}

inline HandedOut get_string(const std::string& key) {
    char* text = nullptr;
    expect(zelva_core_settings_get_string_value(key.c_str(), &text));
    return HandedOut(text);
}

/// Sets every key of `work` in the open store; each then has a default too.
inline void fill(const Work& work) {
    expect(zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED));
    for (const std::size_t i : work.by_name()) {
        expect(work.is_int(i) ? zelva_core_settings_set_int_value(work.key(i).c_str(), work.number(i))
                              : zelva_core_settings_set_string_value(work.key(i).c_str(), work.text(i).c_str()));
    }
    expect(zelva_core_settings_sync());
    expect(zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL));
}

}  // namespace bench
