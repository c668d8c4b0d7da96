// Microbenchmarks: each operation of the store, by type and by number of keys, and the floors of a get. The stores are
// files in the folder ZELVA_CORE_SETTINGS_DIR, or else in a temporary one. Options are those of Google Benchmark.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "store.h"
#include "timing.h"
#include "types.h"
#include "value/json.h"

namespace {

using namespace bench;
using benchmark::State;

std::string name_of_store(std::size_t keys) {
    return "micro" + std::to_string(keys);
}

/// The open store and what it holds. There is one at a time, which the benchmarks of one size share.
struct Filled {
    explicit Filled(std::size_t keys) : work(keys) {
        expect(zelva_core_settings_init(name_of_store(keys).c_str()));
        fill(work);
    }
    ~Filled() { zelva_core_settings_deinit(); }
    Filled(const Filled&) = delete;
    Filled& operator=(const Filled&) = delete;

    const Work work;
};
std::unique_ptr<Filled> filled;

std::size_t keys_of(const State& state) {
    return static_cast<std::size_t>(state.range(0));
}

/// Before a benchmark: the store of its number of keys.
void use_store(const State& state) {
    if (!filled || filled->work.size() != keys_of(state)) {
        filled.reset();
        filled = std::make_unique<Filled>(keys_of(state));
    }
}

void use_durable_store(const State& state) {
    use_store(state);
    expect(zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL));
}

void use_relaxed_store(const State& state) {
    use_store(state);
    expect(zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED));
}

/// Goes through positions, again and again.
class Positions {
  public:
    explicit Positions(std::size_t size, std::size_t first = 0) : size_(size), next_(first) {}
    std::size_t next() {
        const std::size_t position = next_;
        next_ = position + 1 == size_ ? 0 : position + 1;
        return position;
    }

  private:
    const std::size_t size_;
    std::size_t next_;
};

/// Calls `work` and counts its time alone.
template <class Operation>
void measure_only(State& state, Operation&& work) {
    state.SetIterationTime(time_of(std::forward<Operation>(work)) / 1e9);
}

// By type: one key, handed out and given back. Arrays have eight elements.

/// Two values of each type, in the order of the types.
const std::pair<Value, Value> values[] = {
    {"Living room, floor 1", "Dining room, floor 2"},
    {Json{R"({"name": "Living room", "volume": 0.25, "sources": ["radio", "line", null], "on": true})"}, Json{"{}"}},
    {1, 2},
    {true, false},
    {0.125, 0.25},
    {Strings(8, "1"), Strings(8, "2")},
    {Ints(8, 1), Ints(8, 2)},
    {Bools(8, true), Bools(8, false)},
    {Doubles(8, 0.125), Doubles(8, 0.25)},
};

void get_one(State& state, const TypeFunctions& type) {
    expect(type.set(type.name.c_str(), values[type.type].first));
    for (auto _ : state) {
        expect(type.get_and_free(type.name.c_str()));
    }
}

void set_one(State& state, const TypeFunctions& type) {
    const auto& [one, other] = values[type.type];
    bool is_one = false;
    for (auto _ : state) {
        is_one = !is_one;
        expect(type.set(type.name.c_str(), is_one ? one : other));
    }
}

// By number of keys: any of them.

void get_any_int(State& state) {
    const Work& work = filled->work;
    Positions positions(work.ints(), static_cast<std::size_t>(state.thread_index()) * work.ints() / 2);
    for (auto _ : state) {
        keep(get_int(work.key(positions.next())));
    }
}

void get_any_string(State& state) {
    const Work& work = filled->work;
    Positions positions(work.ints());
    for (auto _ : state) {
        keep(get_string(work.key(work.ints() + positions.next())));
    }
}

void set_any_int(State& state) {
    const Work& work = filled->work;
    Positions positions(work.ints());
    unsigned generation = 0;
    for (auto _ : state) {
        const std::size_t i = positions.next();
        expect(zelva_core_settings_set_int_value(work.key(i).c_str(), work.number(i, ++generation)));
    }
}

