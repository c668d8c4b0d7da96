// When the disk refuses: the first call of the system in an operation fails, then the second, until none does; once and
// from then on, with each errno, and falls short. The operation then says so and has changed nothing, or it has done
// its work.
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "batches.h"
#include "calls.h"
#include "format/layout.h"
#include "programs.h"
#include "support.h"
#include "watched_system.h"

using namespace std::string_literals;
using watched::before_call;
using watched::Call;
using watched::Fate;

namespace {

namespace fs = std::filesystem;

/// How calls fail: the n-th one; all from there on, or those that write; or the n-th one falls short, and the next ones
/// do too, or fail.
enum class Kind { once, from_then_on, writes_from_then_on, short_once, short_from_then_on, short_then_failing };

struct Failure {
    Kind kind;
    int error;
};

const std::vector<Failure>& failures() {
    static const std::vector<Failure> all = [] {
        std::vector<Failure> made{
            {Kind::short_once, 0}, {Kind::short_from_then_on, 0}, {Kind::short_then_failing, ENOSPC}};
        for (const int error : {ENOSPC, EDQUOT, EIO, EROFS, EMFILE, ENOLCK, ENOMEM, EINTR, EACCES, EINVAL}) {
            made.push_back({Kind::once, error});
            made.push_back({Kind::from_then_on, error});
            if (error != EINTR) {
                made.push_back({Kind::writes_from_then_on, error});
            }
        }
        return made;
    }();
    return all;
}

/// Calls an operation with a failure of its n-th call of the system. What has come of it:
struct Outcome {
    zelva_core_status status = ZELVA_CORE_STATUS_NO_ERROR;
    std::vector<Call> calls;
    std::vector<bool> has_failed;
    bool is_reached = false;  // there was such a call

    Outcome(const std::function<zelva_core_status()>& operation, const Failure& failure, std::size_t n) {
        before_call = [&](const Call& call) {
            calls.push_back(call);
            const Fate fate = fate_of(call, failure, n);
            has_failed.push_back(fate.error != 0);
            return fate;
        };
        status = operation();
        before_call = nullptr;
    }

    /// Whether a flush has failed that nothing has made good. That of a new file is no loss before the file is in
    /// place, and then makes good those of the old one. Some folders cannot be flushed: those of some file systems, and
    /// those that cannot be read.
    bool has_lost_a_flush(int error) const {
        bool has_lost_new = false;
        bool has_lost = false;
        for (std::size_t i = 0; i < calls.size(); ++i) {
            const std::string name = calls[i].name;
            if (name == "renameat2" && !has_failed[i]) {
                has_lost = has_lost_new;
            } else if (name == "fdatasync") {
                has_lost = has_lost || has_failed[i];
            } else if (name == "fsync" && i > 0 && calls[i - 1].name == "open"s) {
                has_lost = has_lost || (has_failed[i] && error != EINVAL && error != EACCES);
            } else if (name == "fsync") {
                has_lost_new = has_failed[i];
            }
        }
        return has_lost;
    }

    /// Whether a change has been made whose end could not be counted.
    bool has_failed_to_end() const {
        bool is_end = true;
        bool has_failed_to = false;
        for (std::size_t i = 0; i < calls.size(); ++i) {
            if (calls[i].name == "count"s) {
                is_end ^= calls[i].size == sizeof(std::uint64_t);  // less is the rest of one that fell short
                has_failed_to = has_failed_to || (is_end && has_failed[i]);
            }
        }
        return has_failed_to;
    }

