// The example of a migration, examples/migrate.c, killed before each of its calls of the system, and before each of
// those of the program that comes after it. In the end the settings are those of a migration that nobody has disturbed.
#include "migration.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>

#include "support.h"
#include "watched_system.h"

namespace {

namespace fs = std::filesystem;

using Main = int (*)();

constexpr const char* store = "device";

/// Settings of each version, and settings that hold nothing yet.
const std::map<std::string, std::string> starts{
    {"settings of version 0",
     "DEFAULT_host = Sa.example\nhost = Sb.example\nDEFAULT_timeout = I5\ntimeout = I7\nDEFAULT_brightness = I50\n"
     "brightness = I50\n"},
    {"settings of version 1", "server = Sb.example\ntimeout = I7\nbrightness = I30\nVersion = I1\n"},
    {"settings of version 2", "server = Sb.example\ntimeout_ms = I7\nbrightness = I50\nVersion = I2\n"},
    {"settings of version 3", "server = Sb.example\ntimeout_ms = I7\nbrightness = I50\nVersion = I3\n"},
    {"settings of a later version", "timeout = I7\nVersion = I4\n"},
    {"new settings", ""},
};

void write_start(const std::string& text) {
    fs::remove_all(Folder::path());
    fs::create_directory(Folder::path());
    write_file(store_path(store), text);
}

State state() {
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init(store));
    State found = state_of_store();
    zelva_core_settings_deinit();
    return found;
}

/// Runs a program, and kills it before its n-th call of the system, if it comes so far; whether it does not.
bool lives(Main main, std::size_t n) {
    const pid_t program = fork();
    if (program == 0) {
        alarm(100);
        watched::before_call = [n, count = std::size_t{0}](const watched::Call&) mutable {
            if (++count == n) {
                kill(getpid(), SIGKILL);
            }
            return watched::Fate{};
        };
        _exit(main());
    }
    int status = -1;
    BOOST_REQUIRE_EQUAL(program, waitpid(program, &status, 0));
    const bool is_killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    BOOST_REQUIRE_MESSAGE(is_killed || status == 0, "a program has ended with " << status);
    return !is_killed;
}

bool lives(Main main) {
    return lives(main, 0);
}

State migrated(Main main, const std::string& start) {
    write_start(start);
    BOOST_REQUIRE(lives(main));
    return state();
}

struct Totals {
    std::size_t kills = 0;
    std::size_t lost = 0;
};

/// Kills a program before its n-th call, for each n, and the next one before some call of its own; the third one lives.
Totals kill_everywhere(Main main, const std::string& start) {
    const State expected = migrated(main, start);
    Totals totals;
    for (std::size_t n = 1;; ++n) {
        write_start(start);
        if (lives(main, n)) {
            return totals;
        }
        const std::size_t some = 1 + 7 * n % 50;
        totals.kills += lives(main, some) ? 1U : 2U;
        BOOST_REQUIRE(lives(main));
        totals.lost += state() == expected ? 0U : 1U;
    }
}

}  // namespace

BOOST_AUTO_TEST_SUITE(migration)

BOOST_AUTO_TEST_CASE(a_migration_brings_settings_of_each_version_to_the_new_one) {
    for (const auto& [name, text] : starts) {
        BOOST_TEST_CONTEXT(name) {
            State found = migrated(run_example, text);
            const bool is_later = name == "settings of a later version";
            BOOST_CHECK_EQUAL(Value(is_later ? 4 : 3), found["Version"].value);
            BOOST_CHECK_EQUAL(is_later ? 1U : 0U, found.count("timeout"));
            BOOST_CHECK_EQUAL(0U, found.count("host"));
            BOOST_CHECK_EQUAL(Value(30000), found["timeout_ms"].default_value.value_or(0));
            BOOST_CHECK_EQUAL(Value(80), found["brightness"].default_value.value_or(0));
            if (name == "settings of version 0") {
                BOOST_CHECK_EQUAL(Value("b.example"), found["server"].value);
                BOOST_CHECK_EQUAL(Value(7000), found["timeout_ms"].value);
                BOOST_CHECK_EQUAL(Value(80), found["brightness"].value);
            }
            if (name == "settings of version 1") {
                BOOST_CHECK_EQUAL(Value(30), found["brightness"].value);
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(a_migration_that_is_killed_anywhere_is_completed_by_the_next_one) {
    std::size_t kills = 0;
    for (const auto& [name, text] : starts) {
        BOOST_TEST_CONTEXT(name) {
            const Totals totals = kill_everywhere(run_example, text);
            BOOST_CHECK_EQUAL(0U, totals.lost);
            kills += totals.kills;
        }
    }
    BOOST_TEST_MESSAGE(kills << " kills");
    BOOST_CHECK_GE(kills, 500U);
}

// The other order is what the example must not do, and what the test must see.
BOOST_AUTO_TEST_CASE(a_version_that_is_announced_first_loses_the_migration_of_a_program_that_is_killed) {
    const Totals totals = kill_everywhere(run_announcing_first, starts.at("settings of version 0"));
    BOOST_TEST_MESSAGE(totals.lost << " migrations lost");
    BOOST_CHECK_GE(totals.lost, 20U);
}

BOOST_AUTO_TEST_SUITE_END()