void delete_key(State& state) {
    for (auto _ : state) {
        expect(zelva_core_settings_set_int_value("to.be.deleted", 1));
        measure_only(state, [] { expect(zelva_core_settings_delete_key("to.be.deleted")); });
    }
}

/// A hundred keys, from anywhere in the store.
void list_by_prefix(State& state) {
    const std::size_t sections = keys_of(state) / Work::section_size;
    std::vector<std::string> prefixes;
    for (std::size_t i = 0; i < sections; ++i) {
        prefixes.push_back(Work::section(i * 7919 % sections));
    }
    Positions positions(sections);
    for (auto _ : state) {
        char** keys = zelva_core_settings_get_keys_starting_with(prefixes[positions.next()].c_str());
        require(keys != nullptr, "a list");
        zelva_core_free_string_array(keys);
    }
}

void open_store(State& state) {
    for (auto _ : state) {
        expect(zelva_core_settings_deinit());
        measure_only(state, [&] { expect(zelva_core_settings_init(name_of_store(keys_of(state)).c_str())); });
    }
}

void close_store(State& state) {
    for (auto _ : state) {
        measure_only(state, [&] { expect(zelva_core_settings_deinit()); });
        expect(zelva_core_settings_init(name_of_store(keys_of(state)).c_str()));
    }
}

/// Another program that has the store open, and sets a key when asked to.
class OtherProgram {
  public:
    /// REQUIRES: the library has not been called yet.
    OtherProgram() {
        require(pipe(questions_) == 0 && pipe(answers_) == 0, "pipe");
        process_ = fork();
        require(process_ >= 0, "fork");
        if (process_ == 0) {
            close(questions_[1]);
            run();
            _exit(0);
        }
    }

    ~OtherProgram() {
        close(questions_[1]);
        waitpid(process_, nullptr, 0);
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    void set_in_store(std::size_t keys) {
        require(write(questions_[1], &keys, sizeof keys) == sizeof keys, "write");
        char answer = 0;
        require(read(answers_[0], &answer, 1) == 1, "the other program has ended");
    }

  private:
    void run() {
        std::size_t open = 0;
        int generation = 0;
        for (std::size_t keys = 0; read(questions_[0], &keys, sizeof keys) == sizeof keys;) {
            if (keys != open) {
                zelva_core_settings_deinit();
                expect(zelva_core_settings_init(name_of_store(keys).c_str()));
                expect(zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED));
                open = keys;
            }
            expect(zelva_core_settings_set_int_value("of.another.program", ++generation));
            require(write(answers_[1], "", 1) == 1, "write");
        }
    }

    int questions_[2] = {-1, -1};
    int answers_[2] = {-1, -1};
    pid_t process_ = -1;
};

/// The first get after another program's set.
void get_after_other_program(State& state, OtherProgram& other) {
    const Work& work = filled->work;
    for (auto _ : state) {
        other.set_in_store(keys_of(state));
        measure_only(state, [&] { keep(get_int(work.key(0))); });
    }
}

// The floors: what a get cannot do without.

/// The store's keys in a hash table.
template <class Value, class ValueOf>
std::unordered_map<std::string, Value> table(const Work& work, const ValueOf& value_of) {
    std::unordered_map<std::string, Value> table;
    for (const std::size_t i : work.by_name()) {
        table.emplace(work.key(i), value_of(i));
    }
    return table;
}

void floor_int(State& state) {
    const Work work(keys_of(state));
    const auto numbers = table<int>(work, [&](std::size_t i) { return work.number(i); });
    Positions positions(work.ints());
    for (auto _ : state) {
        keep(numbers.find(work.key(positions.next()))->second);
    }
}

void floor_string(State& state) {
    const Work work(keys_of(state));
    const auto texts = table<std::string>(work, [&](std::size_t i) { return work.text(i); });
    Positions positions(work.ints());
    for (auto _ : state) {
        const std::string& text = texts.find(work.key(work.ints() + positions.next()))->second;
        HandedOut copy(static_cast<char*>(std::malloc(text.size() + 1)));
        std::memcpy(copy.get(), text.c_str(), text.size() + 1);
        keep(copy);
    }
}