  private:
    Fate fate_of(const Call& call, const Failure& failure, std::size_t n) {
        const std::size_t number = calls.size();
        const bool is_transfer =
            call.name == "pread"s || call.name == "pwrite"s || call.name == "count"s || call.name == "read_count"s;
        const Fate half{0, std::max<std::size_t>(call.size / 2, 1)};
        is_reached = is_reached || number == n;
        switch (failure.kind) {
            case Kind::once:
                return number == n ? Fate{failure.error} : Fate{};
            case Kind::from_then_on:
                // What is interrupted may be tried again, but not forever.
                return number >= n && (failure.error != EINTR || number < n + 20) ? Fate{failure.error} : Fate{};
            case Kind::writes_from_then_on:
                return number >= n && (is_write(call) || call.name == "count"s) ? Fate{failure.error} : Fate{};
            case Kind::short_once:
                return number == n && is_transfer ? half : Fate{};
            case Kind::short_from_then_on:
                return number >= n && is_transfer ? half : Fate{};
            case Kind::short_then_failing:
                return number == n && is_transfer ? half : number == n + 1 ? Fate{failure.error} : Fate{};
        }
        return {};
    }
};

/// An operation, and how it comes to that.
struct Scenario {
    const char* name;
    std::optional<std::string> file;
    std::function<zelva_core_status()> run;
    std::function<void()> prepare = [] {};
};

/// Opens the store anew on the scenario's file.
void begin(const Scenario& scenario) {
    zelva_core_settings_deinit();
    for (const std::string& name : names_in_folder()) {
        fs::remove_all(Folder::path() + "/" + name);
    }
    if (scenario.file) {
        write_file(store_path(), *scenario.file);
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    scenario.prepare();
}

/// The file has grown by a page, in which "k" then gets its next line.
void leave_replaced() {
    set("warm", bait(400));
    set("k", 3);
}

void set_relaxed() {
    warm_up();
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
    set("warm", 3);
    set("relaxed", 3);
}

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = [] {
        const std::string file = "# a comment\nk = I1\nDEFAULT_k = I7\nother = Sx\n";
        const auto set_k = [] { return set("k", 2); };
        const auto set_new = [] { return set("new", 2); };
        const auto announce = [] {
            unsigned version = 0;
            return zelva_core_settings_get_and_set_version(&version, 5);
        };
        const auto delete_k = [] { return zelva_core_settings_delete_key("k"); };
        const auto set_text = [](const char* key, std::size_t size) { return [=] { return set(key, bait(size)); }; };
        const std::vector<Scenario> common{
            {"set", file, set_k},
            {"set of a new key", file, set_new},
            {"set to the same value", file, [] { return set("k", 1); }},
            {"set of a default", file, [] { return set_default("k", 2); }},
            {"set of a long value", file, set_text("other", 700)},
            {"set of a very long value", file, set_text("other", 9000)},
            {"set of a new key to a long value", file, set_text("new", 700)},
            {"set of a new key over two sectors", file, set_text("new", 300)},
            {"delete", file, delete_k},
            {"delete of a key with several lines", "k = I5\nk = I4\n" + file, delete_k},
            {"copy", file, [] { return zelva_core_settings_copy_string_key("other", "new"); }},
            {"version", file, announce},
            {"batch", file,
             [] {
                 return write_all({{"k", Value(2)}, {"new", Value(3)}});
             }},
            {"batch with long values", file,
             [] {
                 return write_all({{"k", Value(2)}, {"other", bait(700)}, {"new", bait(300)}});
             }},
            {"batch with a delete", file,
             [] {
                 return write_all({{"k", std::nullopt}, {"new", Value(3)}});
             }},
            {"sync", file, [] { return zelva_core_settings_sync(); }},
            {"reload", file, [] { return zelva_core_settings_reload(); }},
            {"close", file, [] { return zelva_core_settings_deinit(); }},
        };
        std::vector<Scenario> made;
        for (const Scenario& scenario : common) {
            made.push_back(scenario);
            made.push_back(scenario);
            made.back().prepare = warm_up;
            made.push_back(scenario);
            made.back().prepare = set_relaxed;
        }
        const std::string almost_page = "#" + std::string(4070 - file.size(), '.') + "\n";
        const std::vector<Scenario> special{
            {"first set", std::nullopt, set_k},
            {"set that compacts", wasteful_file(), set_k},
            {"set of a long value that compacts", wasteful_file(), set_text("new", 700)},
            {"delete that compacts", wasteful_file(), delete_k},
            {"set behind a line without its line feed", file + "last = I1", set_k},
            {"delete beside a line without its line feed", file + "last = I1", delete_k},
            {"set behind damage", file + "l = I\0\0\0"s, set_k},
            {"set that makes the file grow", file + almost_page, set_new, warm_up},
            {"close with a replaced line in another page", file + almost_page,
             [] { return zelva_core_settings_deinit(); }, leave_replaced},
            {"version with a default that is left over", file + "DEFAULT_Version = I9\n", announce},
            {"version with a replaced line in another page", file + almost_page, announce, leave_replaced},
            {"get of what another program has set", file,
             [] {
                 int number = 0;
                 return zelva_core_settings_get_int_value("k", &number);
             },
             [] { BOOST_REQUIRE_EQUAL(0, result_of(start([] { return set("k", 3); }))); }},
            {"set after another program's", file, set_new,
             [] {
                 warm_up();
                 BOOST_REQUIRE_EQUAL(0, result_of(start([] { return set("k", 3); })));
             }},
        };
        made.insert(made.end(), special.begin(), special.end());
        return made;
    }();
    return all;
}

State state_after(const Scenario& scenario, bool is_run) {
    begin(scenario);
    if (is_run) {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, scenario.run());
    }
    zelva_core_settings_init("test");  // if that was a close
    return state_of_store();
}

struct Totals {
    std::size_t runs = 0;
    std::size_t refusals = 0;
    std::size_t half_done = 0;  // refused, and neither done nor undone until the file could be written again
} totals;

/// Compares states, and shows them where they differ.
bool is_one_of(const State& found, const std::vector<const State*>& allowed) {
    if (std::any_of(allowed.begin(), allowed.end(), [&found](const State* state) { return found == *state; })) {
        return true;
    }
    BOOST_ERROR("found:\n" + abridged(found) + "allowed:\n" + abridged(*allowed[0]));
    return false;
}

