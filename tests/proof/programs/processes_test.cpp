// Several programs that have one store open at the same time.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "ledger.h"
#include "programs.h"
#include "support.h"

using namespace std::string_literals;

namespace {

/// Sets a key in another program.
int set_elsewhere(const char* key, int value) {
    return result_of(start([&] { return static_cast<int>(zelva_core_settings_set_int_value(key, value)); }));
}

int number_of(const std::string& key) {
    int number = -1;
    zelva_core_settings_get_int_value(key.c_str(), &number);
    return number;
}

// Steps of programs.
int set_k(int value) {
    return zelva_core_settings_set_int_value("k", value);
}
int get_k(int) {
    return number_of("k");
}
int set_many(int count) {
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        failures += zelva_core_settings_set_int_value("many", i) == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
    }
    return failures;
}
int count_mappings(int) {
    std::istringstream maps(read_file("/proc/self/maps"));
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find("/.zelva/") == std::string::npos ? 0 : 1;
    }
    return count;
}
int reopen(int) {
    const int status = zelva_core_settings_deinit();
    return status == ZELVA_CORE_STATUS_NO_ERROR ? zelva_core_settings_init("test") : status;
}

/// What an editor does that writes a new file and gives it the old one's name.
void replace_file(const std::string& path, const std::string& text) {
    write_file(path + "~", text);
    std::filesystem::rename(path + "~", path);
}

}  // namespace

BOOST_AUTO_TEST_SUITE(processes)

BOOST_AUTO_TEST_CASE(a_get_sees_what_another_program_has_set) {
    const OpenStore store("k = I1\n");
    for (int i = 2; i < 20; ++i) {
        BOOST_CHECK_EQUAL(0, set_elsewhere("k", i));
        BOOST_CHECK_EQUAL(Value(i), value_of("k"));
    }
    BOOST_CHECK_EQUAL(0, set_elsewhere("new", 5));
    BOOST_CHECK(zelva_core_settings_does_key_exist("new"));
    BOOST_CHECK(keys() == (Strings{"k", "new"}));
    BOOST_CHECK_EQUAL(Value(5), get_default("new").value);
}

BOOST_AUTO_TEST_CASE(a_get_sees_the_first_key_of_a_store_that_had_no_file) {
    std::filesystem::remove(store_path());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(0, set_elsewhere("k", 5));
    BOOST_CHECK_EQUAL(Value(5), value_of("k"));
    zelva_core_settings_deinit();
    std::filesystem::remove(store_path());
}

