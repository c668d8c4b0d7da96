// Losses of power, on a simulated disk. Operations are run one after the other; before each call that changes the disk,
// and after each operation, the power is lost; and each disk that this may leave is opened as a store. It must hold
// what was acknowledged, and of the operation that was under way all or nothing.
#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

#include "file/line.h"
#include "simulated_disk.h"
#include "support.h"

using namespace std::string_literals;
using simulated::before_change;
using simulated::Disk;
using simulated::disk;

namespace {

/// An operation on the store, and what it does to the state of one.
struct Operation {
    std::string name;
    std::function<zelva_core_status()> run;
    std::function<void(State&)> model;
    /// It counts only from the next operation on that is durable.
    bool is_relaxed = false;
    bool makes_durable = true;
};

Operation set_operation(const std::string& key, const Value& value) {
    return {"set " + key, [=] { return set(key, value); },
            [=](State& state) {
                const auto [entry, is_new] = state.try_emplace(key, Entry{value, value});
                entry->second.value = value;
            }};
}

Operation set_default_operation(const std::string& key, const Value& value) {
    return {"set the default of " + key, [=] { return set_default(key, value); },
            [=](State& state) {
                const auto [entry, is_new] = state.try_emplace(key, Entry{value, value});
                entry->second.default_value = value;
            }};
}

Operation delete_operation(const std::string& key) {
    return {"delete " + key, [=] { return zelva_core_settings_delete_key(key.c_str()); },
            [=](State& state) { state.erase(key); }};
}

Operation relaxed(Operation operation) {
    operation.name = "relaxed: " + operation.name;
    operation.is_relaxed = true;
    operation.run = [run = operation.run] {
        zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
        const zelva_core_status status = run();
        zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL);
        return status;
    };
    return operation;
}

/// A text any part of which, if it came to stand at the beginning of a line, would be an entry.
std::string bait(std::size_t size, char salt) {
    std::string text;
    while (text.size() < size) {
        text += "b"s + salt + "=Sx";
    }
    text.resize(size);
    return text;
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all{
        set_operation("k", 1234),
        set_operation("k", 5),
        set_operation("n", 77),
        set_default_operation("k", 4321),
        delete_operation("k"),
        set_operation("n", 7),
        // Two lines of these do not fit into a sector.
        set_operation("m", bait(400, 'm')),
        // Those of this one fill it.
        set_operation("p", bait(246, 'p')),
        // One line of these is longer than a sector.
        set_operation("l", bait(1300, 'l')),
        set_operation("l", bait(700, 'L')),
        delete_operation("l"),
        relaxed(set_operation("k", 99)),
        relaxed(set_default_operation("k", 98)),
        relaxed(delete_operation("k")),
        relaxed(set_operation("n", 97)),
        relaxed(set_operation("l", bait(600, 'r'))),
        {"sync", [] { return zelva_core_settings_sync(); }, [](State&) {}},
        {"close and open",
         [] {
             zelva_core_settings_deinit();
             return zelva_core_settings_init("test");
         },
         [](State&) {}, false, false},
    };
    return all;
}

/// A line of a comment.
std::string filler(std::size_t size) {
    return "#" + std::string(size - 2, '.') + "\n";
}

/// A file to begin with, if there is one; how long it can become; and what a person has cut off it, which has not
/// reached the disk.
struct Start {
    std::optional<std::string> file;
    std::size_t room = SIZE_MAX;
    std::string cut_off = {};
};

const std::vector<Start>& starts() {
    static const std::vector<Start> all = [] {
        std::string wasteful = "k = I1\n";
        for (int i = 0; i < 100; ++i) {
            wasteful += "=ld = S" + bait(40, 'w') + "\n";
        }
        const std::string keys = "k = I1\nDEFAULT_k = I2\n";
        const std::string withdrawn = "=ld = S" + bait(230, 'w') + "\n";
        const std::string long_withdrawn = "=ld = S" + bait(1200, 'w') + "\n";
        return std::vector<Start>{
            {std::nullopt},
            {"k = I7\n# mine\nk = I8\nDEFAULT_k = I3\nrejected\nk = I1\nDEFAULT_k = I2\n"},
            {"k = I8\nk = I1\nDEFAULT_k = I2"},  // no line feed
            {filler(4000) + keys + filler(50)},  // soon a new page
            {filler(450) + keys},                // soon a new sector
            {"l = S" + bait(900, 'o') + "\nDEFAULT_l = S\nk = I1\n"},
            {"DEFAULT_k = I2\n" + wasteful},  // to be compacted
            {"k = I1\n" + bait(600, 'd') + std::string(300, '\0') + bait(900, 'd') + std::string(40, '\0')},  // damaged
            {keys + filler(4096 - 22), SIZE_MAX, std::string(4096, '\n')},
            // Full: room in withdrawn lines before a key, behind it, in the middle of a long one, and at the end.
            {withdrawn + keys + withdrawn + "DEFAULT_n = I55\n" + filler(4096 - 22 - 2 * 238 - 16), 4096},
            {"k = I8\n=ld = Sx\nk = I1\nDEFAULT_k = I2", 4096},  // no line feed
            {filler(100) + keys + long_withdrawn + filler(4096 - 122 - 1208), 4096},
            {filler(2000) + "k = I1\n" + long_withdrawn + "DEFAULT_k = I2\n" + filler(600) + withdrawn, 4096},
            {filler(200) + keys + filler(1800) + long_withdrawn + withdrawn, 4096},
        };
    }();
    return all;
}