/// Checks a scenario with a failure of its n-th call; and after it, without another program's start, that the next set
/// is done, or else what a restart finds. Whether there are so many calls.
bool check(const Scenario& scenario, const State& before, const State& after, const Failure& failure, std::size_t n,
           bool is_restarted) {
    begin(scenario);
    const Strings names = names_in_folder();
    const Outcome outcome(scenario.run, failure, n);
    ++totals.runs;
    bool is_right = true;
    const auto require = [&is_right](bool holds, const std::string& what) {
        if (!holds) {
            is_right = false;
            BOOST_ERROR(what);
        }
    };

    zelva_core_settings_init("test");  // if that was a close
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL);
    const bool is_done = outcome.status == ZELVA_CORE_STATUS_NO_ERROR;
    // What is interrupted is tried again.
    const std::string name = outcome.is_reached ? outcome.calls[n - 1].name : "";
    const bool is_resumable =
        name == "pread" || name == "pwrite" || name == "count" || name == "read_count" || name == "lock";
    require(is_done || failure.error != EINTR || failure.kind != Kind::once || !is_resumable, "interrupted");
    // A failed flush may be made good: by a new file; or it was that of a folder, which some file systems do not have.
    require(!is_done || !outcome.has_lost_a_flush(failure.error), "done without a flush");
    require(is_done || outcome.status ==
                           (failure.error == ENOMEM ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_IO_FAILED),
            "status " + std::to_string(outcome.status));
    is_right &= is_one_of(state_of_store(), {is_done ? &after : &before});
    totals.refusals += is_done ? 0 : 1;
    const bool is_broken = failure.kind == Kind::from_then_on || failure.kind == Kind::writes_from_then_on;
    const bool may_be_half_done = !is_done && (is_broken || outcome.has_failed_to_end());
    require(is_done || may_be_half_done || names_in_folder() == names, "a file is left over");

    std::vector<State> allowed{is_done ? after : before};
    if (may_be_half_done) {
        allowed.push_back(after);
    }
    if (!is_restarted) {
        const Calls calls([&] { require(set("next", 1) == ZELVA_CORE_STATUS_NO_ERROR, "the next set fails"); });
        require(!outcome.has_lost_a_flush(failure.error) || calls.count("renameat2") > 0,
                "a file is trusted that could not be flushed");
        for (State& state : allowed) {
            state["next"] = {1, 1};
        }
        is_right &= is_one_of(state_of_store(), {&allowed.front(), &allowed.back()});
        allowed = {state_of_store()};
    }
    OpenStore::restart();
    const State found = state_of_store();
    is_right &= is_one_of(found, {&allowed.front(), &allowed.back()});
    totals.half_done += found == allowed.front() ? 0 : 1;
    require(names_in_folder().empty() || names_in_folder() == Strings{"test"}, "a file is left over after a restart");
    if (!is_right) {
        BOOST_ERROR("in " << scenario.name << ", call " << n << " (" << outcome.calls[n - 1].name << "), errno "
                          << failure.error << ", kind " << static_cast<int>(failure.kind)
                          << (is_restarted ? ", after a restart" : ""));
    }
    return outcome.is_reached;
}

}  // namespace

BOOST_AUTO_TEST_SUITE(disk)

BOOST_AUTO_TEST_CASE(an_operation_that_the_disk_refuses_says_so_and_changes_nothing) {
    for (const Scenario& scenario : scenarios()) {
        const State before = state_after(scenario, false);
        const State after = state_after(scenario, true);
        for (const Failure& failure : failures()) {
            for (const bool is_restarted : {false, true}) {
                for (std::size_t n = 1; check(scenario, before, after, failure, n, is_restarted); ++n) {
                }
            }
        }
    }
    zelva_core_settings_deinit();
    fs::remove(store_path());
    BOOST_TEST_MESSAGE(totals.runs << " failures, " << totals.refusals << " operations refused, " << totals.half_done
                                   << " of them done all the same, as nothing could be undone");
    BOOST_CHECK(totals.refusals > 1000);
    BOOST_CHECK(!watched::has_opened_inheritable);
}

BOOST_AUTO_TEST_CASE(an_open_that_the_disk_refuses_leaves_the_store_closed) {
    write_file(configuration_path(), "k = I1\n");
    for (const Failure& failure : failures()) {
        bool is_reached = true;
        for (std::size_t n = 1; is_reached; ++n) {
            const Outcome outcome([] { return zelva_core_configuration_init("test"); }, failure, n);
            is_reached = outcome.is_reached;
            BOOST_CHECK_EQUAL(outcome.status == ZELVA_CORE_STATUS_NO_ERROR ? ZELVA_CORE_STATUS_NO_ERROR
                                                                           : ZELVA_CORE_STATUS_NOT_INITIALIZED,
                              zelva_core_configuration_deinit());
        }
    }
    fs::remove(configuration_path());
}

BOOST_AUTO_TEST_CASE(a_store_opens_without_its_shared_state_but_not_without_its_file) {
    for (const Failure& failure : failures()) {
        bool is_reached = true;
        int opened = 0;
        for (std::size_t n = 1; is_reached; ++n) {
            zelva_core_settings_deinit();
            write_file(store_path(), "k = I1\n");
            const Outcome outcome([] { return zelva_core_settings_init("test"); }, failure, n);
            is_reached = outcome.is_reached;
            if (outcome.status == ZELVA_CORE_STATUS_NO_ERROR) {
                // It finds its shared state when it writes.
                opened += is_reached ? 1 : 0;
                write_file(store_path(), "k = I12\n");
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 1));
                BOOST_CHECK_EQUAL(Value(12), value_of("k"));
                BOOST_CHECK_EQUAL("k = I12\nDEFAULT_l = I1\nl = I1\n", OpenStore::file());
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
            } else {
                BOOST_CHECK_EQUAL(
                    failure.error == ENOMEM ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_IO_FAILED,
                    outcome.status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
            }
        }
        BOOST_CHECK(opened > 0);
    }
    fs::remove(store_path());
}

// Else the key would be gone after a loss of power, though the delete has failed.
BOOST_AUTO_TEST_CASE(a_delete_that_fails_half_way_brings_its_undoing_to_the_disk) {
    const OpenStore store("k = I1\n#" + std::string(600, '.') + "\nDEFAULT_k = I2\n");
    zelva_core_settings_sync();
    std::string names;
    before_call = [&names](const Call& call) {
        const bool is_second_write = call.name == "pwrite"s && names.find("pwrite fdatasync ") != std::string::npos &&
                                     names.find("refused") == std::string::npos;
        names += call.name == "pwrite"s || call.name == "fdatasync"s ? call.name + " "s : "";
        names += is_second_write ? "refused " : "";
        return is_second_write ? Fate{EIO} : Fate{};
    };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_delete_key("k"));
    before_call = nullptr;
    const std::string undoing = "pwrite refused pwrite pwrite fdatasync ";
    BOOST_CHECK_MESSAGE(names.find(undoing) != std::string::npos, names);
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
}