BOOST_AUTO_TEST_CASE(a_set_knows_the_type_that_another_program_has_given_the_key) {
    const OpenStore store("# empty\n");
    BOOST_CHECK_EQUAL(0, set_elsewhere("k", 5));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, set("k", std::string("x")));
    BOOST_CHECK_EQUAL(Value(5), value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_write_finds_what_a_person_has_changed_in_the_file) {
    const OpenStore store("k = I1\n");
    write_file(store_path(), "k = Sone\nl = I22\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, zelva_core_settings_set_int_value("k", 2));
    BOOST_CHECK_EQUAL(Value(std::string("one")), value_of("k"));
    BOOST_CHECK_EQUAL(Value(22), value_of("l"));
    BOOST_CHECK_EQUAL("k = Sone\nl = I22\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_reload_reads_what_a_person_has_changed_in_the_file) {
    const OpenStore store("k = I1\n");
    write_file(store_path(), "k = I2\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    std::filesystem::remove(store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
    BOOST_CHECK(keys().empty());
    std::filesystem::create_directory(store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_reload());
    std::filesystem::remove(store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_reload());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
}

BOOST_AUTO_TEST_CASE(parent_and_child_share_the_store_that_was_open_at_the_fork) {
    const OpenStore store("k = I1\n");
    constexpr int rounds = 50;
    const pid_t child = fork();
    if (child == 0) {
        alarm(100);
        int failed = 0;
        for (int i = 0; i < rounds; ++i) {
            failed += zelva_core_settings_set_int_value(("c" + std::to_string(i)).c_str(), i) != 0;
        }
        _exit(failed == 0 ? 0 : 1);
    }
    for (int i = 0; i < rounds; ++i) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("p" + std::to_string(i), i));
    }
    BOOST_CHECK_EQUAL(0, result_of(child));
    for (int i = 0; i < rounds; ++i) {
        BOOST_CHECK_EQUAL(i, number_of("c" + std::to_string(i)));
        BOOST_CHECK_EQUAL(i, number_of("p" + std::to_string(i)));
    }
    OpenStore::restart();
    BOOST_CHECK_EQUAL(2U * rounds + 1, keys().size());
}

BOOST_AUTO_TEST_CASE(the_lock_of_a_program_that_was_killed_is_free_also_while_its_child_lives) {
    const OpenStore store("k = I1\n");
    for (int i = 0; i < 10; ++i) {
        int alive[2];
        int ready[2];
        BOOST_REQUIRE_EQUAL(0, pipe(alive));
        BOOST_REQUIRE_EQUAL(0, pipe(ready));
        const pid_t parent = fork();
        if (parent == 0) {
            // The child inherits all that the lock has been taken with.
            zelva_core_settings_set_int_value("victim", 0);
            const pid_t grandchild = fork();
            if (grandchild == 0) {
                close(alive[1]);
                char byte = 0;
                _exit(read(alive[0], &byte, 1) == 0 ? 0 : 1);  // lives until the test lets go of the pipe
            }
            for (int number = 0;; ++number) {
                zelva_core_settings_set_int_value("victim", number);
                if (number == 0) {
                    static_cast<void>(!write(ready[1], "", 1));
                }
            }
        }
        char byte = 0;
        BOOST_REQUIRE_EQUAL(1, read(ready[0], &byte, 1));
        usleep(static_cast<useconds_t>(100 * i));
        kill(parent, SIGKILL);
        BOOST_CHECK_EQUAL(-1, result_of(parent));
        alarm(20);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", i));
        alarm(0);
        for (const int descriptor : {alive[0], alive[1], ready[0], ready[1]}) {
            close(descriptor);
        }
    }
    BOOST_CHECK_EQUAL(Value(9), value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_program_that_died_in_the_middle_of_a_change_holds_nobody_up) {
    const std::string shared = shared_state_path();
    const auto counter = [&shared] {
        std::uint64_t changes = 0;
        std::memcpy(&changes, read_file(shared).data(), sizeof changes);
        return changes;
    };
    std::uint64_t odd = 0;
    const auto die = [&] {
        odd = counter() + 101 - counter() % 2;
        std::string page = read_file(shared);
        std::memcpy(page.data(), &odd, sizeof odd);
        write_file(shared, page);
    };
    { const OpenStore store("k = I1\n"); }
    die();

    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    BOOST_CHECK(counter() > odd && counter() % 2 == 0);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK(counter() > odd && counter() % 2 == 0);
    BOOST_CHECK_EQUAL(0, set_elsewhere("k", 3));
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
    die();
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 4));
    BOOST_CHECK(counter() > odd && counter() % 2 == 0);
}

BOOST_AUTO_TEST_CASE(a_removed_lock_file_does_not_let_two_programs_write_at_once) {
    const OpenStore store("k = I1\n");
    std::filesystem::remove_all(Folder::path() + "/.zelva");
    BOOST_CHECK_EQUAL(0, set_elsewhere("k", 2));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 3));
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    BOOST_CHECK_EQUAL(0, set_elsewhere("k", 4));
    BOOST_CHECK_EQUAL(Value(4), value_of("k"));
}

// As when a backup is put in the place of the settings: one of the programs has the store open since before that.
BOOST_AUTO_TEST_CASE(two_programs_lose_nothing_in_a_folder_that_has_taken_another_one_s_place) {
    const TimeLimit limit;
    constexpr int rounds = 200;
    const std::string moved = Folder::path() + "-moved";
    const OpenStore store("k = I1\n");
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
    BOOST_REQUIRE_EQUAL(0, set_many(1));
    std::filesystem::rename(Folder::path(), moved);
    std::filesystem::copy(moved, Folder::path(), std::filesystem::copy_options::recursive);
    const auto increment = [](const std::string& key) {
        int failed = 0;
        for (int i = 0; i < rounds; ++i) {
            failed += set(key, std::max(number_of(key), 0) + 1) == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
            failed += set(key + std::to_string(i), i) == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
        }
        return failed;
    };
    const pid_t other = start([&] {
        zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
        return increment("theirs");
    });
    BOOST_CHECK_EQUAL(0, increment("mine"));
    BOOST_CHECK_EQUAL(0, result_of(other));
    for (int i = 0; i < 2; ++i) {
        BOOST_CHECK_EQUAL(rounds, number_of("mine"));
        BOOST_CHECK_EQUAL(rounds, number_of("theirs"));
        BOOST_CHECK_EQUAL(2U * (rounds + 1) + 2, keys().size());
        OpenStore::restart();
    }
    std::filesystem::remove_all(moved);
}

