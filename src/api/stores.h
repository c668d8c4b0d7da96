// The two stores of the process.
#pragma once

#include <pthread.h>
#include <zelva/core.h>

#include <system_error>
#include <utility>

#include "store/store.h"

namespace zelva::api {

/// The stores live as long as the process: programs may use them until its very end. To get one takes no memory.
store::SettingsStore& settings();
store::ConfigurationStore& configuration();

/// Keeps the thread from being cancelled in the middle of an operation, which would leave it half done.
class Uncancelled {
  public:
    Uncancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    Uncancelled(const Uncancelled&) = delete;
    Uncancelled& operator=(const Uncancelled&) = delete;
    ~Uncancelled() { pthread_setcancelstate(before_, nullptr); }

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

/// Runs the body of a function of the interface. Nothing that it throws gets out: what the system refuses becomes
/// ZELVA_CORE_STATUS_IO_FAILED, and want of memory ZELVA_CORE_STATUS_ALLOC_FAILED.
template <class Body>
zelva_core_status guarded(Body&& body) noexcept {
    const Uncancelled uncancelled;
    try {
        return std::forward<Body>(body)();
    } catch (const std::system_error& error) {
        return error.code() == std::errc::not_enough_memory ? ZELVA_CORE_STATUS_ALLOC_FAILED
                                                            : ZELVA_CORE_STATUS_IO_FAILED;
    } catch (...) {
        return ZELVA_CORE_STATUS_ALLOC_FAILED;
    }
}

}  // namespace zelva::api