void floor_arrayofint(State& state) {
    constexpr std::size_t size = 8;
    for (auto _ : state) {
        int** array = static_cast<int**>(std::malloc((size + 1) * sizeof(int*)));
        for (std::size_t i = 0; i < size; ++i) {
            array[i] = static_cast<int*>(std::malloc(sizeof(int)));
            *array[i] = static_cast<int>(i);
        }
        array[size] = nullptr;
        keep(array);
        zelva_core_free_int_array(array);
    }
}

// JSON text into its canonical form, without a store around it.
void canonical_json(State& state) {
    std::string text = "[";
    while (text.size() < keys_of(state)) {
        text += std::get<Json>(values[ZELVA_CORE_SETTING_TYPE_JSON].first).text;
        text += ", ";
    }
    text += "0]";
    for (auto _ : state) {
        const auto canonical = zelva::value::canonical_json(text);
        require(canonical.has_value(), "JSON");
        keep(canonical);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * static_cast<std::int64_t>(state.iterations()));
}

void register_all(OtherProgram& other) {
    const std::vector<std::int64_t> sizes = {100, 1000, 10000, 100000};
    const auto with_sizes = [&](benchmark::internal::Benchmark* benchmark) {
        return benchmark->ArgName("keys")->ArgsProduct({sizes});
    };
    const auto add = [&](const std::string& name, auto function) {
        return benchmark::RegisterBenchmark(name.c_str(), function);
    };
    for (const std::int64_t size : sizes) {
        // Size by size, so that each store is filled once.
        const auto with_size = [&](benchmark::internal::Benchmark* benchmark) {
            return benchmark->ArgName("keys")->Arg(size)->Setup(use_store);
        };
        for (const TypeFunctions& type : types()) {
            with_size(add("get/" + type.name, [&](State& state) { get_one(state, type); }));
        }
        with_size(add("get/any int", get_any_int));
        with_size(add("get/any int", get_any_int))->Threads(2)->UseRealTime();
        with_size(add("get/any string", get_any_string));
        for (const TypeFunctions& type : types()) {
            with_size(add("set relaxed/" + type.name, [&](State& state) {
                set_one(state, type);
            }))->Setup(use_relaxed_store);
        }
        with_size(add("set relaxed/any int", set_any_int))->Setup(use_relaxed_store);
        with_size(add("delete relaxed", delete_key))->Setup(use_relaxed_store)->UseManualTime();
        for (const TypeFunctions& type : types()) {
            with_size(add("set durable/" + type.name, [&](State& state) { set_one(state, type); }))
                ->Setup(use_durable_store)
                ->UseRealTime();
        }
        with_size(add("set durable/any int", set_any_int))->Setup(use_durable_store)->UseRealTime();
        with_size(add("delete durable", delete_key))->Setup(use_durable_store)->UseManualTime();
        with_size(add("list 100 by prefix", list_by_prefix));
        with_size(add("get after another program's set", [&](State& state) {
            get_after_other_program(state, other);
        }))->UseManualTime();
        with_size(add("open", open_store))->UseManualTime();
        with_size(add("close", close_store))->UseManualTime();
    }
    with_sizes(add("floor/look-up of an int", floor_int));
    with_sizes(add("floor/look-up of a string, and a copy", floor_string));
    add("floor/allocations of an array of 8 int", floor_arrayofint);
    add("canonical JSON", canonical_json)->ArgName("bytes")->Arg(100)->Arg(2000)->Arg(100000);
}

/// The folder that the environment names, or a temporary one for as long as this lives.
class Folder {
  public:
    Folder() {
        if (std::getenv("ZELVA_CORE_SETTINGS_DIR") == nullptr) {
            std::string path = (std::filesystem::temp_directory_path() / "zelva-micro-XXXXXX").string();
            require(mkdtemp(path.data()) != nullptr, "mkdtemp");
            temporary_ = path;
            use_folder(path);
        }
    }
    ~Folder() {
        if (!temporary_.empty()) {
            std::filesystem::remove_all(temporary_);
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

  private:
    std::filesystem::path temporary_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    const Folder folder;
    OtherProgram other;
    register_all(other);
    benchmark::RunSpecifiedBenchmarks();
    filled.reset();
}
