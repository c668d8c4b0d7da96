// The two stores of the process.
#pragma once

#include <zelva/core.h>

#include <utility>

#include "store/store.h"

namespace zelva::api {

/// The stores live as long as the process: programs may use them until its very end. To get one takes no memory.
store::SettingsStore& settings();
store::ConfigurationStore& configuration();

/// Runs the body of a function of the interface: nothing that it throws gets out. What it can throw is want of memory.
template <class Body>
zelva_core_status guarded(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return ZELVA_CORE_STATUS_ALLOC_FAILED;
    }
}

}  // namespace zelva::api
