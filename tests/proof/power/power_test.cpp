// Losses of power, on a simulated disk. Operations are run one after the other; before each call that changes the disk,
// and after each operation, the power is lost; and each disk that this may leave is opened as a store. It must hold
// what was acknowledged, and of the operation that was under way all or nothing.
#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "batches.h"
#include "format/batch_record.h"
#include "format/line.h"
#include "operations.h"
#include "simulated_disk.h"
#include "support.h"

using namespace std::string_literals;
using simulated::before_change;
using simulated::Disk;
using simulated::disk;

namespace {

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all{
        set_operation("k", 1234),
        set_operation("k", 5),
        set_operation("n", 77),
        set_default_operation("k", 4321),
        delete_operation("k"),
        set_operation("n", 7),
        // Two lines of these do not fit into a sector.
        set_operation("m", bait(400, "bm")),
        // Those of this one fill it.
        set_operation("p", bait(246, "bp")),
        // One line of these is longer than a sector.
        set_operation("l", bait(1300, "bl")),
        set_operation("l", bait(700, "bL")),
        delete_operation("l"),
        relaxed(set_operation("k", 99)),
        relaxed(set_default_operation("k", 98)),
        relaxed(delete_operation("k")),
        relaxed(set_operation("n", 97)),
        relaxed(set_operation("l", bait(600, "br"))),
        batch_operation({{"k", Value(31)}, {"n", Value(32)}}),
        batch_operation({{"k", Value(41)}, {"n", Value(bait(300, "bb"))}, {"o", Value(bait(700, "bB"))}}),
        batch_operation({{"k", std::nullopt}, {"p", Value(51)}}),
        batch_operation({{"k", Value(61)}, {"l", std::nullopt}}),
        sync_operation(),
        reopen_operation("test"),
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
            wasteful += "=ld = S" + bait(40, "bw") + "\n";
        }
        const std::string keys = "k = I1\nDEFAULT_k = I2\n";
        const std::string withdrawn = "=ld = S" + bait(230, "bw") + "\n";
        const std::string long_withdrawn = "=ld = S" + bait(1200, "bw") + "\n";
        return std::vector<Start>{
            {std::nullopt},
            {"k = I7\n# mine\nk = I8\nDEFAULT_k = I3\nrejected\nk = I1\nDEFAULT_k = I2\n"},
            {"k = I8\nk = I1\nDEFAULT_k = I2"},  // no line feed
            {filler(4000) + keys + filler(50)},  // soon a new page
            {filler(450) + keys},                // soon a new sector
            {"l = S" + bait(900, "bo") + "\nDEFAULT_l = S\nk = I1\n"},
            {"DEFAULT_k = I2\n" + wasteful},  // to be compacted
            {"k = I1\n" + bait(600, "bd") + std::string(300, '\0') + bait(900, "bd") +
             std::string(40, '\0')},  // damaged
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

/// Whether a file has a line of a key, or of its default, that counts or would if others were gone.
bool has_line_of(std::string_view text, const std::string& key) {
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = text.substr(begin, end - begin);
        zelva::format::Entry entry;
        if (!zelva::format::is_damaged(line)) {
            zelva::format::read_line(line, entry);
        }
        if (entry.kind == zelva::format::Kind::entry && (entry.name == key || entry.name == "DEFAULT_" + key)) {
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
    // What a batch has removed may still stand in the file, for readers who know nothing of it.
    std::string text = disk.text();
    std::vector<zelva::format::Fix> fixes;
    std::vector<zelva::format::Superseded> comments;
    zelva::format::redo(text, fixes, comments);
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

/// Opens the store on the disk, and checks that it is in one of the allowed states, or a mixture of them that
/// `is_allowed`; then that a set is durable. Whether all of that holds.
bool check_store(
    const std::string& what, const std::vector<State>& allowed,
    const std::function<bool(const State&)>& is_allowed = [](const State&) { return false; }) {
    if (zelva_core_settings_init("test") != ZELVA_CORE_STATUS_NO_ERROR) {
        report(what + ", the store does not open", {}, allowed);
        return false;
    }
    State found = state_of_store();
    bool is_right = std::find(allowed.begin(), allowed.end(), found) != allowed.end() || is_allowed(found);
    if (!is_right) {
        report(what, found, allowed);
    }
    if (disk.names() != Strings{"test"} && !disk.names().empty()) {
        is_right = false;
        report(what + ", a file is left over: " + disk.names()[0], found, allowed);
    }
    const bool is_set = set("after", 1) == ZELVA_CORE_STATUS_NO_ERROR && set("k", 6) == ZELVA_CORE_STATUS_NO_ERROR;
    model::set(found, "after", 1);
    model::set(found, "k", 6);
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
    disk = Disk(start.file ? std::optional(*start.file + start.cut_off) : std::nullopt);
    if (!start.cut_off.empty()) {
        disk.resize(disk.names_in(Folder::path()).at("test"), start.file->size());
    }
    disk.room = start.room;
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    model::Timeline timeline(state_of_store());
    before_change = [&] { moments.push_back({disk, timeline.size()}); };
    std::string name;
    bool has_refused = false;
    for (const Operation* operation : sequence) {
        name += (name.empty() ? "" : ", ") + operation->name;
        State next = timeline.last();
        const zelva_core_status status = operation->run();
        if (status == ZELVA_CORE_STATUS_IO_FAILED) {
            ++totals.refusals;
            has_refused = true;
        } else {
            BOOST_REQUIRE_EQUAL(operation->rule(next), status);
        }
        timeline.add(std::move(next), operation->is_durable && status == ZELVA_CORE_STATUS_NO_ERROR);
        moments.push_back({disk, timeline.size()});
    }
    before_change = nullptr;
    BOOST_REQUIRE(state_of_store() == timeline.last());
    zelva_core_settings_deinit();

    for (std::size_t i = 0; i < moments.size(); ++i) {
        const Moment& moment = moments[i];
        const std::size_t acknowledged = moment.acknowledged;
        const std::vector<State> possible = timeline.after_power_loss(acknowledged);
        const std::vector<State> alive = timeline.after_kill(acknowledged);
        const auto may_be_left = [&](const State& found) { return timeline.may_be_left(acknowledged, found); };
        const std::string what = name + ", at moment " + std::to_string(i);
        // A refused set of a new key may leave its default, which means nothing.
        const std::vector<State> before = timeline.before(has_refused ? 0 : timeline.durable(acknowledged));

        disk = moment.disk;
        disk.room = SIZE_MAX;
        ++totals.kills;
        check_nothing_is_left_of_deleted_keys(what + ", killed", timeline.before(has_refused ? 0 : acknowledged),
                                              alive);
        check_store(what + ", killed", alive);

        const bool is_every_one = moment.disk.count_losses(most) <= most;
        std::vector<std::size_t> choice;
        for (std::size_t loss = 0; loss < most; ++loss) {
            disk = is_every_one ? moment.disk.after_power_loss(choice) : moment.disk.after_power_loss(random);
            disk.room = SIZE_MAX;
            const std::string left = disk.text();
            ++totals.losses;
            check_nothing_is_left_of_deleted_keys(what + ", loss " + std::to_string(loss), before, possible);
            if (!check_store(what + ", loss " + std::to_string(loss), possible, may_be_left) && totals.failures < 3) {
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
                operation.rule(expected);
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

BOOST_AUTO_TEST_CASE(a_loss_of_power_during_a_batch_of_many_keys_leaves_all_or_nothing_of_it) {
    std::mt19937 random(31);
    const unsigned rounds = is_campaign() ? 2000 : 80;
    for (unsigned round = 0; round < rounds; ++round) {
        std::set<std::string> present;
        std::string text = filler(2 + random() % 4500);
        for (unsigned i = 0; i < 20; ++i) {
            const std::string key = "k" + std::to_string(i);
            text += (i % 2 == 0 ? "DEFAULT_" + key + " = Sd\n" : "") + key + " = Sv\n" + key + " = Sw\n";
            present.insert(key);
        }
        const Operation first = random_batch(random, present);
        const std::string deleted = *present.begin();
        present.erase(deleted);
        const Operation between = delete_operation(deleted);
        const Operation second = random_batch(random, present);
        check({text}, {&first, &between, &second}, is_campaign() ? 24 : 12, random);
    }
    report_totals();
    BOOST_CHECK_EQUAL(0, totals.failures);
}

BOOST_AUTO_TEST_CASE(a_loss_of_power_gives_the_first_version_no_default_of_a_deleted_one) {
    std::mt19937 random(20);
    const std::vector<Operation> others{set_operation("k", 5), relaxed(set_operation("n", 7)),
                                        set_operation("l", bait(700, "bl")), sync_operation()};
    const Operation set_version = set_operation("Version", 7);
    const Operation delete_version = delete_operation("Version");
    const Operation announce = announce_operation(3);
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