struct Totals {
    std::size_t losses = 0;
    std::size_t kills = 0;
    std::size_t refusals = 0;  // for want of room
    int failures = 0;
} totals;

void report(const std::string& what, const State& found, const std::vector<State>& allowed) {
    if (++totals.failures > 3) {
        return;
    }
    std::string text = what + "; found:\n" + abridged(found);
    for (const State& state : allowed) {
        text += "allowed:\n" + abridged(state);
    }
    BOOST_ERROR(text);
}

/// What relaxed durability allows: each key has a value that it has in one of the allowed states, and a default
/// likewise; but a key that is not in all of them may have none, or one that it had in an earlier life.
bool is_mixture(const State& found, const std::vector<State>& allowed, const std::vector<State>& history) {
    State all = found;
    for (const State& state : allowed) {
        all.insert(state.begin(), state.end());
    }
    return std::all_of(all.begin(), all.end(), [&](const auto& candidate) {
        const auto entry = found.find(candidate.first);
        bool has_value = false;
        bool has_default = false;
        bool is_new = false;
        for (const State& state : allowed) {
            const auto other = state.find(candidate.first);
            const bool is_absent = other == state.end();
            is_new = is_new || is_absent;
            has_value = has_value ||
                        (entry == found.end() ? is_absent : !is_absent && other->second.value == entry->second.value);
            has_default = has_default || entry == found.end() ||
                          (!is_absent && other->second.default_value == entry->second.default_value);
        }
        const bool has_old_default =
            is_new && entry != found.end() &&
            (!entry->second.default_value || std::any_of(history.begin(), history.end(), [&](const State& state) {
                const auto other = state.find(candidate.first);
                return other != state.end() && other->second.default_value == entry->second.default_value;
            }));
        return has_value && (has_default || has_old_default);
    });
}