BOOST_AUTO_TEST_CASE(a_folder_that_has_been_moved_away_is_not_made_anew_and_nothing_is_forgotten) {
    const std::string moved = Folder::path() + "-moved";
    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    std::filesystem::rename(Folder::path(), moved);
    for (int i = 0; i < 2; ++i) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 3));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_delete_key("k"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_sync());
        BOOST_CHECK_EQUAL(Value(2), value_of("k"));
        BOOST_CHECK(!std::filesystem::exists(Folder::path()));
    }
    std::filesystem::rename(moved, Folder::path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 4));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(4), value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_thread_reads_while_another_thread_and_another_program_write) {
    const OpenStore store("k = I0\n");
    const pid_t other = start([] {
        for (int i = 0;; ++i) {
            zelva_core_settings_set_int_value("theirs", i);
        }
        return 0;
    });
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    std::thread reader([&] {
        for (int last = 0; !done;) {
            const int now = number_of("k");
            failures += now < last ? 1 : 0;  // a value that has been replaced does not come back
            last = now;
        }
    });
    for (int i = 1; i <= 200; ++i) {
        failures += zelva_core_settings_set_int_value("k", i) != ZELVA_CORE_STATUS_NO_ERROR ? 1 : 0;
        failures += number_of("k") != i ? 1 : 0;
    }
    done = true;
    reader.join();
    kill(other, SIGKILL);
    BOOST_CHECK_EQUAL(-1, result_of(other));
    BOOST_CHECK_EQUAL(0, failures);
}

// Each program has two threads that write keys of their own and one that is everybody's, and programs are killed all
// along. What was acknowledged must be there, and what is read must be neither torn nor older than that.
BOOST_AUTO_TEST_CASE(no_program_loses_a_write_of_another_though_some_are_killed) {
    const TimeLimit limit;
    const unsigned programs = is_campaign() ? 32 : 8;
    const unsigned rounds = is_campaign() ? 1000 : 250;
    const unsigned kills = is_campaign() ? 2000 : 50;
    const unsigned writers = 2 * programs;
    const OpenStore store("# shared\n");
    Ledger ledger(writers + 1, writers + 1);  // the last one is that of the programs that are killed
    zelva_core_settings_deinit();
    std::vector<pid_t> alive;
    for (unsigned id = 0; id < programs; ++id) {
        alive.push_back(start([&ledger, id, rounds] {
            std::thread other([&ledger, id, rounds] { ledger.work(2 * id, rounds, 2 * id); });
            ledger.work(2 * id + 1, rounds, 2 * id + 1);
            other.join();
            return 0;
        }));
    }
    std::mt19937 random(7);
    for (unsigned i = 0; i < kills; ++i) {
        const pid_t victim = start([&ledger, writers, i] {
            ledger.work(writers, 0, i);
            return 0;
        });
        while (ledger.steps() < writers * rounds * i / kills && ledger.failures().empty()) {
            usleep(1000);
        }
        usleep(static_cast<useconds_t>(2000 + random() % 8000));
        kill(victim, SIGKILL);
        BOOST_CHECK_EQUAL(-1, result_of(victim));
    }
    for (const pid_t program : alive) {
        BOOST_CHECK_EQUAL(0, result_of(program));
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    ledger.check_all();
    BOOST_CHECK_EQUAL("", ledger.failures());
    BOOST_CHECK_EQUAL(writers * rounds, ledger.steps());
    BOOST_TEST_MESSAGE(ledger.steps() << " durable writes of " << writers << " threads, and "
                                      << ledger.acknowledged(writers) << " of " << kills
                                      << " programs until they were killed");
    BOOST_CHECK(ledger.acknowledged(writers) > kills / 2);
}

BOOST_AUTO_TEST_CASE(a_program_writes_on_when_another_one_cuts_the_padding_off_the_file) {
    const OpenStore store("k = I1\n");
    Program other;
    for (int i = 0; i < 5; ++i) {
        BOOST_CHECK_EQUAL(0, other.run(set_k, 10 + i));
        OpenStore::restart();  // the other program's padding is not this one's
        BOOST_CHECK_EQUAL(0, other.run(reopen));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 20 + i));
        BOOST_CHECK_EQUAL(20 + i, other.run(get_k));
        BOOST_CHECK_EQUAL(0, other.run(set_many, 3));
        OpenStore::restart();
        BOOST_CHECK_EQUAL(0, read_file(store_path()).size() % 4096);
        BOOST_CHECK_EQUAL(20 + i, number_of("k"));
        BOOST_CHECK_EQUAL(2, number_of("many"));
    }
    BOOST_CHECK_EQUAL(0, other.run(reopen));
    BOOST_CHECK_EQUAL('\n', read_file(store_path()).back());
    BOOST_CHECK(read_file(store_path()).find("\n\n\n") == std::string::npos);
}

