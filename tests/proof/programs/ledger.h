// What writers in several threads and programs have written into one store, and what a read may find there meanwhile.
//
// A value tells which write of whom it is, and all its other bytes follow from that, so that a mixture or a part of
// values is found out. Which writes were begun and which were acknowledged stands in memory that the programs share, so
// that whoever reads can judge what it reads: nothing older than what was acknowledged before, and nothing that was
// never written. Any thread of any program that was forked after the ledger was made may use it; what has failed is
// counted, since the checks of the test framework are neither for threads nor for forked programs.
#pragma once

#include <atomic>
#include <cstdint>
#include <random>
#include <string>

class Ledger {
  public:
    /// Keys of one writer each, numbered from 0; and one that is everybody's, for so many writers.
    Ledger(unsigned keys, unsigned writers);
    Ledger(const Ledger&) = delete;
    Ledger& operator=(const Ledger&) = delete;
    ~Ledger();

    /// The next write of a key: sets it, or now and then deletes it. One thread at a time writes a key; it may die in
    /// the middle of that, and another may go on.
    void write(unsigned key);

    /// Sets or deletes the key that is everybody's. A writer who deletes it does not die.
    void write_shared(unsigned writer);
    void remove_shared();

    // These read, and judge what they have found.
    void check(unsigned key);
    void check_default(unsigned key);
    void check_shared();
    void check_list();

    /// A read of one kind or another.
    void check_something(std::mt19937& random);

    /// All keys, now that nobody writes.
    void check_all();

    /// A writer's work: so many writes of the key of its number, and of everybody's, and reads between them. Endless
    /// for those who are to be killed: `rounds` is 0.
    void work(unsigned writer, unsigned rounds, unsigned seed);

    /// How many writes of all writers' work are done.
    unsigned steps() const { return page_->steps; }

    /// How many writes of a key were acknowledged.
    unsigned acknowledged(unsigned key) const { return keys_[key].acknowledged; }

    /// Counts a failure, and keeps what the first one was.
    void fail(const std::string& what);

    /// Nothing, or how many failures there were, and the first.
    std::string failures() const;

  private:
    /// A get, of a value or of a default.
    using Get = int(const char* key, char** value);

    static constexpr unsigned most_shared = 1U << 14U;  // sets of everybody's key by one writer

    struct Key {
        std::atomic<std::uint32_t> begun;
        std::atomic<std::uint32_t> acknowledged;
        std::atomic<std::uint32_t> removed;  // the last removal that was acknowledged
    };
    struct Shared {
        std::atomic<std::uint32_t> begun;
        std::atomic<std::uint64_t> end[most_shared];  // when each set was acknowledged
    };
    struct Page {
        std::atomic<std::uint32_t> steps;
        std::atomic<std::uint64_t> clock;
        // Of everybody's key: when the latest set of those that are acknowledged began, and all about deletions.
        std::atomic<std::uint64_t> latest_begin;
        std::atomic<std::uint64_t> latest_removal;
        std::atomic<std::uint32_t> removals_begun;
        std::atomic<std::uint32_t> removals_ended;
        std::atomic<std::uint32_t> failures;
        char first_failure[500];
    };

    void judge(unsigned key, bool is_default);
    bool may_be_absent(unsigned key, std::uint32_t from, std::uint32_t to) const;
    static void raise(std::atomic<std::uint64_t>& number, std::uint64_t to);

    const unsigned key_count_;
    const unsigned writer_count_;
    const std::size_t size_;
    Page* page_;
    Key* keys_;
    Shared* shared_;
};
