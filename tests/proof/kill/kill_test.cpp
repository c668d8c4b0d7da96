// Programs that are killed: before every call of the system in a script of operations, and in the middle of a long
// write. The store that is left holds what was acknowledged, and of the operation under way all or nothing; so it does
// when the next program is killed too, while it opens that store and writes, or when the disk refuses it something.
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <new>
#include <optional>
#include <random>
#include <string>

#include "batches.h"
#include "format/layout.h"
#include "operations.h"
#include "support.h"
#include "watched_system.h"

using namespace std::string_literals;
using watched::before_call;
using watched::Call;
using watched::Fate;

namespace {

namespace fs = std::filesystem;

/// A text of so many bytes that tells which step has written it.
Value text_of(std::size_t size, std::size_t number) {
    const std::string name = std::to_string(number) + ":";
    return name + bait(size - std::min(size, name.size()), "k" + std::to_string(number % 8));
}

/// Sets, mostly; of all sizes that are written in ways of their own.
std::vector<Operation> script(unsigned seed, State state) {
    std::mt19937 random(seed);
    const auto below = [&random](unsigned most) { return static_cast<unsigned>(random()) % most; };
    std::vector<Operation> steps{set_operation("long", text_of(9000, 0))};
    steps[0].rule(state);
    constexpr unsigned length = 80;
    while (steps.size() < length) {
        const std::string key = "k" + std::to_string(below(6));
        const unsigned sizes[] = {5, 20, 40, 250, 300, 480, 700, 5000};
        const Value value = text_of(sizes[below(std::size(sizes))], steps.size());
        const bool is_present = state.count(key) > 0;
        switch (below(12)) {
            case 0:
            case 1:
                if (!is_present) {
                    continue;
                }
                steps.push_back(delete_operation(key));
                break;
            case 2:
                steps.push_back(set_default_operation(key, value));
                break;
            case 3:
                steps.push_back(reopen_operation("test"));
                break;
            case 4: {
                const auto durability = below(2) == 0 ? ZELVA_CORE_DURABILITY_FULL : ZELVA_CORE_DURABILITY_RELAXED;
                steps.push_back({"change durability", [=] { return zelva_core_settings_set_durability(durability); },
                                 [](State&) { return ZELVA_CORE_STATUS_NO_ERROR; }});
                steps.push_back(sync_operation());
                break;
            }
            case 5:
                if (!is_present) {
                    continue;
                }
                steps.push_back(copy_operation(ZELVA_CORE_SETTING_TYPE_STRING, key, "copy"));
                break;
            case 6: {
                std::set<std::string> present;
                for (const auto& [name, entry] : state) {
                    present.insert(name);
                }
                steps.push_back(random_batch(random, present, 12));
                break;
            }
            default:
                steps.push_back(set_operation(key, value));
        }
        steps.back().rule(state);
    }
    return steps;
}

const std::vector<std::optional<std::string>>& starts() {
    static const std::vector<std::optional<std::string>> all{
        std::nullopt,
        "k0 = Sone\n# mine\nk0 = Stwo\nDEFAULT_k0 = Szero\n\n\nrejected\nk1=  Sx\nk0 = Sthree\nk1 = Sy\nk1 = Sz\n",
        "k0 = Sone\nDEFAULT_k0 = Szero\nk1 = Stwo\nk2 = Sth\0\0\0"s + std::string(700, '\0'),
        "k0 = Sone\nk1 = Stwo\nDEFAULT_k1 = Sthree",
    };
    return all;
}

/// How many steps were acknowledged, in memory that outlives the program.
std::atomic<unsigned>& acknowledged() {
    static auto* const number = [] {
        void* const memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        return new (memory) std::atomic<unsigned>(0);
    }();
    return *number;
}

/// Kills this program before its n-th call; or, if that is a write of several pages, after the first of them.
void kill_before_call(std::size_t n, bool is_in_the_middle) {
    before_call = [n, is_in_the_middle, count = std::size_t{0}](const Call& call) mutable {
        ++count;
        const bool is_long = call.name == "pwrite"s && call.size > zelva::format::page_size;
        if (count == n && is_in_the_middle && is_long) {
            return Fate{0, zelva::format::page_size};
        }
        if (count >= n) {
            kill(getpid(), SIGKILL);
        }
        return Fate{};
    };
}

/// Runs a body in a program of its own, which ends with 0 if all went well. Whether it has lived.
bool lives(const std::function<bool()>& body) {
    const pid_t program = fork();
    if (program == 0) {
        alarm(100);
        signal(SIGABRT, SIG_DFL);
        _exit(body() ? 0 : 1);
    }
    int status = -1;
    BOOST_REQUIRE_EQUAL(program, waitpid(program, &status, 0));
    BOOST_REQUIRE_MESSAGE(WIFSIGNALED(status) ? WTERMSIG(status) == SIGKILL : WEXITSTATUS(status) == 0,
                          "a program has ended with " << status);
    return !WIFSIGNALED(status);
}

void write_start(const std::optional<std::string>& file) {
    for (const std::string& name : names_in_folder()) {
        fs::remove_all(Folder::path() + "/" + name);
    }
    if (file) {
        write_file(store_path(), *file);
    }
    acknowledged() = 0;
}

bool run(const std::vector<Operation>& steps) {
    if (zelva_core_settings_init("test") != ZELVA_CORE_STATUS_NO_ERROR) {
        return false;
    }
    for (const Operation& step : steps) {
        if (step.run() != ZELVA_CORE_STATUS_NO_ERROR) {
            return false;
        }
        ++acknowledged();
    }
    return zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR;
}

struct Totals {
    std::size_t kills = 0;
    std::size_t in_the_middle = 0;
    std::size_t in_recovery = 0;
    std::size_t refused_in_recovery = 0;
} totals;

/// Opens the store, and checks that its state is one of these, and that a set is kept. That state.
State check_store(const std::string& what, const std::vector<State>& allowed) {
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    const State found = state_of_store();
    if (std::find(allowed.begin(), allowed.end(), found) == allowed.end()) {
        BOOST_ERROR(what << "; found:\n" << abridged(found) << "allowed:\n" << abridged(allowed[0]));
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("after", 1));
    OpenStore::restart();
    State expected = found;
    model::set(expected, "after", 1);
    BOOST_CHECK_MESSAGE(state_of_store() == expected, what << ", a set after it is lost");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
    BOOST_CHECK_MESSAGE(names_in_folder() == Strings{"test"}, what << ", a file is left over");
    return found;
}

/// A settings folder, to come back to.
class Copy {
  public:
    Copy() {
        for (const std::string& name : names_in_folder()) {
            files_.emplace_back(name, read_file(store_path(name)));
        }
        shared_ = read_file(shared_state_path());
    }
    void restore() const {
        write_start(std::nullopt);
        for (const auto& [name, text] : files_) {
            write_file(store_path(name), text);
        }
        write_file(shared_state_path(), shared_);
    }