BOOST_AUTO_TEST_CASE(a_program_writes_on_when_another_one_has_compacted_the_file) {
    const OpenStore store("k = I1\n");
    Program other;
    BOOST_CHECK_EQUAL(0, other.run(set_k, 2));
    struct stat before {};
    struct stat after {};
    BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &before));
    BOOST_CHECK_EQUAL(0, set_many(1000));
    BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &after));
    BOOST_CHECK(before.st_ino != after.st_ino);
    BOOST_CHECK(after.st_size < off_t{16} * 4096);
    BOOST_CHECK_EQUAL(0, other.run(set_k, 3));
    BOOST_CHECK_EQUAL(3, number_of("k"));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(3, number_of("k"));
    BOOST_CHECK_EQUAL(999, number_of("many"));
}

// Some file systems and kernels give a file the same time for some milliseconds.
BOOST_AUTO_TEST_CASE(a_write_finds_what_another_program_has_changed_without_the_file_s_time) {
    const OpenStore store("k = I1\n");
    Program other;
    BOOST_CHECK_EQUAL(0, set_many(1));
    BOOST_CHECK_EQUAL(0, other.run(set_k, 2));
    BOOST_CHECK_EQUAL(0, set_many(2));
    struct stat before {};
    struct stat after {};
    BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &before));
    BOOST_CHECK_EQUAL(0, other.run(set_k, 3));
    const timespec times[] = {before.st_atim, before.st_mtim};
    BOOST_REQUIRE_EQUAL(0, utimensat(AT_FDCWD, store_path().c_str(), times, 0));
    BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &after));
    BOOST_REQUIRE_EQUAL(before.st_size, after.st_size);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_copy_int_key("k", "copy"));
    BOOST_CHECK_EQUAL(3, number_of("copy"));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(3, number_of("k"));
    BOOST_CHECK_EQUAL(3, number_of("copy"));
}

BOOST_AUTO_TEST_CASE(what_an_editor_does_to_the_file_is_kept_by_the_next_write) {
    using Edit = void (*)(const std::string& text);
    const Edit edits[] = {
        [](const std::string& text) { replace_file(store_path(), text + "edited = I5\n"); },
        [](const std::string& text) { replace_file(store_path(), text + "edited = I5"); },
        [](const std::string& text) { write_file(store_path(), text + "edited = I5\n"); },
        [](const std::string&) { write_file(store_path(), "k = I1\nl = I1\nedited = I5\n"); },
        [](const std::string&) { std::ofstream(store_path(), std::ios::app) << "edited = I5\n"; },
        [](const std::string&) {
            std::filesystem::remove(store_path());
            write_file(store_path(), "k = I1\nl = I1\nedited = I5\n");
        },
    };
    for (const Edit edit : edits) {
        const OpenStore store("k = I0\n");
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 1));
        edit(OpenStore::file());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        for (int i = 0; i < 2; ++i) {
            BOOST_CHECK(keys() == (Strings{"edited", "k", "l"}));
            BOOST_CHECK_EQUAL(5, number_of("edited"));
            BOOST_CHECK_EQUAL(2, number_of("k"));
            BOOST_CHECK_EQUAL(1, number_of("l"));
            OpenStore::restart();
        }
    }
}