// Both for a write in place and for one of the whole file, and for the beginning and the end of a change.
BOOST_AUTO_TEST_CASE(a_get_does_not_wait_for_the_disk_of_another_thread) {
    const TimeLimit limit;
    for (const auto& [name, n] :
         {std::pair("fdatasync"s, 1), std::pair("fsync"s, 1), std::pair("count"s, 1), std::pair("count"s, 2)}) {
        const OpenStore store("k = I1\n" + (name == "fsync" ? wasteful_file() : "") + "k = I1\nl = I1\n");
        std::mutex mutex;
        std::condition_variable changed;
        int calls = 0;
        bool is_waiting = false;
        bool may_go_on = false;
        before_call = [&, &name = name, n = n](const Call& call) {
            std::unique_lock lock(mutex);
            if (name == call.name && ++calls == n) {
                is_waiting = true;
                changed.notify_all();
                changed.wait(lock, [&] { return may_go_on; });
            }
            return Fate{};
        };
        std::thread writer([] { set("k", 2); });
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return is_waiting; });
        }
        // What others do not know of yet is not read either.
        BOOST_CHECK_EQUAL(Value(1), value_of("k"));
        BOOST_CHECK_EQUAL(Value(1), value_of("l"));
        BOOST_CHECK_EQUAL(2U, keys().size());
        {
            const std::lock_guard lock(mutex);
            may_go_on = true;
        }
        changed.notify_all();
        writer.join();
        before_call = nullptr;
        BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    }
}

// A reader has read a part of the file when another program writes into the rest: a line that has been read in part
// would be one of another key. The second time the other program waits for the reader.
BOOST_AUTO_TEST_CASE(a_get_reads_again_what_has_changed_while_it_read) {
    const TimeLimit limit;
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    Program other;
    const auto set_phantom = [](int) { return static_cast<int>(set("k0123456789", "phantom=I1"s)); };
    const auto set_more = [](int) { return static_cast<int>(set("k9876543210", "phantom=I1"s)); };
    BOOST_REQUIRE_EQUAL(0, other.run([](int value) { return static_cast<int>(set("k", value)); }, 3));
    int reads = 0;
    bool has_waited = false;
    bool is_next_half = false;
    before_call = [&](const Call& call) {
        if (call.name != "pread"s) {
            return Fate{};
        }
        if (!std::exchange(is_next_half, !is_next_half)) {
            const std::string text = read_file(store_path());
            const std::size_t end = text.find_last_not_of('\n') + 1;
            return Fate{0, end + "kDEFAULT_k0123456789 = S"s.size()};
        }
        if (++reads == 1) {
            other.run(set_phantom);
        } else if (reads == 2) {
            other.begin(set_more);
            has_waited = !other.has_finished(100);
        }
        return Fate{};
    };
    const Strings found = keys();
    before_call = nullptr;
    BOOST_CHECK(has_waited);
    BOOST_CHECK_EQUAL(0, other.result());
    BOOST_CHECK(found == (Strings{"k", "k0123456789"}));
    BOOST_CHECK(keys() == (Strings{"k", "k0123456789", "k9876543210"}));
}

BOOST_AUTO_TEST_CASE(a_file_that_cannot_be_replaced_is_changed_in_place) {
    const OpenStore store(wasteful_file());
    before_call = [](const Call& call) { return call.name == "renameat2"s ? Fate{EACCES} : Fate{}; };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    const Calls calls([] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3)); });
    BOOST_CHECK_EQUAL(1U, calls.count("fdatasync"));
    BOOST_CHECK_EQUAL(0U, calls.count("fsync"));  // it is not tried again at once
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
    BOOST_CHECK(names_in_folder() == Strings{"test"});
}

BOOST_AUTO_TEST_CASE(a_lock_that_cannot_be_looked_at_is_an_error_and_not_tried_forever) {
    const TimeLimit limit;
    const OpenStore store("k = I1\n");
    before_call = [](const Call& call) { return call.name == "fstat"s || call.name == "stat"s ? Fate{EIO} : Fate{}; };
    std::filesystem::remove_all(Folder::path() + "/.zelva");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    before_call = nullptr;
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
}

