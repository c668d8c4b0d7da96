// What is measured of every store, and how. Each store is a program of its own, peers/*.cpp, which gives main() a
// class:
//
//     static constexpr const char* name;
//     static constexpr bool has_snapshots;      whether many gets can share one look at the store
//     Store(const std::string& folder, const Work& work);     may prepare the keys as the store likes them
//     void fill();                              makes the store, with every key, and brings it to the disk
//     void open(Durability);                    what later sets survive
//     void close();
//     void begin_snapshot(), end_snapshot();    around gets, if has_snapshots
//     int get_int(std::size_t position);
//     T get_string(std::size_t position);       a string that is the caller's to keep, of the store's own kind
//     static std::string text(const T&);
//     void set(std::size_t position, int);
//     void set(std::size_t position, const std::string&);
//
// Each is used as its documentation says is fast, and does the whole of the work: when a set returns, other programs
// see it and it survives the loss of power (Durability::full), or the end of the program (Durability::relaxed).
#pragma once

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "files.h"
#include "timing.h"
#include "work.h"

namespace bench {

enum class Durability { full, relaxed };

/// Measures one store: PROGRAM FOLDER KEYS MEASURE SECONDS, where MEASURE is fill, open, get, set_durable or
/// set_relaxed. Prints its results in nanoseconds an operation.
template <class Store>
class Comparison {
  public:
    static int main(int argc, char** argv) {
        require(argc == 5, "FOLDER KEYS MEASURE SECONDS");
        const Work work(std::strtoul(argv[2], nullptr, 10));
        Comparison comparison(argv[1], work, std::strtod(argv[4], nullptr));
        const std::string measure = argv[3];
        if (measure == "fill") {
            comparison.store_.fill();
            comparison.check_all();
        } else if (measure == "open") {
            comparison.open();
        } else if (measure == "get") {
            comparison.get();
        } else if (measure == "set_durable") {
            comparison.set(measure, Durability::full);
        } else if (measure == "set_relaxed") {
            comparison.set(measure, Durability::relaxed);
        } else {
            fail("no such measure: " + measure);
        }
        return 0;
    }

  private:
    Comparison(const std::string& folder, const Work& work, double seconds)
        : work_(work), folder_(folder), store_(folder, work), seconds_(seconds) {}

    void print(const std::string& measure, double value) const {
        bench::print(Store::name, work_.size(), measure, value);
    }

    /// Once in a process, as programs do: stores may keep what they have read.
    void open() {
        int first = 0;
        print("open", time_of([&] {
                  store_.open(Durability::full);
                  first = store_.get_int(0);
              }));
        work_.check(0, first);
        store_.close();
    }

    void get() {
        store_.open(Durability::full);
        check();
        print_gets("");
        if constexpr (Store::has_snapshots) {
            store_.begin_snapshot();
            print_gets("_of_snapshot");
            store_.end_snapshot();
        }
        store_.close();
    }

    void print_gets(const std::string& suffix) {
        std::vector<double> ints;
        std::vector<double> strings;
        const Deadline deadline(seconds_);
        do {
            ints.push_back(pass(0, work_.ints(), [&](std::size_t i) { keep(store_.get_int(i)); }));
            strings.push_back(pass(work_.ints(), work_.size(), [&](std::size_t i) { keep(store_.get_string(i)); }));
        } while (!deadline.is_over());
        print("get_int" + suffix, median(std::move(ints)));
        print("get_string" + suffix, median(std::move(strings)));
    }

    /// The time of one call, of all in a range.
    template <class Call>
    static double pass(std::size_t begin, std::size_t end, Call&& call) {
        const std::size_t repetitions = 1 + 5000 / (end - begin);
        const double time = time_of([&] {
            for (std::size_t n = 0; n < repetitions; ++n) {
                for (std::size_t i = begin; i < end; ++i) {
                    call(i);
                }
            }
        });
        return time / static_cast<double>(repetitions * (end - begin));
    }

    /// Durable sets take turns with the least that one can cost, since what a disk takes for it changes from one second
    /// to the next, most of all where it is shared.
    void set(const std::string& measure, Durability durability) {
        store_.open(durability);
        std::mt19937 random(std::random_device{}());
        std::vector<unsigned> generations(work_.size(), static_cast<unsigned>(random() % 1000000));
        std::vector<std::size_t> changed;
        std::vector<double> times;
        std::vector<double> floor_times;
        BareLines lines(folder_ + "/bare_lines");
        const Deadline deadline(seconds_);
        do {
            const std::size_t i = random() % work_.size();
            const unsigned generation = ++generations[i];
            changed.push_back(i);
            const int number = work_.number(i, generation);
            const std::string text = work_.text(i, generation);
            if (durability == Durability::full) {
                floor_times.push_back(time_of([&] {
                    lines.write(i, text);
                    lines.flush();
                }));
            }
            times.push_back(time_of([&] {
                if (work_.is_int(i)) {
                    store_.set(i, number);
                } else {
                    store_.set(i, text);
                }
            }));
        } while (!deadline.is_over());
        store_.close();
        print(measure, median(times));
        print(measure + "_mean", mean(times));
        if (!floor_times.empty()) {
            print(measure + "_floor", median(floor_times));
        }

        store_.open(durability);
        for (const std::size_t i : changed) {
            require(work_.is_int(i) ? store_.get_int(i) == work_.number(i, generations[i])
                                    : Store::text(store_.get_string(i)) == work_.text(i, generations[i]),
                    "a set was lost");
        }
        store_.close();
    }

    void check_all() {
        store_.open(Durability::full);
        check();
        store_.close();
    }

    void check() {
        for (std::size_t i = 0; i < work_.size(); ++i) {
            if (work_.is_int(i)) {
                work_.check(i, store_.get_int(i));
            } else {
                work_.check(i, Store::text(store_.get_string(i)));
            }
        }
    }

    const Work& work_;
    const std::string folder_;
    Store store_;
    const double seconds_;
};

}  // namespace bench