BOOST_AUTO_TEST_CASE(a_write_after_a_person_has_removed_the_file_begins_a_new_one) {
    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    std::filesystem::remove(store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 3));
    BOOST_CHECK(keys() == Strings{"l"});
    BOOST_CHECK_EQUAL("DEFAULT_l = I3\nl = I3\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_store_that_is_closed_leaves_nothing_mapped_or_open) {
    const OpenStore store("k = I1\n");
    const int mappings = count_mappings(0);
    const std::size_t files = number_of_open_files();
    for (int i = 0; i < 5; ++i) {
        BOOST_CHECK_EQUAL(0, reopen(0));
        BOOST_CHECK_EQUAL(mappings, count_mappings(0));
        BOOST_CHECK_EQUAL(files, number_of_open_files());
    }
}

// Each of them alone tells: which file it is, its size, and its time, to the nanosecond.
BOOST_AUTO_TEST_CASE(a_write_finds_an_edit_that_changes_little_about_the_file) {
    struct Edit {
        bool is_other_file;
        const char* text;
        int seconds;
        int nanoseconds;
    };
    for (const Edit& edit :
         {Edit{true, "k = I5\n", 0, 0}, Edit{false, "k = I55\n", 0, 0}, Edit{false, "k = I5\n", 1, 0},
          Edit{false, "k = I5\n", 0, 1}, Edit{false, "k = I5\n", 0, 0}}) {
        const OpenStore store("k = I1\n");
        timespec times[] = {{1700000000, 500}, {1700000000, 500}};
        BOOST_REQUIRE_EQUAL(0, utimensat(AT_FDCWD, store_path().c_str(), times, 0));
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // until the system's clock of files has gone on
        (edit.is_other_file ? replace_file : write_file)(store_path(), edit.text);
        times[1].tv_sec += edit.seconds;
        times[1].tv_nsec += edit.nanoseconds;
        BOOST_REQUIRE_EQUAL(0, utimensat(AT_FDCWD, store_path().c_str(), times, 0));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_copy_int_key("k", "copy"));
        BOOST_CHECK_EQUAL(std::string(edit.text), "k = I" + std::to_string(number_of("copy")) + "\n");
    }
}

// A user who may read the settings and not write them; with and without a counter that may be read.
BOOST_AUTO_TEST_CASE(a_user_who_may_only_read_sees_what_others_write, *boost::unit_test::precondition(is_root)) {
    const OpenStore store("k = I1\n");
    for (const mode_t mode : {0755U, 0700U}) {
        BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0755));
        BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0644));
        BOOST_REQUIRE_EQUAL(0, chmod((Folder::path() + "/.zelva").c_str(), mode));
        BOOST_REQUIRE_EQUAL(0, chmod(shared_state_path().c_str(), 0644));
        Program reader([] { become(65534, 65534); });
        for (int i = 2; i < 6; ++i) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", i));
            BOOST_CHECK_EQUAL(i, reader.run(get_k));
        }
        BOOST_CHECK_EQUAL(0, set_many(1000));  // compacts
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 6));
        BOOST_CHECK_EQUAL(6, reader.run(get_k));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, reader.run(set_k, 7));
        const int mappings = reader.run(count_mappings);
        BOOST_CHECK_EQUAL(100, reader.run(set_many, 100));  // all refused
        BOOST_CHECK_EQUAL(mappings, reader.run(count_mappings));
        BOOST_CHECK_EQUAL(6, reader.run(get_k));
        BOOST_CHECK_EQUAL(6, number_of("k"));
    }
    std::filesystem::permissions(Folder::path() + "/.zelva", std::filesystem::perms::owner_all);
}

