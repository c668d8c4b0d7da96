// What is promised of this store alone, beyond the comparison: PROGRAM FOLDER KEYS MEASURE SECONDS, where MEASURE is
// fill, handed_out, two_threads, beside_sets, list or memory. Prints its results for comparison.py.
#include <malloc.h>

#include <array>
#include <atomic>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <thread>
#include <unordered_map>
#include <variant>

#include "files.h"
#include "store.h"
#include "timing.h"

namespace {

using namespace bench;

struct Arguments {
    std::string folder;
    Work work;
    double seconds;

    void print(const std::string& measure, double value) const {
        bench::print("zelva-core", work.size(), measure, value);
    }
};

void fill(const Arguments& arguments) {
    const OpenStore store;
    bench::fill(arguments.work);
}

/// Ways to do the same, each a number of times, to be compared: they take turns, each once to fill the processor's
/// caches with what is its own, and once to be measured.
class InTurn {
  public:
    /// `call` takes a number below `calls`.
    template <class Call>
    void add(const std::string& measure, std::size_t calls, Call call) {
        passes_.emplace_back(measure, [calls, call] {
            const auto all = [&] {
                for (std::size_t i = 0; i < calls; ++i) {
                    call(i);
                }
            };
            all();
            const double time = time_of(all);
            return time / static_cast<double>(calls);
        });
    }

    /// Prints the median time of one call of each.
    void print(const Arguments& arguments) const {
        std::map<std::string, std::vector<double>> times;
        const Deadline deadline(arguments.seconds);
        do {
            for (const auto& [measure, pass] : passes_) {
                times[measure].push_back(pass());
            }
        } while (!deadline.is_over());
        for (const auto& [measure, pass] : passes_) {
            arguments.print(measure, median(times[measure]));
        }
    }