BOOST_AUTO_TEST_CASE(a_lock_that_cannot_be_looked_at_is_given_back) {
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    before_call = [](const Call& call) { return call.name == "stat"s ? Fate{EIO} : Fate{}; };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 3));
    before_call = nullptr;
    Program other;
    other.begin([](int value) { return static_cast<int>(set("k", value)); }, 4);
    BOOST_CHECK(other.has_finished(10'000));
}

// Some file systems cannot flush a folder, and one that cannot be read cannot be opened for that.
BOOST_AUTO_TEST_CASE(a_folder_that_cannot_be_flushed_at_all_keeps_nobody_from_writing) {
    const std::string file = "k = I1\n";
    std::vector<Call> calls;
    {
        const OpenStore store(file);
        calls = Calls([] { set("k", 2); }).all;
    }
    for (const auto& [name, error] : {std::pair("open"s, EACCES), std::pair("open"s, EMFILE),
                                      std::pair("fsync"s, EINVAL), std::pair("fsync"s, EIO)}) {
        const OpenStore store(file);
        std::size_t number = 0;
        bool is_reached = false;
        before_call = [&, &name = name, &error = error](const Call& call) {
            const bool is_folder =
                number + 1 < calls.size() && calls[number + (name == "open" ? 1 : 0)].name == "fsync"s;
            ++number;
            is_reached = is_reached || (is_folder && call.name == name);
            return is_folder && call.name == name ? Fate{error} : Fate{};
        };
        const bool may_be_another_time = error == EMFILE || error == EIO;
        BOOST_CHECK_EQUAL(may_be_another_time ? ZELVA_CORE_STATUS_IO_FAILED : ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        before_call = nullptr;
        BOOST_CHECK(is_reached);
    }
}

BOOST_AUTO_TEST_CASE(a_write_that_writes_nothing_is_an_error_and_not_tried_forever) {
    const OpenStore store("k = I1\n");
    int writes = 0;
    before_call = [&writes](const Call& call) {
        if (call.name != "pwrite"s) {
            return Fate{};
        }
        return ++writes < 1000 ? Fate{0, 0} : Fate{EIO};
    };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    before_call = nullptr;
    BOOST_CHECK(writes < 10);
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_file_system_that_cannot_exchange_names_gets_the_new_file_all_the_same) {
    const OpenStore store("k = I1");  // without its line feed
    bool is_first = true;
    before_call = [&is_first](const Call& call) {
        return call.name == "renameat2"s && std::exchange(is_first, false) ? Fate{EINVAL} : Fate{};
    };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    before_call = nullptr;
    BOOST_CHECK(!is_first);
    BOOST_CHECK_EQUAL("k = I2\n", OpenStore::file());
    BOOST_CHECK(names_in_folder() == Strings{"test"});
}

// Between looking at the file and writing it, as late as can be.
BOOST_AUTO_TEST_CASE(a_file_that_somebody_changes_at_the_last_moment_is_kept) {
    struct Case {
        std::optional<std::string> file;
        const char* call;
    };
    const std::string edited = "edited = I5\nk = I3\n";
    for (const Case& moment : {Case{"k = I1\n", "statx"}, Case{"k = I1", "statx"}, Case{{}, "renameat2"}}) {
        fs::remove(store_path());
        if (moment.file) {
            write_file(store_path(), *moment.file);
        }
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        bool is_first = true;
        before_call = [&](const Call& call) {
            if (moment.call == std::string(call.name) && std::exchange(is_first, false)) {
                write_file(store_path() + "~", edited);
                fs::rename(store_path() + "~", store_path());
            }
            return Fate{};
        };
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        before_call = nullptr;
        BOOST_CHECK(!is_first);
        BOOST_CHECK_EQUAL(Value(5), value_of("edited"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
        BOOST_CHECK_EQUAL("edited = I5\nk = I2\n", OpenStore::file());
    }
    fs::remove(store_path());
}

// The operation judges what it then finds, whatever it is, and not without end.
BOOST_AUTO_TEST_CASE(a_file_that_is_another_one_when_it_is_opened_is_looked_at_again_once) {
    using Operation = zelva_core_status (*)();
    struct Case {
        const char* file;
        Operation run;
        zelva_core_status status;
    };
    const Operation set_k = [] { return set("k", 2); };
    const Operation delete_k = [] { return zelva_core_settings_delete_key("k"); };
    const Operation copy_k = [] { return zelva_core_settings_copy_int_key("k", "new"); };
    const Operation sync = [] { return zelva_core_settings_sync(); };
    const Operation announce = [] {
        unsigned version = 0;
        return zelva_core_settings_get_and_set_version(&version, 5);
    };
    for (const Case& tried :
         {Case{"k = I3\nk = I3\n", set_k, ZELVA_CORE_STATUS_NO_ERROR},
          Case{"k = Stext\n", set_k, ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE},
          Case{"k = I3\n", delete_k, ZELVA_CORE_STATUS_NO_ERROR},
          Case{"l = I3\n", delete_k, ZELVA_CORE_STATUS_SETTING_NOT_PRESENT},
          Case{"k = I3\n", copy_k, ZELVA_CORE_STATUS_NO_ERROR}, Case{"k = I3\n", sync, ZELVA_CORE_STATUS_NO_ERROR},
          Case{"k = I3\n", announce, ZELVA_CORE_STATUS_NO_ERROR},
          Case{"Version = I7\n", announce, ZELVA_CORE_STATUS_NO_ERROR}}) {
        for (const int times : {1, 1000}) {
            const OpenStore store("k = I1\n");
            int replaced = 0;
            before_call = [&](const Call& call) {
                if (call.name == "statx"s && replaced < times) {
                    write_file(store_path() + "~", tried.file + ("# " + std::to_string(++replaced)) + "\n");
                    fs::rename(store_path() + "~", store_path());
                }
                return Fate{};
            };
            const bool is_decided_without = tried.status != ZELVA_CORE_STATUS_NO_ERROR;
            BOOST_CHECK_EQUAL(times == 1 || is_decided_without ? tried.status : ZELVA_CORE_STATUS_IO_FAILED,
                              tried.run());
            before_call = nullptr;
            // When it is opened first, when it is looked at again for that, and when it is opened then.
            BOOST_CHECK_EQUAL(times == 1 ? 1 : is_decided_without ? 2 : 3, replaced);
            const std::string left = read_file(store_path());
            BOOST_CHECK(left.find("# " + std::to_string(replaced)) != std::string::npos);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("next", 1));
        }
    }
}

// Where it cannot be given what the old file has, a new one does not take its place.
BOOST_AUTO_TEST_CASE(a_file_whose_attributes_cannot_be_copied_is_changed_in_place,
                     *boost::unit_test::precondition(has_attributes)) {
    for (const char* refused : {"flistxattr", "fgetxattr", "fsetxattr"}) {
        for (const int error : {EPERM, ENOSPC, E2BIG, ENOMEM, EACCES}) {
            const OpenStore store(wasteful_file());
            BOOST_REQUIRE_EQUAL(0, setxattr(store_path().c_str(), "user.note", "mine", 4, 0));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
            int refusals = 0;
            int replacements = 0;
            before_call = [&](const Call& call) {
                const bool is_refused = refused == std::string(call.name);
                refusals += is_refused ? 1 : 0;
                replacements += call.name == "renameat2"s ? 1 : 0;
                return Fate{is_refused ? error : 0};
            };
            for (int i = 0; i < 40; ++i) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", i));
            }
            before_call = nullptr;
            BOOST_CHECK_EQUAL(1, refusals);  // it is not tried again at once
            BOOST_CHECK_EQUAL(0, replacements);
            OpenStore::restart();
            BOOST_CHECK_EQUAL(Value(39), value_of("k"));
            BOOST_CHECK(names_in_folder() == Strings{"test"});
            char note[4];
            BOOST_CHECK_EQUAL(4, getxattr(store_path().c_str(), "user.note", note, sizeof note));
        }
    }
}

// Some systems let nobody set a label, and give each new file the same one.
BOOST_AUTO_TEST_CASE(an_attribute_that_a_new_file_has_already_is_not_set,
                     *boost::unit_test::precondition(has_attributes)) {
    const OpenStore store(wasteful_file());
    BOOST_REQUIRE_EQUAL(0, setxattr(store_path().c_str(), "user.note", "mine", 4, 0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
    int replacements = 0;
    before_call = [&](const Call& call) {
        if (call.name == "fchmod"s) {
            const std::string created = Folder::path() + "/.zelva-test";
            BOOST_CHECK_EQUAL(0, setxattr(created.c_str(), "user.note", "mine", 4, 0));
        }
        replacements += call.name == "renameat2"s ? 1 : 0;
        return Fate{call.name == "fsetxattr"s ? EPERM : 0};
    };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    before_call = nullptr;
    BOOST_CHECK_EQUAL(1, replacements);
}

BOOST_AUTO_TEST_CASE(an_attribute_that_a_new_file_has_with_another_value_is_set,
                     *boost::unit_test::precondition(has_attributes)) {
    const OpenStore store(wasteful_file());
    BOOST_REQUIRE_EQUAL(0, setxattr(store_path().c_str(), "user.note", "mine", 4, 0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
    int replacements = 0;
    before_call = [&](const Call& call) {
        if (call.name == "fchmod"s) {
            const std::string created = Folder::path() + "/.zelva-test";
            BOOST_CHECK_EQUAL(0, setxattr(created.c_str(), "user.note", "else", 4, 0));
        }
        replacements += call.name == "renameat2"s ? 1 : 0;
        return Fate{};
    };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    before_call = nullptr;
    BOOST_CHECK_EQUAL(1, replacements);
    std::string note(4, '\0');
    BOOST_CHECK_EQUAL(4, getxattr(store_path().c_str(), "user.note", note.data(), note.size()));
    BOOST_CHECK_EQUAL("mine", note);
}

// A program that may not read the counter can only see whether the file stays as it is.
BOOST_AUTO_TEST_CASE(a_file_without_a_counter_is_read_until_it_stays_as_it_is) {
    write_file(store_path(), "k = I1");
    int opened = 0;
    before_call = [&opened](const Call& call) {
        if (call.name != "open"s) {
            return Fate{};
        }
        // First what programs share, then the file.
        ++opened;
        if (opened == 3) {
            write_file(store_path(), "k = I12\n");
        }
        return opened == 1 ? Fate{EMFILE} : Fate{};
    };
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    before_call = nullptr;
    BOOST_CHECK(opened >= 3);
    BOOST_CHECK_EQUAL(Value(12), value_of("k"));
    zelva_core_settings_deinit();
    fs::remove(store_path());
}

// A full disk that writes nothing in place has no room for the counter either.
BOOST_AUTO_TEST_CASE(a_change_that_cannot_be_announced_to_others_is_refused_and_changes_nothing) {
    const std::vector<std::function<zelva_core_status()>> operations{
        [] { return set("k", 3); },
        [] { return set("new", 3); },
        [] { return set_default("k", 3); },
        [] { return zelva_core_settings_delete_key("k"); },
        [] { return zelva_core_settings_sync(); },
        [] {
            unsigned version = 0;
            return zelva_core_settings_get_and_set_version(&version, 3);
        },
    };
    const auto get_k = [](int) { return std::get<int>(value_of("k")); };
    for (const int error : {ENOSPC, EIO}) {
        for (const auto& operation : operations) {
            const OpenStore store("k = I1\nDEFAULT_k = I1\nl = I1\n");
            Program other;
            zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
            const State before = state_of_store();
            const std::string text = read_file(store_path());
            before_call = [error](const Call& call) { return call.name == "count"s ? Fate{error} : Fate{}; };
            for (int i = 0; i < 3; ++i) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, operation());
                BOOST_CHECK(text == read_file(store_path()));
                BOOST_CHECK(before == state_of_store());
                BOOST_CHECK_EQUAL(2, other.run(get_k));
            }
            before_call = nullptr;
            // There is room again.
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, operation());
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 5));
            const State after = state_of_store();
            BOOST_CHECK_EQUAL(5, other.run([](int) { return std::get<int>(value_of("l")); }));
            OpenStore::restart();
            BOOST_CHECK(after == state_of_store());
        }
    }
}

// Its file has changed all the same. Nobody is to rely on what it held before, nor on this.
BOOST_AUTO_TEST_CASE(a_change_whose_end_cannot_be_announced_is_an_error_and_what_it_left_is_read_by_the_next_one) {
    const auto get_k = [](int) { return std::get<int>(value_of("k")); };
    const auto set_l = [](int value) { return static_cast<int>(set("l", value)); };
    for (const int error : {ENOSPC, EIO}) {
        for (const bool is_next_elsewhere : {false, true}) {
            const OpenStore store("k = I1\nl = I1\n");
            Program other;
            const auto set_next = [&](int value) { return is_next_elsewhere ? other.run(set_l, value) : set_l(value); };
            int counts = 0;
            before_call = [&](const Call& call) {
                return call.name == "count"s && ++counts > 1 ? Fate{error} : Fate{};
            };
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
            BOOST_CHECK_EQUAL(2, counts);
            BOOST_CHECK_EQUAL(Value(1), value_of("k"));
            BOOST_CHECK_EQUAL(1, other.run(get_k));
            // Who cannot end it either does not go on.
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("l", 2));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_sync());
            counts = 0;
            before_call = [&](const Call& call) {
                return call.name == "count"s && ++counts == 1 ? Fate{error} : Fate{};
            };
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("l", 2));
            before_call = nullptr;
            BOOST_CHECK_EQUAL(Value(1), value_of("l"));
            BOOST_CHECK_EQUAL(0, set_next(3));
            for (const char* key : {"k", "l"}) {
                BOOST_CHECK_EQUAL(Value(key == "k"s ? 2 : 3), value_of(key));
            }
            BOOST_CHECK_EQUAL(2, other.run(get_k));
            BOOST_CHECK_EQUAL(0, result_of(start([] { return value_of("k") == Value(2) ? 0 : 1; })));
            BOOST_CHECK_EQUAL(0, set_next(4));
            BOOST_CHECK_EQUAL(Value(4), value_of("l"));
        }
    }
}

