// Threads, and processes that fork while threads are at work. Also run under ThreadSanitizer.
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "support.h"

namespace {

constexpr int rounds = 200;

/// Runs a body in several threads at once. The checks of the test framework are not for threads, so the bodies count
/// what fails.
template <class Body>
int failures_in_threads(int count, Body body) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] { body(i, failures); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return failures;
}

}  // namespace

BOOST_AUTO_TEST_SUITE(threads)

BOOST_AUTO_TEST_CASE(no_thread_loses_a_write_or_reads_another_value_than_it_wrote) {
    const OpenStore store;
    const int failures = failures_in_threads(4, [](int id, std::atomic<int>& failed) {
        const std::string own = "own" + std::to_string(id);
        const std::string brief = "brief" + std::to_string(id);
        for (int i = 0; i < rounds; ++i) {
            int number = -1;
            failed += zelva_core_settings_set_int_value(own.c_str(), i) != ZELVA_CORE_STATUS_NO_ERROR;
            failed += zelva_core_settings_get_int_value(own.c_str(), &number) != ZELVA_CORE_STATUS_NO_ERROR;
            failed += number != i;
            failed += zelva_core_settings_set_int_value("shared", i) != ZELVA_CORE_STATUS_NO_ERROR;
            failed += zelva_core_settings_get_int_value("shared", &number) != ZELVA_CORE_STATUS_NO_ERROR;
            failed += zelva_core_settings_set_string_value(brief.c_str(), "x") != ZELVA_CORE_STATUS_NO_ERROR;
            char** list = zelva_core_settings_get_all_keys();
            failed += list == nullptr;
            zelva_core_free_string_array(list);
            failed += zelva_core_settings_delete_key(brief.c_str()) != ZELVA_CORE_STATUS_NO_ERROR;
            unsigned version = 0;
            failed += zelva_core_settings_get_and_set_version(&version, 1) != ZELVA_CORE_STATUS_NO_ERROR;
        }
    });
    BOOST_CHECK_EQUAL(0, failures);
    OpenStore::restart();
    BOOST_CHECK(keys() == (Strings{"Version", "own0", "own1", "own2", "own3", "shared"}));
    for (int id = 0; id < 4; ++id) {
        BOOST_CHECK_EQUAL(Value(rounds - 1), value_of("own" + std::to_string(id)));
    }
}

BOOST_AUTO_TEST_CASE(a_store_may_be_opened_and_closed_while_other_threads_use_it) {
    write_file(store_path(), "k = I1\n");
    const int failures = failures_in_threads(3, [](int id, std::atomic<int>& failed) {
        for (int i = 0; i < rounds; ++i) {
            if (id == 0) {
                failed += zelva_core_settings_init("test") != ZELVA_CORE_STATUS_NO_ERROR;
                failed += zelva_core_settings_deinit() != ZELVA_CORE_STATUS_NO_ERROR;
                continue;
            }
            int number = 1;
            const zelva_core_status got = zelva_core_settings_get_int_value("k", &number);
            failed += number != 1 || (got != ZELVA_CORE_STATUS_NO_ERROR && got != ZELVA_CORE_STATUS_NOT_INITIALIZED);
            const zelva_core_status set = zelva_core_settings_set_int_value("k", 1);
            failed += set != ZELVA_CORE_STATUS_NO_ERROR && set != ZELVA_CORE_STATUS_NOT_INITIALIZED;
        }
    });
    BOOST_CHECK_EQUAL(0, failures);
}

BOOST_AUTO_TEST_CASE(many_readers_do_not_keep_a_writer_waiting) {
    const OpenStore store("k = I1\n");
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 8; ++i) {
        readers.emplace_back([&done] {
            int number = 0;
            while (!done) {
                zelva_core_settings_get_int_value("k", &number);
            }
        });
    }
    // With a lock that readers can keep, this takes minutes; the test's own time limit ends it then.
    for (int i = 0; i < 50; ++i) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", i));
    }
    done = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
}

// ThreadSanitizer does not follow a process that forks while it has threads.
#ifndef __SANITIZE_THREAD__
BOOST_AUTO_TEST_CASE(a_child_forked_while_another_thread_writes_can_write) {
    const OpenStore store("k = I1\n");
    std::atomic<bool> done{false};
    std::thread writer([&done] {
        for (int i = 0; !done; ++i) {
            zelva_core_settings_set_int_value("k", i);
        }
    });
    for (int i = 0; i < 20; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            int number = 0;
            const bool passed = zelva_core_settings_set_int_value("child", i) == ZELVA_CORE_STATUS_NO_ERROR &&
                                zelva_core_settings_get_int_value("child", &number) == ZELVA_CORE_STATUS_NO_ERROR &&
                                number == i;
            _exit(passed ? 0 : 1);
        }
        int status = -1;
        BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
        BOOST_CHECK(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    done = true;
    writer.join();
}
#endif

BOOST_AUTO_TEST_CASE(a_thread_that_is_cancelled_ends_after_its_operation) {
    const OpenStore store("k = I1\n");
    for (int i = 0; i < 20; ++i) {
        pthread_t thread{};
        const auto body = [](void*) -> void* {
            for (int number = 0;; ++number) {
                zelva_core_settings_set_int_value("k", number);
                pthread_testcancel();
            }
        };
        BOOST_REQUIRE_EQUAL(0, pthread_create(&thread, nullptr, body, nullptr));
        usleep(2000);
        BOOST_REQUIRE_EQUAL(0, pthread_cancel(thread));
        void* result = nullptr;
        BOOST_REQUIRE_EQUAL(0, pthread_join(thread, &result));
        BOOST_CHECK(result == PTHREAD_CANCELED);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
    }
}

BOOST_AUTO_TEST_SUITE_END()