/// Whether a file has a line of a key, or of its default, that counts or would if others were gone.
bool has_line_of(std::string_view text, const std::string& key) {
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = text.substr(begin, end - begin);
        const auto entry = line.find('\0') == std::string_view::npos ? zelva::file::read_line(line) : std::nullopt;
        if (entry && (entry->key == key || entry->key == "DEFAULT_" + key)) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

/// Checks that the file on the disk holds nothing of keys that have been deleted: those that were in the store, and are
/// in none of the states that it may be in.
void check_nothing_is_left_of_deleted_keys(const std::string& what, const std::vector<State>& before,
                                           const std::vector<State>& allowed) {
    const std::string text = disk.text();
    for (const State& state : before) {
        for (const auto& [key, entry] : state) {
            const bool is_deleted = std::none_of(allowed.begin(), allowed.end(),
                                                 [&key = key](const State& other) { return other.count(key) != 0; });
            if (is_deleted && has_line_of(text, key)) {
                report(what + ", a line is left of " + key + " in " + abridged(text), {}, allowed);
            }
        }
    }
}

/// Opens the store on the disk, and checks that it is in one of the allowed states, or a mixture of them if there is a
/// history; then that a set is durable. Whether all of that holds.
bool check_store(const std::string& what, const std::vector<State>& allowed,
                 const std::vector<State>* history = nullptr) {
    if (zelva_core_settings_init("test") != ZELVA_CORE_STATUS_NO_ERROR) {
        report(what + ", the store does not open", {}, allowed);
        return false;
    }
    State found = state_of_store();
    bool is_right = std::find(allowed.begin(), allowed.end(), found) != allowed.end() ||
                    (history != nullptr && is_mixture(found, allowed, *history));
    if (!is_right) {
        report(what, found, allowed);
    }
    if (disk.names() != Strings{"test"} && !disk.names().empty()) {
        is_right = false;
        report(what + ", a file is left over: " + disk.names()[0], found, allowed);
    }
    const bool is_set = set("after", 1) == ZELVA_CORE_STATUS_NO_ERROR && set("k", 6) == ZELVA_CORE_STATUS_NO_ERROR;
    found["after"] = {1, 1};
    found.try_emplace("k", Entry{6, 6}).first->second.value = 6;
    const Disk at_rest = disk;
    zelva_core_settings_deinit();
    std::vector<std::size_t> nothing_kept;
    disk = at_rest.after_power_loss(nothing_kept);
    zelva_core_settings_init("test");
    const State later = state_of_store();
    if (!is_set || !(later == found)) {
        is_right = false;
        report(what + ", a set after it is lost", later, {found});
    }
    zelva_core_settings_deinit();
    return is_right;
}

/// Runs operations one after the other and loses the power at every point; `most` disks at each, all if there are no
/// more.
void check(const Start& start, const std::vector<const Operation*>& sequence, std::size_t most, std::mt19937& random) {
    struct Moment {
        Disk disk;
        std::size_t acknowledged;
    };
    std::vector<Moment> moments;
    std::vector<State> states;
    std::vector<std::size_t> durable{0};  // of so many acknowledged operations: so many at least are on the disk
    disk = Disk(start.file ? std::optional(*start.file + start.cut_off) : std::nullopt);
    if (!start.cut_off.empty()) {
        disk.resize(disk.names_in(Folder::path()).at("test"), start.file->size());
    }
    disk.room = start.room;
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    states.push_back(state_of_store());
    before_change = [&] { moments.push_back({disk, states.size() - 1}); };
    std::string name;
    bool has_refused = false;
    for (const Operation* operation : sequence) {
        name += (name.empty() ? "" : ", ") + operation->name;
        State next = states.back();
        const zelva_core_status status = operation->run();
        totals.refusals += status == ZELVA_CORE_STATUS_IO_FAILED ? 1 : 0;
        has_refused = has_refused || status == ZELVA_CORE_STATUS_IO_FAILED;
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            operation->model(next);
        }
        const bool is_durable =
            operation->makes_durable && !operation->is_relaxed && status == ZELVA_CORE_STATUS_NO_ERROR;
        states.push_back(std::move(next));
        durable.push_back(is_durable ? durable.size() : durable.back());
        moments.push_back({disk, states.size() - 1});
    }
    before_change = nullptr;
    BOOST_REQUIRE(state_of_store() == states.back());
    zelva_core_settings_deinit();

    for (std::size_t i = 0; i < moments.size(); ++i) {
        const Moment& moment = moments[i];
        const std::size_t begin = durable[moment.acknowledged];
        const std::size_t end = std::min(moment.acknowledged + 2, states.size());
        const auto from = states.begin();
        const std::vector<State> possible(from + static_cast<std::ptrdiff_t>(begin),
                                          from + static_cast<std::ptrdiff_t>(end));
        const std::vector<State> alive(from + static_cast<std::ptrdiff_t>(moment.acknowledged),
                                       from + static_cast<std::ptrdiff_t>(end));
        const std::vector<State>* history = possible.size() > 2 ? &states : nullptr;
        const std::string what = name + ", at moment " + std::to_string(i);
        // A refused set of a new key may leave its default, which means nothing.
        const std::vector<State> before(from, has_refused ? from : from + static_cast<std::ptrdiff_t>(begin));

        disk = moment.disk;
        disk.room = SIZE_MAX;
        ++totals.kills;
        check_nothing_is_left_of_deleted_keys(
            what + ", killed",
            {states.begin(), has_refused ? from : from + static_cast<std::ptrdiff_t>(moment.acknowledged)}, alive);
        check_store(what + ", killed", alive);

        const bool is_every_one = moment.disk.count_losses(most) <= most;
        std::vector<std::size_t> choice;
        for (std::size_t loss = 0; loss < most; ++loss) {
            disk = is_every_one ? moment.disk.after_power_loss(choice) : moment.disk.after_power_loss(random);
            disk.room = SIZE_MAX;
            const std::string left = disk.text();
            ++totals.losses;
            check_nothing_is_left_of_deleted_keys(what + ", loss " + std::to_string(loss), before, possible);
            if (!check_store(what + ", loss " + std::to_string(loss), possible, history) && totals.failures < 3) {
                BOOST_TEST_MESSAGE("file before: " << abridged(moment.disk.text())
                                                   << "\nfile left: " << abridged(left));
            }
            if (is_every_one && choice.empty()) {
                break;
            }
        }
    }
}

