// Several programs that have one store open at the same time.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <thread>

#include "support.h"

namespace {

/// Starts a process that opens the store, runs `body` and ends with its result: 0 for success.
pid_t start(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(100);
        zelva_core_settings_deinit();  // the store that was open at the fork
        const bool is_open = zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR;
        _exit(is_open ? body() : 99);
    }
    return child;
}

int result_of(pid_t child) {
    int status = -1;
    BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Sets a key in another program.
int set_elsewhere(const char* key, int value) {
    return result_of(start([&] { return static_cast<int>(zelva_core_settings_set_int_value(key, value)); }));
}

int number_of(const std::string& key) {
    int number = -1;
    zelva_core_settings_get_int_value(key.c_str(), &number);
    return number;
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
    const std::string shared = Folder::path() + "/.zelva/test";
    const auto counter = [&shared] {
        std::uint64_t changes = 0;
        std::memcpy(&changes, read_file(shared).data(), sizeof changes);
        return changes;
    };
    { const OpenStore store("k = I1\n"); }
    const std::uint64_t odd = counter() + 101 - counter() % 2;
    std::string page = read_file(shared);
    std::memcpy(page.data(), &odd, sizeof odd);
    write_file(shared, page);

    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    BOOST_CHECK(counter() > odd && counter() % 2 == 0);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK(counter() > odd && counter() % 2 == 0);
    BOOST_CHECK_EQUAL(0, set_elsewhere("k", 3));
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
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

// Each program has two threads with keys of their own, one key is everybody's, and programs are killed all along. What
// was acknowledged must be there; what was being written when a program died may be there or not.
BOOST_AUTO_TEST_CASE(no_program_loses_a_write_of_another_though_some_are_killed) {
    const OpenStore store("# shared\n");
    constexpr int programs = 8;
    constexpr int sets = 60;
    const auto writer = [](int id) {
        return [id] {
            int failures[2] = {0, 0};
            const auto work = [id, &failures](int thread) {
                const std::string own = "own" + std::to_string(id) + "_" + std::to_string(thread);
                const std::string brief = "brief" + std::to_string(id) + "_" + std::to_string(thread);
                for (int i = 1; i <= sets; ++i) {
                    failures[thread] += zelva_core_settings_set_int_value(own.c_str(), i) != 0;
                    failures[thread] += number_of(own) != i;
                    failures[thread] += zelva_core_settings_set_int_value("everybody's", i) != 0;
                    if (i % 10 == 0) {
                        failures[thread] += zelva_core_settings_set_int_value(brief.c_str(), i) != 0;
                        failures[thread] += zelva_core_settings_delete_key(brief.c_str()) != 0;
                    }
                }
            };
            std::thread other(work, 1);
            work(0);
            other.join();
            return failures[0] + failures[1] == 0 ? 0 : 1;
        };
    };
    zelva_core_settings_deinit();
    std::vector<pid_t> writers;
    for (int id = 0; id < programs; ++id) {
        writers.push_back(start(writer(id)));
    }
    // Programs that are killed in the middle of whatever they do.
    std::mt19937 random(7);
    for (int i = 0; i < 50; ++i) {
        const pid_t victim = start([] {
            for (int number = 0;; ++number) {
                zelva_core_settings_set_int_value("victim's", number);
            }
            return 0;
        });
        usleep(static_cast<useconds_t>(2000 + random() % 8000));
        kill(victim, SIGKILL);
        BOOST_CHECK_EQUAL(-1, result_of(victim));
    }
    for (const pid_t child : writers) {
        BOOST_CHECK_EQUAL(0, result_of(child));
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(2U * programs, keys("own").size());
    for (const std::string& key : keys("own")) {
        BOOST_CHECK_EQUAL(sets, number_of(key));
    }
    BOOST_CHECK(keys("brief").empty());
    BOOST_CHECK_EQUAL(sets, number_of("everybody's"));
}

BOOST_AUTO_TEST_SUITE_END()
