// What the programs that have one store open share, in a small file of its own: a lock, which one of them at a time
// holds to change the store's file, and a counter in mapped memory, which tells the others that it has changed.
//
// The counter is odd while the file is being changed and even otherwise. Found odd under the lock, it tells of a
// program that died in the middle of a change.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "file/descriptor.h"

namespace zelva::file {

class SharedState {
  public:
    /// The file is opened, and created if need be and possible, by open().
    explicit SharedState(std::string path) : path_(std::move(path)) {}
    SharedState(const SharedState&) = delete;
    SharedState& operator=(const SharedState&) = delete;
    ~SharedState();

    /// 0, or the errno of what failed. A program that may only read the file can read the counter.
    int open();

    /// Whether there is a counter to read.
    bool has_counter() const { return page_.load(std::memory_order_acquire) != nullptr; }

    /// The counter; no system call. Any thread may call this at any time. REQUIRES: has_counter().
    std::uint64_t counter() const {
        return page_.load(std::memory_order_acquire)->changes.load(std::memory_order_acquire);
    }

    /// Takes the lock, which the system frees if the program dies: waits for it, or gives EAGAIN. 0, or the errno of
    /// what failed.
    int lock(bool wait = true);
    void unlock();

    /// Keeps others from changing the store's file for as long as the object lives, where that is possible. Any thread
    /// may do that, also while another one of this program holds or waits for the lock.
    class ReadLock {
      public:
        ReadLock(const SharedState& state, bool wait);

        /// Whether somebody is changing the file, and this was not to wait.
        bool is_refused() const { return is_refused_; }

      private:
        const Descriptor file_;
        bool is_refused_ = false;
    };

    /// Around a change of the store's file. REQUIRES: the lock is held; the counter is even at the beginning.
    void begin_change();
    void end_change();

    /// In the child after fork(): gives up the descriptor that the lock belongs to, since the lock would otherwise
    /// outlive a parent that dies with it.
    void forget_lock();

  private:
    struct Page {
        std::atomic<std::uint64_t> changes;
    };
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "programs share it, each with its own code");

    int map(int access);
    int find_out_whether_removed(bool& is_removed) const;

    const std::string path_;
    Descriptor lock_;
    std::atomic<Page*> page_{nullptr};
    /// All that was ever mapped: another thread may still be reading the counter of a file that has been replaced.
    std::vector<Page*> pages_;
};

}  // namespace zelva::file