// The new counter is the one that memory stands for.
BOOST_AUTO_TEST_CASE(a_change_whose_end_could_not_be_announced_is_read_though_the_counter_begins_anew) {
    zelva_core_settings_deinit();
    fs::remove(shared_state_path());
    const OpenStore store("k = I1\n");
    int counts = 0;
    before_call = [&counts](const Call& call) { return call.name == "count"s && ++counts > 1 ? Fate{EIO} : Fate{}; };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    before_call = nullptr;
    fs::remove(shared_state_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_copy_int_key("k", "copy"));
    BOOST_CHECK_EQUAL(Value(2), value_of("copy"));
}

BOOST_AUTO_TEST_CASE(a_store_opens_and_closes_though_a_change_of_a_dead_program_cannot_be_ended) {
    { const OpenStore store("k = I1\n"); }
    write_file(shared_state_path(), "\1" + std::string(4095, '\0'));
    before_call = [](const Call& call) { return call.name == "count"s ? Fate{ENOSPC} : Fate{}; };
    {
        const OpenStore store("k = I1\n");
        BOOST_CHECK_EQUAL(Value(1), value_of("k"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
        BOOST_CHECK_EQUAL(Value(1), value_of("k"));
        BOOST_CHECK_EQUAL("", Calls([] { value_of("k"); }).names());
        before_call = nullptr;
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        before_call = [](const Call& call) { return call.name == "count"s ? Fate{ENOSPC} : Fate{}; };
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
        before_call = nullptr;
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    }
}

// The counter of a lower layer's file, mapped, stays as it is when a writer gets a copy of the file.
BOOST_AUTO_TEST_CASE(a_get_of_who_may_only_read_an_overlay_looks_at_the_file) {
    { const OpenStore store; }
    zelva_core_settings_deinit();
    write_file(store_path(), "k = I1\n");
    constexpr int unknown = 0;
    for (const int file_system : {OVERLAYFS_SUPER_MAGIC, EXT4_SUPER_MAGIC, unknown}) {
        watched::file_system = file_system;
        int opened = 0;
        before_call = [&opened, file_system](const Call& call) {
            // For writing, for reading, and for writing again, to clean up after the dead.
            const bool is_for_writing = call.name == "open"s && (++opened == 1 || opened == 3);
            return Fate{is_for_writing ? EACCES : call.name == "fstatfs"s && file_system == unknown ? EIO : 0};
        };
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        int number = 0;
        const Calls calls([&number] { zelva_core_settings_get_int_value("k", &number); });
        BOOST_CHECK_EQUAL(1, number);
        BOOST_CHECK_EQUAL(file_system == EXT4_SUPER_MAGIC ? "" : "stat ", calls.names());
        zelva_core_settings_deinit();
    }
    watched::file_system.reset();
    fs::remove(store_path());
}

// The line that was undone may be on the disk, and its undoing not.
BOOST_AUTO_TEST_CASE(a_set_to_the_old_value_after_a_failed_flush_writes_the_file_anew) {
    using Operation = zelva_core_status (*)();
    const Operation set_old = [] { return set("k", 1); };
    const Operation sync = [] { return zelva_core_settings_sync(); };
    for (const Operation operation : {set_old, sync}) {
        const OpenStore store("k = I0\nDEFAULT_k = I0\n");
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
        before_call = [](const Call& call) { return call.name == "fdatasync"s ? Fate{EIO} : Fate{}; };
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
        before_call = nullptr;
        const Calls calls([&] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, operation()); });
        BOOST_CHECK(calls.count("renameat2") > 0);
        BOOST_CHECK_EQUAL(Value(1), value_of("k"));
        // That was enough.
        const Calls next([&] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3)); });
        BOOST_CHECK_EQUAL(0U, next.count("renameat2"));
    }
}