  private:
    std::vector<std::pair<std::string, std::function<double()>>> passes_;
};

// What the interface asks for to be allocated, handed out and given back, with nothing else around it.

char* copy_of(const std::string& text) {
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    require(copy != nullptr, "malloc");
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

int* copy_of(int number) {
    int* copy = static_cast<int*>(std::malloc(sizeof number));
    require(copy != nullptr, "malloc");
    *copy = number;
    return copy;
}

template <class Element, class Copy = decltype(copy_of(std::declval<Element>()))>
Copy* copy_of(const std::vector<Element>& elements) {
    Copy* array = static_cast<Copy*>(std::malloc((elements.size() + 1) * sizeof(Copy)));
    require(array != nullptr, "malloc");
    std::size_t size = 0;
    for (const Element& element : elements) {
        array[size++] = copy_of(element);
    }
    array[size] = nullptr;
    return array;
}

template <class Element>
void free_array(Element** array) {
    for (Element** element = array; *element != nullptr; ++element) {
        std::free(*element);
    }
    std::free(array);
}

/// Strings, and arrays of eight elements, handed out by the store and by a hash table that holds the same.
void handed_out(const Arguments& arguments) {
    using Value = std::variant<int, std::string, std::vector<int>, std::vector<std::string>>;
    constexpr std::size_t kinds = std::variant_size_v<Value>;
    const Work& work = arguments.work;
    std::unordered_map<std::string, Value> table;
    std::array<std::vector<std::string>, kinds> keys;
    for (std::size_t i = 0; i < work.size(); ++i) {
        keys[i % kinds].push_back(work.key(i));
    }

    expect(zelva_core_settings_init("handed_out"));
    expect(zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED));
    for (const std::size_t i : work.by_name()) {
        const char* key = work.key(i).c_str();
        Value& value = table[work.key(i)];
        switch (i % kinds) {
            case 0:
                value = work.number(i);
                expect(zelva_core_settings_set_int_value(key, work.number(i)));
                break;
            case 1:
                value = work.text(i);
                expect(zelva_core_settings_set_string_value(key, work.text(i).c_str()));
                break;
            case 2: {
                const std::vector<int> ints(8, work.number(i));
                value = ints;
                int** array = copy_of(ints);
                expect(zelva_core_settings_set_arrayofint_value(key, array));
                free_array(array);
                break;
            }
            default: {
                const std::vector<std::string> strings(8, std::to_string(work.number(i)));
                value = strings;
                char** array = copy_of(strings);
                expect(zelva_core_settings_set_arrayofstring_value(key, array));
                free_array(array);
            }
        }
    }
    expect(zelva_core_settings_deinit());
    expect(zelva_core_settings_init("handed_out"));

    InTurn ways;
    const auto& [ints, strings, int_arrays, string_arrays] = keys;
    ways.add("handed_out_int", ints.size(), [&keys = ints](std::size_t i) { keep(get_int(keys[i])); });
    ways.add("handed_out_int_floor", ints.size(),
             [&keys = ints, &table](std::size_t i) { keep(std::get<int>(table.find(keys[i])->second)); });
    ways.add("handed_out_string", strings.size(), [&keys = strings](std::size_t i) { keep(get_string(keys[i])); });
    ways.add("handed_out_string_floor", strings.size(), [&keys = strings, &table](std::size_t i) {
        keep(HandedOut(copy_of(std::get<std::string>(table.find(keys[i])->second))));
    });
    ways.add("handed_out_ints", int_arrays.size(), [&keys = int_arrays](std::size_t i) {
        int** array = nullptr;
        expect(zelva_core_settings_get_arrayofint_value(keys[i].c_str(), &array, nullptr));
        zelva_core_free_int_array(array);
    });
    ways.add("handed_out_ints_floor", int_arrays.size(), [&keys = int_arrays, &table](std::size_t i) {
        int** array = copy_of(std::get<std::vector<int>>(table.find(keys[i])->second));
        keep(array);
        free_array(array);
    });
    ways.add("handed_out_strings", string_arrays.size(), [&keys = string_arrays](std::size_t i) {
        char** array = nullptr;
        expect(zelva_core_settings_get_arrayofstring_value(keys[i].c_str(), &array, nullptr));
        zelva_core_free_string_array(array);
    });
    ways.add("handed_out_strings_floor", string_arrays.size(), [&keys = string_arrays, &table](std::size_t i) {
        char** array = copy_of(std::get<std::vector<std::string>>(table.find(keys[i])->second));
        keep(array);
        free_array(array);
    });
    ways.print(arguments);
    expect(zelva_core_settings_deinit());
}

/// How many calls all threads make in a second, when so many call at the same time.
template <class Call>
double calls_per_second(std::size_t threads, std::size_t keys, double seconds, const Call& call) {
    std::atomic<bool> has_begun{false};
    std::atomic<bool> is_over{false};
    std::vector<double> rates(threads);
    std::vector<std::thread> running;
    for (std::size_t number = 0; number < threads; ++number) {
        running.emplace_back([&, number] {
            while (!has_begun) {
            }
            const Clock::time_point begin = Clock::now();
            std::size_t calls = 0;
            std::size_t i = number * keys / threads;  // each elsewhere in the store
            while (!is_over.load(std::memory_order_relaxed)) {
                call(i);
                i = i + 1 == keys ? 0 : i + 1;
                ++calls;
            }
            rates[number] = static_cast<double>(calls) * 1e9 / nanoseconds(Clock::now() - begin);
        });
    }
    has_begun = true;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    is_over = true;
    for (std::thread& thread : running) {
        thread.join();
    }
    return std::accumulate(rates.begin(), rates.end(), 0.0);
}

/// How much more two threads read than one; and from a hash table, which tells what the machine makes of two threads.
void two_threads(const Arguments& arguments) {
    const OpenStore store;
    const Work& work = arguments.work;
    std::unordered_map<std::string, int> table;
    for (std::size_t i = 0; i < work.ints(); ++i) {
        table[work.key(i)] = work.number(i);
    }
    const auto get = [&](std::size_t i) { keep(get_int(work.key(i))); };
    const auto look_up = [&](std::size_t i) { keep(table.find(work.key(i))->second); };

    std::vector<double> gets;
    std::vector<double> look_ups;
    std::vector<double> single;
    const double seconds = arguments.seconds / 20;
    for (int turn = 0; turn < 5; ++turn) {
        const double one = calls_per_second(1, work.ints(), seconds, get);
        single.push_back(1e9 / one);
        gets.push_back(calls_per_second(2, work.ints(), seconds, get) / one);
        look_ups.push_back(calls_per_second(2, work.ints(), seconds, look_up) /
                           calls_per_second(1, work.ints(), seconds, look_up));
    }
    arguments.print("one_thread_get", median(single));
    arguments.print("two_threads_gain", median(gets));
    arguments.print("two_threads_gain_floor", median(look_ups));
}

/// Single times, by the nanosecond.
class Histogram {
  public:
    void add(double time) {
        ++counts_[std::min(counts_.size() - 1, static_cast<std::size_t>(std::max(0.0, time)))];
        ++count_;
        longest_ = std::max(longest_, time);
    }

    /// The time that this part of all do not exceed; the longest that is told apart is 100 µs.
    double quantile(double part) const {
        std::size_t below = 0;
        for (std::size_t time = 0; time < counts_.size(); ++time) {
            below += counts_[time];
            if (static_cast<double>(below) >= part * static_cast<double>(count_)) {
                return static_cast<double>(time);
            }
        }
        fail("nothing was measured");
    }

    double longest() const { return longest_; }