BOOST_AUTO_TEST_CASE(two_users_of_a_group_share_a_store_in_the_group_s_folder,
                     *boost::unit_test::precondition(is_root)) {
    constexpr uid_t users[] = {65001, 65002};
    constexpr gid_t group = 65003;
    zelva_core_settings_deinit();
    std::filesystem::remove_all(Folder::path() + "/.zelva");
    write_file(store_path(), "k = I0\n");
    BOOST_REQUIRE_EQUAL(0, chown(Folder::path().c_str(), users[0], group));
    BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 02770));
    BOOST_REQUIRE_EQUAL(0, chown(store_path().c_str(), users[0], group));
    BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0660));
    {
        Program first([] { become(65001, 65003); });
        Program second([] { become(65002, 65003); });
        for (int i = 1; i < 5; ++i) {
            BOOST_CHECK_EQUAL(0, first.run(set_k, 2 * i));
            BOOST_CHECK_EQUAL(2 * i, second.run(get_k));
            BOOST_CHECK_EQUAL(0, second.run(set_k, 2 * i + 1));
            BOOST_CHECK_EQUAL(2 * i + 1, first.run(get_k));
        }
        // The second user cannot give a new file to the first one, so it goes on in the old one.
        BOOST_CHECK_EQUAL(0, second.run(set_many, 1000));
        BOOST_CHECK_EQUAL(0, first.run(set_many, 10));
        BOOST_CHECK_EQUAL(0, second.run(set_k, 77));
        BOOST_CHECK_EQUAL(77, first.run(get_k));
    }
    struct stat file {};
    BOOST_REQUIRE_EQUAL(0, stat((Folder::path() + "/.zelva").c_str(), &file));
    BOOST_CHECK_EQUAL(02770U, file.st_mode & 07777U);
    BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &file));
    BOOST_CHECK_EQUAL(users[0], file.st_uid);
    BOOST_CHECK_EQUAL(group, file.st_gid);
    BOOST_CHECK_EQUAL(0660U, file.st_mode & 0777U);
    BOOST_REQUIRE_EQUAL(0, chown(Folder::path().c_str(), 0, 0));
    BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0700));
    std::filesystem::remove_all(Folder::path() + "/.zelva");
    std::filesystem::remove(store_path());
}

namespace {

int open_other(int) {
    zelva_core_settings_deinit();
    return zelva_core_settings_init("other");
}

/// Sets a key of its own to each number up to this one. Counts what fails, what cannot be read back, and when the key
/// of the other program goes back.
int count_up(const char* key, const char* key_of_other, int count) {
    int failures = 0;
    int last = -1;
    for (int i = 1; i <= count; ++i) {
        failures += zelva_core_settings_set_int_value(key, i) == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
        failures += number_of(key) == i ? 0 : 1;
        const int number = number_of(key_of_other);
        failures += number >= last ? 0 : 1;
        last = number;
    }
    return failures;
}
int count_up_a(int count) {
    return count_up("a", "b", count);
}
int count_up_b(int count) {
    return count_up("b", "a", count);
}

}  // namespace

BOOST_AUTO_TEST_CASE(programs_that_come_to_one_file_over_links_share_its_lock_and_its_counter) {
    namespace fs = std::filesystem;
    const std::string elsewhere = Folder::path() + "/elsewhere";
    fs::create_directory(elsewhere);
    zelva_core_settings_deinit();
    struct Case {
        const char* link;  // of the store "test"; none where that is the file
        const char* other;
        std::string file;
    };
    for (const Case& names :
         {Case{nullptr, "test", store_path()}, Case{"elsewhere/file", "elsewhere/file", elsewhere + "/file"},
          Case{"elsewhere/link", "./test", elsewhere + "/file"}}) {
        for (const bool exists : {true, false}) {
            for (const std::string& left : {store_path(), store_path("other"), elsewhere + "/link", names.file}) {
                fs::remove(left);
            }
            if (exists) {
                write_file(names.file, "a = I0\nb = I0\nk = I0\n");
            }
            fs::create_symlink("file", elsewhere + "/link");
            if (names.link != nullptr) {
                fs::create_symlink(names.link, store_path());
            }
            fs::create_symlink(names.other, store_path("other"));
            Program one;
            Program another;
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, another.run(open_other));
            for (int i = 1; i < 10; ++i) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, (i % 2 == 0 ? one : another).run(set_k, i));
                BOOST_CHECK_EQUAL(i, (i % 2 == 0 ? another : one).run(get_k));
            }
            one.begin(count_up_a, 200);
            another.begin(count_up_b, 200);
            BOOST_CHECK_EQUAL(0, one.result());
            BOOST_CHECK_EQUAL(0, another.result());
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            BOOST_CHECK_EQUAL(Value(200), value_of("a"));
            BOOST_CHECK_EQUAL(Value(200), value_of("b"));
            zelva_core_settings_deinit();
        }
    }
    fs::remove(store_path());
    fs::remove(store_path("other"));
    fs::remove_all(elsewhere);
}

