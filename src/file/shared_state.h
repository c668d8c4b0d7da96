// What the programs that have one store open share, in a small file of its own: a lock, which one of them at a time
// holds to change the store's file, and a counter, which tells the others that it has changed. They read the counter in
// mapped memory. It is changed by a write: a full disk is then an error, where a change in mapped memory would end the
// program.
//
// The counter is odd while the file is being changed and even otherwise. Found odd under the lock, it tells of a
// program that died in the middle of a change, or could not count the end of one. It begins at the time of its first
// change; 0 is that of a file that is new, or that somebody has cut off.
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

    /// A program that may only read the file can read the counter, but on an overlay.
    Error open();

    /// Whether there is a counter to read.
    bool has_counter() const { return page_.load(std::memory_order_acquire) != nullptr; }

    /// The counter; no system call. Any thread may call this at any time. REQUIRES: has_counter(). A program that reads
    /// it while somebody has cut the file off to nothing is ended with SIGBUS.
    std::uint64_t counter() const {
        return page_.load(std::memory_order_acquire)->changes.load(std::memory_order_acquire);
    }

    /// The counter, to who holds the lock: read then, and not from mapped memory. REQUIRES: the lock is held.
    std::uint64_t held_counter() const { return held_counter_; }

    /// Takes the lock, which the system frees if the program dies: waits for it, or gives EAGAIN. ESTALE where
    /// the folder that the file is in has been moved away.
    Error lock(bool wait = true);
    void unlock();

    const std::string& path() const { return path_; }

    /// Whether no other object, in this program or another one, has the file open, which each that opens it tells for
    /// as long as it lives. false where that cannot be found out. REQUIRES: the lock is held.
    bool is_alone() const;

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

    /// Around a change of the store's file. On an error no change has begun, or the counter stays odd, and the next one
    /// who holds the lock ends the change. REQUIRES: the lock is held; the counter is even
    /// at the beginning and odd at the end.
    Error begin_change() { return count(); }
    Error end_change() { return count(); }

    /// In the child after fork(): gives up the descriptor that the lock belongs to, since the lock would otherwise
    /// outlive a parent that dies with it. The child has the file open again, for is_alone(), from its next lock on.
    void forget_lock();

  private:
    struct Page {
        std::atomic<std::uint64_t> changes;
    };
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "programs share it, each with its own code");

    Error map(const Descriptor& file);
    Error look_at_name(bool& is_replaced, bool& is_whole) const;
    Error begin_counting();  // in a file that is new, or that somebody has cut off
    Error write_counter(std::uint64_t counter) const;
    Error read_counter(std::uint64_t& counter) const;
    Error count();

    const std::string path_;
    /// Not the file that is mapped, where it can be locked: a mapping keeps an open file alive, and with it its lock,
    /// in a forked child too.
    Descriptor file_;
    bool is_writable_ = false;
    dev_t device_ = 0;  // of the open file
    ino_t inode_ = 0;
    std::uint64_t held_counter_ = 0;
    std::atomic<const Page*> page_{nullptr};
    /// All that was ever mapped: another thread may still be reading the counter of a file that has been replaced.
    std::vector<void*> pages_;
};

}  // namespace zelva::file