/// All sequences of so many operations, on all files; or one in `step` of them.
void check_sequences(std::size_t length, std::size_t step, std::size_t most) {
    std::mt19937 random(20);
    std::size_t count = 1;
    for (std::size_t i = 0; i < length; ++i) {
        count *= operations().size();
    }
    for (std::size_t number = 0; number < count * starts().size(); number += 1 + random() % (2 * step - 1)) {
        std::vector<const Operation*> sequence;
        for (std::size_t rest = number / starts().size(); sequence.size() < length; rest /= operations().size()) {
            sequence.push_back(&operations()[rest % operations().size()]);
        }
        BOOST_TEST_CONTEXT("start " << number % starts().size()) {
            check(starts()[number % starts().size()], sequence, most, random);
        }
        if (totals.failures > 3) {
            return;
        }
    }
}

void report_totals() {
    BOOST_TEST_MESSAGE(totals.losses << " losses of power, " << totals.kills << " kills, " << totals.refusals
                                     << " refused operations");
}

}  // namespace

BOOST_AUTO_TEST_SUITE(power)

BOOST_AUTO_TEST_CASE(an_operation_whose_change_cannot_be_announced_does_nothing_to_the_disk) {
    std::size_t refusals = 0;
    for (const Start& start : starts()) {
        for (const Operation& operation : operations()) {
            disk = Disk(start.file);
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            State expected = state_of_store();
            bool is_changed = false;
            before_change = [&is_changed] { is_changed = true; };
            disk.shared_error = ENOSPC;
            zelva_core_status status = operation.run();
            disk.shared_error = 0;
            before_change = nullptr;
            BOOST_CHECK_MESSAGE(!is_changed, operation.name);
            BOOST_CHECK_MESSAGE(state_of_store() == expected, operation.name);
            if (status == ZELVA_CORE_STATUS_IO_FAILED) {
                ++refusals;
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, operation.run());
                operation.model(expected);
                BOOST_CHECK_MESSAGE(state_of_store() == expected, operation.name);
            }
            zelva_core_settings_deinit();
        }
    }
    BOOST_CHECK_GT(refusals, operations().size());
}

BOOST_AUTO_TEST_CASE(a_loss_of_power_during_one_operation_leaves_all_or_nothing_of_it) {
    check_sequences(1, 1, is_campaign() ? 4096 : 512);
    report_totals();
}

BOOST_AUTO_TEST_CASE(a_loss_of_power_during_two_operations_leaves_what_was_acknowledged) {
    check_sequences(2, 1, is_campaign() ? 64 : 8);
    report_totals();
}

BOOST_AUTO_TEST_CASE(a_loss_of_power_during_three_operations_leaves_what_was_acknowledged) {
    check_sequences(3, is_campaign() ? 1 : 40, is_campaign() ? 12 : 8);
    report_totals();
    BOOST_CHECK_EQUAL(0, totals.failures);
}

BOOST_AUTO_TEST_CASE(a_loss_of_power_gives_the_first_version_no_default_of_a_deleted_one) {
    std::mt19937 random(20);
    const std::vector<Operation> others{set_operation("k", 5),
                                        relaxed(set_operation("n", 7)),
                                        set_operation("l", bait(700, 'l')),
                                        {"sync", [] { return zelva_core_settings_sync(); }, [](State&) {}}};
    const Operation set_version = set_operation("Version", 7);
    const Operation delete_version = delete_operation("Version");
    const Operation announce{"announce",
                             [] {
                                 unsigned old = 0;
                                 return zelva_core_settings_get_and_set_version(&old, 3);
                             },
                             [](State& state) {
                                 state["Version"] = {3, std::nullopt};
                             }};
    for (const Start& start : starts()) {
        for (const Operation& first : others) {
            for (const Operation& second : others) {
                for (const bool is_relaxed : {false, true}) {
                    const Operation deletion = is_relaxed ? relaxed(delete_version) : delete_version;
                    check(start, {&set_version, &first, &deletion, &second, &announce}, 24, random);
                }
            }
        }
    }
    report_totals();
    BOOST_CHECK_EQUAL(0, totals.failures);
}

BOOST_AUTO_TEST_SUITE_END()