// What the file means then is known to nobody, and that is not the same as that there is none.
BOOST_AUTO_TEST_CASE(a_file_that_is_removed_after_a_change_that_could_not_be_undone_is_gone) {
    using Operation = zelva_core_status (*)();
    const Operation set_new = [] { return set("new", 3); };
    const Operation sync = [] { return zelva_core_settings_sync(); };
    for (const Operation operation : {set_new, sync}) {
        const OpenStore store("k = I0\nDEFAULT_k = I0\n");
        zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));  // its old line is not withdrawn yet
        before_call = [](const Call& call) { return call.name == "pwrite"s ? Fate{EIO} : Fate{}; };
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
        before_call = nullptr;
        fs::remove(store_path());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, operation());
        const State left = operation == set_new ? State{{"new", {3, 3}}} : State{};
        BOOST_CHECK(state_of_store() == left);
        OpenStore::restart();
        BOOST_CHECK(state_of_store() == left);
    }
}

// On a full disk, the new lines of a key that has only a default come to stand before the old default. What fails in
// the middle of that must neither count later nor make memory take for lines what is none.
BOOST_AUTO_TEST_CASE(a_refused_set_on_a_full_disk_changes_nothing_though_an_old_default_is_withdrawn) {
    std::string file = "=" + bait(100) + "\n";
    for (int i = 0; i < 60; ++i) {
        file += "v" + std::to_string(100 + i) + " = S" + bait(50) + "\n";
    }
    file += "DEFAULT_k = I5\n#" + std::string(4096 - (file.size() + 17) % 4096, '.') + "\n";
    for (std::size_t n = 1;; ++n) {
        const OpenStore store(file);
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("v100", bait(50)));
        const State before = state_of_store();
        std::size_t number = 0;
        const std::size_t size = file.size();
        bool is_reached = false;
        before_call = [&](const Call& call) {
            const bool is_growing = call.name == "pwrite"s && fs::file_size(store_path()) <= size && call.size > 500;
            if (is_growing) {
                return Fate{ENOSPC};
            }
            is_reached = is_reached || (is_write(call) && number + 1 == n);
            return is_write(call) && ++number == n ? Fate{EIO} : Fate{};
        };
        const zelva_core_status status = set("k", 7);
        before_call = nullptr;
        if (status != ZELVA_CORE_STATUS_NO_ERROR) {
            BOOST_CHECK(state_of_store() == before);
        }
        State after = status == ZELVA_CORE_STATUS_NO_ERROR ? state_of_store() : before;
        for (int i = 0; i < 200; ++i) {
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", bait(100) + std::to_string(i)));
        }
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 8));
        const Value last = bait(100) + "199";
        after["other"] = {last, bait(100) + "0"};
        after.try_emplace("k", Entry{8, 8}).first->second.value = 8;
        OpenStore::restart();
        BOOST_CHECK_MESSAGE(state_of_store() == after, "after a failure of call " << n);
        if (!is_reached) {
            break;
        }
    }
}