  private:
    std::vector<std::pair<std::string, std::string>> files_;
    std::string shared_;
};

bool open_and_set() {
    return zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR &&
           set("after", 1) == ZELVA_CORE_STATUS_NO_ERROR;
}

/// A program that is killed, and one that is refused something, while it opens the store that was left and writes.
void check_recovery(const std::string& what, const Copy& left, std::vector<State> allowed, std::mt19937& random) {
    const std::vector<State> without = allowed;
    for (State state : without) {
        model::set(state, "after", 1);
        allowed.push_back(state);
    }
    constexpr unsigned most_calls = 40;  // of the recovery
    left.restore();
    const std::size_t n = 1 + random() % most_calls;
    totals.in_recovery += lives([n] {
        kill_before_call(n, n % 2 == 0);
        return open_and_set();
    })
                              ? 0U
                              : 1U;
    check_store(what + ", and in its recovery, before call " + std::to_string(n), allowed);

    left.restore();
    const int errors[] = {EIO, ENOSPC, EDQUOT, EROFS, EMFILE, ENOLCK, ENOMEM};
    const int error = errors[random() % std::size(errors)];
    const std::size_t first = 1 + random() % most_calls;
    const std::size_t last = random() % 2 == 0 ? first : SIZE_MAX;
    before_call = [=, count = std::size_t{0}](const Call&) mutable {
        ++count;
        return count >= first && count <= last ? Fate{error} : Fate{};
    };
    const bool is_done = open_and_set();
    before_call = nullptr;
    zelva_core_settings_deinit();
    totals.refused_in_recovery += is_done ? 0 : 1;
    if (is_done) {
        allowed.erase(allowed.begin(), allowed.begin() + static_cast<std::ptrdiff_t>(without.size()));
    }
    check_store(
        what + ", and refused in its recovery, call " + std::to_string(first) + ", errno " + std::to_string(error),
        allowed);
}

/// Kills a program that runs the steps before its n-th call, or in it.
void check_kill(const std::optional<std::string>& start, const std::vector<Operation>& steps,
                const model::Timeline& timeline, std::size_t n, bool is_in_the_middle, std::mt19937& random) {
    write_start(start);
    BOOST_REQUIRE(!lives([&] {
        kill_before_call(n, is_in_the_middle);
        return run(steps);
    }));
    ++(is_in_the_middle ? totals.in_the_middle : totals.kills);
    const unsigned done = acknowledged();
    const std::string what = "killed "s + (is_in_the_middle ? "in" : "before") + " call " + std::to_string(n) +
                             ", in step " + std::to_string(done) + " (" +
                             (done < steps.size() ? steps[done].name : "close") + ")";
    const Copy left;
    const std::vector<State> allowed = timeline.after_kill(done);
    check_store(what, allowed);
    check_recovery(what, left, allowed, random);
}

bool is_long_write(const Call& call) {
    return call.name == "pwrite"s && call.size > zelva::format::page_size;
}

/// The calls of a script, and whether it does all that is to be interrupted.
std::vector<Call> calls_of(const std::optional<std::string>& start, const std::vector<Operation>& steps) {
    write_start(start);
    std::vector<Call> calls;
    before_call = [&calls](const Call& call) {
        calls.push_back(call);
        return Fate{};
    };
    BOOST_REQUIRE(run(steps));
    before_call = nullptr;
    const auto count = [&calls](const std::string& name) {
        return std::count_if(calls.begin(), calls.end(), [&name](const Call& call) { return name == call.name; });
    };
    BOOST_CHECK(count("renameat2") >= 2);                                 // compaction and close
    BOOST_CHECK(std::any_of(calls.begin(), calls.end(), is_long_write));  // a long value
    BOOST_CHECK(count("fdatasync") >= 40);
    return calls;
}

void check_script(unsigned seed) {
    std::mt19937 random(seed);
    for (const auto& start : starts()) {
        write_start(start);
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        model::Timeline timeline(state_of_store());
        zelva_core_settings_deinit();
        const std::vector<Operation> steps = script(seed, timeline.last());
        for (const Operation& step : steps) {
            State state = timeline.last();
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, step.rule(state));
            timeline.add(std::move(state), step.is_durable);
        }
        const std::vector<Call> calls = calls_of(start, steps);
        for (std::size_t n = 1; n <= calls.size(); ++n) {
            check_kill(start, steps, timeline, n, false, random);
            if (is_long_write(calls[n - 1])) {
                check_kill(start, steps, timeline, n, true, random);
            }
        }
    }
}

}  // namespace

BOOST_AUTO_TEST_SUITE(kills)

BOOST_AUTO_TEST_CASE(a_program_that_is_killed_leaves_all_or_nothing_of_what_it_was_doing) {
    for (unsigned seed = 1; seed <= (is_campaign() ? 30U : 1U); ++seed) {
        check_script(seed);
    }
    BOOST_TEST_MESSAGE(totals.kills << " kills between calls, " << totals.in_the_middle << " in long writes, "
                                    << totals.in_recovery << " more in a recovery, " << totals.refused_in_recovery
                                    << " recoveries refused");
    BOOST_CHECK(totals.kills >= 2000);
    BOOST_CHECK(totals.in_the_middle > 0);
    BOOST_CHECK(totals.in_recovery * 3 > totals.kills);
    BOOST_CHECK(totals.refused_in_recovery * 3 > totals.kills);
    write_start(std::nullopt);
}

BOOST_AUTO_TEST_SUITE_END()
