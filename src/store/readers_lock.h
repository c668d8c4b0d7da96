// A lock that readers hold together, without getting into each other's way: each thread counts itself in memory of its
// own, where a mutex, or a reader-writer lock, is one piece of memory that the processors hand to each other. A writer
// waits for the readers that are there, and keeps new ones out: those never keep it waiting for long.
//
// For std::shared_lock and std::unique_lock. The thread that has taken the lock gives it back.
#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <thread>

namespace zelva::store {

class ReadersLock {
  public:
    void lock_shared() {
        std::atomic<std::uint32_t>& readers = counter();
        for (;;) {
            readers.fetch_add(1, std::memory_order_seq_cst);
            if (!is_writing_.load(std::memory_order_seq_cst)) {
                return;
            }
            readers.fetch_sub(1, std::memory_order_release);
            const std::lock_guard wait(writers_);
        }
    }
    void unlock_shared() { counter().fetch_sub(1, std::memory_order_release); }

    void lock() {
        writers_.lock();
        is_writing_.store(true, std::memory_order_seq_cst);
        for (const Counter& counter : counters_) {
            // A reader may be of a lower priority than this thread: it has to get the processor.
            constexpr int most_yields = 100;
            for (int i = 0; counter.readers.load(std::memory_order_seq_cst) != 0; ++i) {
                if (i < most_yields) {
                    std::this_thread::yield();
                } else {
                    std::this_thread::sleep_for(std::chrono::microseconds(50));
                }
            }
        }
    }
    void unlock() {
        is_writing_.store(false, std::memory_order_release);
        writers_.unlock();
    }

    /// In the child after fork(), which has the thread alone that holds the lock: another one may have been counted
    /// that had come to see the lock was taken.
    void forget_readers() {
        for (Counter& counter : counters_) {
            counter.readers.store(0, std::memory_order_relaxed);
        }
    }

  private:
    /// One cache line, against false sharing.
    struct alignas(64) Counter {
        std::atomic<std::uint32_t> readers{0};
    };

    /// By the address of the thread's descriptor, which no two threads have in common.
    std::atomic<std::uint32_t>& counter() {
        const auto thread = static_cast<std::uint64_t>(pthread_self());
        return counters_[(thread >> 6U) * 0x9E3779B97F4A7C15U >> 60U].readers;
    }

    std::array<Counter, 16> counters_;
    std::atomic<bool> is_writing_{false};
    std::mutex writers_;
};

}  // namespace zelva::store