// Withdrawn lines hold what looks like an entry.
BOOST_AUTO_TEST_CASE(a_line_that_takes_the_place_of_a_longer_one_leaves_nothing_of_it_and_crosses_no_sector) {
    using zelva::format::sector_size;
    std::string file = "#" + std::string(298, '.') + "\n=" + bait(1500) + "\nl = I1\n";
    file += "#" + std::string(4096 - file.size() - 2, '.') + "\n";
    for (const unsigned size : {10U, 100U, 200U, 300U, 400U, 450U}) {
        const OpenStore store(file);
        before_call = [&file](const Call& call) {
            return call.name == "pwrite"s && call.size > file.size() / 2 ? Fate{ENOSPC} : Fate{};
        };
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("new", bait(size)));
        before_call = nullptr;
        const EntryLine line = lines_of_file().at("new");
        OpenStore::restart();
        BOOST_CHECK(keys() == (Strings{"l", "new"}));
        BOOST_CHECK_EQUAL(Value(bait(size)), value_of("new"));
        BOOST_CHECK_EQUAL(line.offset / sector_size, (line.offset + line.text.size()) / sector_size);
    }
}

BOOST_AUTO_TEST_CASE(damage_among_withdrawn_lines_at_the_end_makes_room_too) {
    const std::string damage = "a\0b\n=ld\n"s;
    std::string file = "k = I1\nl = Sx\n";
    file += "=" + std::string(std::size_t{3} * 4096 - file.size() - damage.size() - 2, '.') + "\n" + damage;
    const OpenStore store(file);
    before_call = [&file](const Call& call) {
        const bool is_growing = call.name == "pwrite"s && fs::file_size(store_path()) + call.size > file.size();
        return (is_growing && call.size > 1000) || call.name == "renameat2"s ? Fate{ENOSPC} : Fate{};
    };
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", bait(700)));
    before_call = nullptr;
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(bait(700)), value_of("l"));
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_folder_that_another_program_makes_at_the_same_time_is_used) {
    for (const std::string& removed : {Folder::path(), Folder::path() + "/.zelva"}) {
        fs::create_directories(Folder::path());
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        fs::remove_all(removed);
        before_call = [&removed](const Call& call) {
            if (call.name == "mkdir"s) {
                fs::create_directories(removed);
            }
            return Fate{};
        };
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
        before_call = nullptr;
        zelva_core_settings_deinit();
        BOOST_CHECK_EQUAL("DEFAULT_k = I1\nk = I1\n", OpenStore::file());
        fs::remove(store_path());
    }
}

BOOST_AUTO_TEST_SUITE_END()