  private:
    std::vector<std::size_t> counts_ = std::vector<std::size_t>(100001);
    std::size_t count_ = 0;
    double longest_ = 0;
};

/// Each single get's time while nobody writes, while another thread does durable sets, and while it only does what a
/// set cannot do without: that tells what the machine makes of a thread that waits for the disk. They take turns, and
/// each result is the median of those of all turns.
void beside_sets(const Arguments& arguments) {
    const OpenStore store;
    const Work& work = arguments.work;
    BareLines lines(arguments.folder + "/bare_lines");
    const std::string line = work.key(0) + " = I1\n";
    const auto write_bare = [&] {
        lines.write(0, line);
        lines.flush();
    };

    std::mt19937 random(1);
    unsigned generation = 0;
    const auto set = [&] {
        const std::size_t i = random() % work.ints();
        expect(zelva_core_settings_set_int_value(work.key(i).c_str(), work.number(i, ++generation)));
    };

    const std::vector<std::pair<std::string, std::function<void()>>> writers = {
        {"alone", nullptr}, {"beside_sets", set}, {"beside_bare_writes", write_bare}};
    std::map<std::string, std::vector<double>> results;
    constexpr int turns = 9;
    const double seconds = arguments.seconds / (turns * static_cast<double>(writers.size()));
    for (int turn = 0; turn < turns; ++turn) {
        for (const auto& [name, write] : writers) {
            std::atomic<bool> is_over{false};
            std::thread writer([&, &work_of_writer = write] {
                while (work_of_writer && !is_over) {
                    work_of_writer();
                }
            });
            Histogram histogram;
            const Deadline deadline(seconds);
            do {
                for (std::size_t i = 0; i < work.ints(); ++i) {
                    const Clock::time_point begin = Clock::now();
                    keep(get_int(work.key(i)));
                    histogram.add(nanoseconds(Clock::now() - begin) - clock_cost());
                }
            } while (!deadline.is_over());
            is_over = true;
            writer.join();
            results["read_median_" + name].push_back(histogram.quantile(0.5));
            results["read_p99_" + name].push_back(histogram.quantile(0.99));
            results["read_longest_" + name].push_back(histogram.longest());
        }
    }
    for (const auto& [measure, values] : results) {
        arguments.print(measure, median(values));
    }
}

/// Lists of a hundred keys by prefix, from ten places of the store however large it is, so that what differs is the
/// search and not what the processor's caches hold.
void list(const Arguments& arguments) {
    const OpenStore store;
    const std::size_t sections = arguments.work.size() / Work::section_size;
    std::vector<std::string> prefixes;
    for (std::size_t i = 0; i < 10; ++i) {
        prefixes.push_back(Work::section(i * sections / 10));
    }
    InTurn ways;
    ways.add("list", prefixes.size(), [&](std::size_t i) {
        char** keys = zelva_core_settings_get_keys_starting_with(prefixes[i].c_str());
        require(keys != nullptr && keys[Work::section_size - 1] != nullptr && keys[Work::section_size] == nullptr,
                "a section has a hundred keys");
        zelva_core_free_string_array(keys);
    });
    ways.print(arguments);
}

/// What the process holds of anonymous memory, in bytes: the heap, and whatever else the store might take.
double anonymous_memory() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "RssAnon:") {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024;
        }
    }
    fail("/proc/self/status has no RssAnon");
}

double heap() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

/// The memory of an open store: what malloc has given out, with its own overhead, for one key and its default; and, as
/// a check, what the process has grown by. The text is that of the key and its value in the file, and again with the
/// default's, "DEFAULT_" not counted.
void memory(const Arguments& arguments) {
    const Work& work = arguments.work;
    std::size_t text = 0;
    for (std::size_t i = 0; i < work.size(); ++i) {
        const std::size_t value = work.is_int(i) ? std::to_string(work.number(i)).size() : work.text(i).size();
        text += 2 * (work.key(i).size() + value);
    }
    malloc_trim(0);
    const double heap_before = heap();
    const double anonymous_before = anonymous_memory();
    const OpenStore store;
    keep(get_int(work.key(0)));
    malloc_trim(0);
    const double keys = static_cast<double>(work.size());
    arguments.print("memory_heap", (heap() - heap_before) / keys);
    arguments.print("memory_process", (anonymous_memory() - anonymous_before) / keys);
    arguments.print("memory_text", static_cast<double>(text) / keys);
}

}  // namespace

int main(int argc, char** argv) {
    require(argc == 5, "FOLDER KEYS MEASURE SECONDS");
    use_folder(argv[1]);
    const Arguments arguments{argv[1], Work(std::strtoul(argv[2], nullptr, 10)), std::strtod(argv[4], nullptr)};
    const std::map<std::string, void (*)(const Arguments&)> measures = {
        {"fill", fill}, {"handed_out", handed_out}, {"two_threads", two_threads}, {"beside_sets", beside_sets},
        {"list", list}, {"memory", memory}};
    const auto measure = measures.find(argv[3]);
    require(measure != measures.end(), "no such measure");
    measure->second(arguments);
}
