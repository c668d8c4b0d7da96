// The store's locks, in a form that clang's analysis of threads can follow: it checks, where a member says
// GUARDED_BY(lock) and a function REQUIRES(lock), that the lock is held. Other compilers see plain locks.
#pragma once

#include <mutex>

#include "store/readers_lock.h"

#if defined(__clang__)
#define ZELVA_THREADS(attribute) __attribute__((attribute))
#else
#define ZELVA_THREADS(attribute)
#endif

#define CAPABILITY ZELVA_THREADS(capability("lock"))
#define SCOPED_CAPABILITY ZELVA_THREADS(scoped_lockable)
#define GUARDED_BY(lock) ZELVA_THREADS(guarded_by(lock))
#define REQUIRES(...) ZELVA_THREADS(requires_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) ZELVA_THREADS(requires_shared_capability(__VA_ARGS__))
#define EXCLUDES(...) ZELVA_THREADS(locks_excluded(__VA_ARGS__))
#define ACQUIRED_AFTER(...) ZELVA_THREADS(acquired_after(__VA_ARGS__))
#define ACQUIRE(...) ZELVA_THREADS(acquire_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) ZELVA_THREADS(acquire_shared_capability(__VA_ARGS__))
#define RELEASE(...) ZELVA_THREADS(release_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) ZELVA_THREADS(release_shared_capability(__VA_ARGS__))
#define RELEASE_GENERIC(...) ZELVA_THREADS(release_generic_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) ZELVA_THREADS(try_acquire_capability(__VA_ARGS__))
#define NO_ANALYSIS ZELVA_THREADS(no_thread_safety_analysis)

namespace zelva::store {

class CAPABILITY Mutex {
  public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) { return mutex_.try_lock(); }

  private:
    std::mutex mutex_;
};

class CAPABILITY SharedMutex {
  public:
    void lock() ACQUIRE() { lock_.lock(); }
    void unlock() RELEASE() { lock_.unlock(); }
    void lock_shared() ACQUIRE_SHARED() { lock_.lock_shared(); }
    void unlock_shared() RELEASE_SHARED() { lock_.unlock_shared(); }

    /// See ReadersLock.
    void forget_readers() REQUIRES(this) { lock_.forget_readers(); }

  private:
    ReadersLock lock_;
};

/// Holds a lock for as long as the object lives.
template <class Lock>
class SCOPED_CAPABILITY Hold {
  public:
    explicit Hold(Lock& lock) ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    ~Hold() RELEASE() { lock_.unlock(); }

  private:
    Lock& lock_;
};

/// Holds a lock together with others who read.
class SCOPED_CAPABILITY HoldShared {
  public:
    explicit HoldShared(SharedMutex& lock) ACQUIRE_SHARED(lock) : lock_(lock) { lock_.lock_shared(); }
    HoldShared(const HoldShared&) = delete;
    HoldShared& operator=(const HoldShared&) = delete;
    ~HoldShared() RELEASE_GENERIC() { lock_.unlock_shared(); }

  private:
    SharedMutex& lock_;
};

/// Gives back a lock that is held together with others, for as long as the object lives.
class SCOPED_CAPABILITY LetGo {
  public:
    explicit LetGo(SharedMutex& lock) RELEASE_SHARED(lock) : lock_(lock) { lock_.unlock_shared(); }
    LetGo(const LetGo&) = delete;
    LetGo& operator=(const LetGo&) = delete;
    ~LetGo() RELEASE_GENERIC() { lock_.lock_shared(); }

  private:
    SharedMutex& lock_;
};

}  // namespace zelva::store