BOOST_AUTO_TEST_CASE(a_store_follows_a_link_that_leads_elsewhere_by_now) {
    namespace fs = std::filesystem;
    using Operation = zelva_core_status (*)();
    const Operation set_new = [] { return set("new", 5); };
    const Operation reload = [] { return zelva_core_settings_reload(); };
    for (const Operation operation : {set_new, reload}) {
        for (const bool is_link_before : {true, false}) {
            zelva_core_settings_deinit();
            const std::string old = is_link_before ? store_path("old") : store_path();
            write_file(old, "k = I1\n");
            write_file(store_path("other"), "k = I2\n");
            if (is_link_before) {
                fs::create_symlink("old", store_path());
            }
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
            fs::create_symlink("other", store_path("link"));
            fs::rename(store_path("link"), store_path());
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, operation());
            BOOST_CHECK_EQUAL(Value(2), value_of("k"));
            Program other;
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, other.run(open_other));
            for (int i = 4; i < 8; ++i) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, other.run(set_k, i));
                BOOST_CHECK_EQUAL(Value(i), value_of("k"));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 10 * i));
                BOOST_CHECK_EQUAL(10 * i, other.run(get_k));
            }
            if (is_link_before) {
                BOOST_CHECK(read_file(old).find("k = I3\n") != std::string::npos);
            }
            zelva_core_settings_deinit();
            BOOST_CHECK(fs::is_symlink(store_path()));
            for (const char* name : {"test", "old", "other"}) {
                fs::remove(store_path(name));
            }
        }
    }
}

// What the link led to is still there: nothing is known of what is to come in its place.
BOOST_AUTO_TEST_CASE(a_link_that_leads_nowhere_by_now_is_not_written_over) {
    namespace fs = std::filesystem;
    zelva_core_settings_deinit();
    write_file(store_path("old"), "k = I1\n");
    fs::create_symlink("old", store_path());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    fs::remove(store_path());
    fs::create_symlink("test", store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    fs::remove(store_path());
    fs::create_symlink(Folder::path() + "/nowhere/file", store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    BOOST_CHECK_EQUAL("k = I1\n", read_file(store_path("old")));
    fs::remove(store_path());
    fs::create_symlink("old", store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    zelva_core_settings_deinit();
    BOOST_CHECK(read_file(store_path("old")).find("k = I2\n") != std::string::npos);
    fs::remove(store_path());
    fs::remove(store_path("old"));
}

// The link has the file's own number behind it, so that only the path tells of it.
BOOST_AUTO_TEST_CASE(a_file_that_is_moved_and_linked_to_while_it_is_open_has_one_lock) {
    const std::filesystem::path folder = Folder::path() + ".moved";
    std::filesystem::create_directories(folder);
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    std::filesystem::rename(store_path(), folder / "test");
    std::filesystem::create_symlink(folder / "test", store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK(std::filesystem::exists(folder / ".zelva" / "test"));
    Program other;
    BOOST_CHECK_EQUAL(0, other.run(
                             [](int value) {
                                 OpenStore::restart();
                                 return static_cast<int>(set("k", value));
                             },
                             4));
    BOOST_CHECK_EQUAL(Value(4), value_of("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 5));
    BOOST_CHECK_EQUAL(5, other.run([](int) { return std::get<int>(value_of("k")); }));
    zelva_core_settings_deinit();
    std::filesystem::remove(store_path());
    std::filesystem::remove_all(folder);
}

BOOST_AUTO_TEST_CASE(a_file_with_two_names_is_read_and_not_written_until_it_has_one) {
    namespace fs = std::filesystem;
    std::string wasteful = "k = I1\nVersion = I3\n";
    for (int i = 0; i < 100; ++i) {
        wasteful += "=ld = S" + std::string(60, 'x') + "\n";
    }
    for (const std::string& text : {"k = I1\nVersion = I3\n"s, "k = I1\nVersion = I3"s, wasteful}) {
        for (const bool is_open_before : {true, false}) {
            zelva_core_settings_deinit();
            write_file(store_path(), text);
            if (!is_open_before) {
                fs::create_hard_link(store_path(), store_path("other"));
            }
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            if (is_open_before) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_sync());  // which opens the file
                fs::create_hard_link(store_path(), store_path("other"));
            }
            const auto check_refusals = [](Value k) {
                unsigned version = 0;
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("new", 2));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set_default("k", 2));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_delete_key("k"));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_copy_int_key("k", "new"));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_sync());  // it writes nothing
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_get_and_set_version(&version, 4));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&version, 3));
                BOOST_CHECK_EQUAL(k, value_of("k"));
            };
            check_refusals(1);
            Program other;
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, other.run(open_other));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, other.run(set_k, 3));
            BOOST_CHECK_EQUAL(1, other.run(get_k));
            BOOST_CHECK_EQUAL(text, read_file(store_path()));
            // A person writes it, whose other name nothing counts.
            std::ofstream(store_path("other"), std::ios::app) << "\nk = I7\n";
            BOOST_CHECK_EQUAL(Value(7), value_of("k"));
            BOOST_CHECK_EQUAL(7, other.run(get_k));
            check_refusals(7);
            OpenStore::restart();
            BOOST_CHECK_EQUAL(text + "\nk = I7\n", read_file(store_path()));
            fs::remove(store_path("other"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 8));
            BOOST_CHECK_EQUAL(0, set_elsewhere("k", 9));
            BOOST_CHECK_EQUAL(Value(9), value_of("k"));
        }
    }
    zelva_core_settings_deinit();
    fs::remove(store_path());
}

BOOST_AUTO_TEST_CASE(a_store_whose_folder_has_been_moved_keeps_what_it_holds_until_it_is_back) {
    namespace fs = std::filesystem;
    const std::string moved = Folder::path() + ".moved";
    using Operation = zelva_core_status (*)();
    const Operation operations[] = {[] { return set("k", 2); }, [] { return set("new", 2); },
                                    [] { return zelva_core_settings_delete_key("k"); },
                                    [] { return zelva_core_settings_reload(); }};
    for (const std::string& text : {"k = I1\nl = Sx\n"s, "k = I1\nl = Sx"s}) {
        for (const bool is_written : {true, false}) {
            for (const Operation operation : operations) {
                const OpenStore store(text);
                Program other;
                const int first = is_written ? 5 : 1;
                if (is_written) {
                    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", first));
                }
                const State before = state_of_store();
                BOOST_CHECK_EQUAL(first, other.run(get_k));
                const std::string file = read_file(store_path());
                fs::rename(Folder::path(), moved);
                for (int i = 0; i < 2; ++i) {
                    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, operation());
                    BOOST_CHECK_EQUAL(Value(first), value_of("k"));
                    BOOST_CHECK(keys() == (Strings{"k", "l"}));
                    BOOST_CHECK(zelva_core_settings_does_key_exist("l"));
                    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, other.run(set_k, 7));
                    BOOST_CHECK_EQUAL(first, other.run(get_k));
                }
                BOOST_CHECK(!fs::exists(Folder::path()));
                BOOST_CHECK_EQUAL(file, read_file(moved + "/test"));
                fs::rename(moved, Folder::path());
                BOOST_CHECK(before == state_of_store());
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, operation());
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 8));
                BOOST_CHECK_EQUAL(8, other.run(get_k));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, other.run(set_k, 9));
                BOOST_CHECK_EQUAL(Value(9), value_of("k"));
                BOOST_CHECK_EQUAL(Value("x"s), value_of("l"));
            }
        }
    }
}

BOOST_AUTO_TEST_SUITE_END()
