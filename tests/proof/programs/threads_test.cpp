// Threads, and processes that fork while threads are at work. Also run under ThreadSanitizer.
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "ledger.h"
#include "programs.h"
#include "store/readers_lock.h"
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

/// Sets a key; whether that succeeds, and a get then finds the number.
bool is_read_back(const char* key, int number) {
    int found = -1;
    return zelva_core_settings_set_int_value(key, number) == ZELVA_CORE_STATUS_NO_ERROR &&
           zelva_core_settings_get_int_value(key, &found) == ZELVA_CORE_STATUS_NO_ERROR && found == number;
}

}  // namespace

BOOST_AUTO_TEST_SUITE(threads)

// With another program that writes, too.
BOOST_AUTO_TEST_CASE(no_thread_loses_a_write_or_reads_what_is_torn_or_stale) {
    constexpr unsigned threads = 4;
    constexpr unsigned writes = 250;
    const TimeLimit limit;
    for (unsigned seed = 0; seed < (is_campaign() ? 20 : 1); ++seed) {
        const OpenStore store;
        Ledger ledger(threads + 1, threads + 1);
        const pid_t other = start([&ledger, seed] {
            ledger.work(threads, writes, seed * 10);
            return 0;
        });
        failures_in_threads(threads, [&ledger, seed](int id, std::atomic<int>&) {
            const auto writer = static_cast<unsigned>(id);
            ledger.work(writer, writes, seed * 10 + writer + 1);
        });
        BOOST_CHECK_EQUAL(0, result_of(other));
        OpenStore::restart();
        ledger.check_all();
        BOOST_CHECK_EQUAL("", ledger.failures());
        BOOST_CHECK_EQUAL((threads + 1) * writes, ledger.steps());
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
            unsigned version = 0;
            const zelva_core_status announced = zelva_core_settings_get_and_set_version(&version, 1);
            failed += announced != ZELVA_CORE_STATUS_NO_ERROR && announced != ZELVA_CORE_STATUS_NOT_INITIALIZED;
            int number = 1;
            const zelva_core_status got = zelva_core_settings_get_int_value("k", &number);
            failed += number != 1 || (got != ZELVA_CORE_STATUS_NO_ERROR && got != ZELVA_CORE_STATUS_NOT_INITIALIZED);
            const zelva_core_status set = zelva_core_settings_set_int_value("k", 1);
            failed += set != ZELVA_CORE_STATUS_NO_ERROR && set != ZELVA_CORE_STATUS_NOT_INITIALIZED;
        }
    });
    BOOST_CHECK_EQUAL(0, failures);
}

BOOST_AUTO_TEST_CASE(a_store_may_be_closed_while_a_thread_reads_what_another_program_writes) {
    write_file(store_path(), "k = I1\n");
    const pid_t other = start([] {
        for (int i = 0; i < 400; ++i) {
            zelva_core_settings_set_int_value("k", i);
        }
        return 0;
    });
    std::atomic<bool> done{false};
    std::thread reader([&done] {
        int number = 0;
        while (!done) {
            zelva_core_settings_get_int_value("k", &number);
        }
    });
    for (int i = 0; i < 100; ++i) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        zelva_core_settings_set_int_value("mine", i);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
    }
    done = true;
    reader.join();
    BOOST_CHECK_EQUAL(0, result_of(other));
    std::filesystem::remove(store_path());
}

BOOST_AUTO_TEST_CASE(a_store_may_be_closed_while_another_thread_asks_for_its_versions) {
    write_file(store_path(), "Version = I3\n");
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    std::thread reader([&] {
        while (!done) {
            unsigned stored = 0;
            unsigned announced = 0;
            const zelva_core_status status = zelva_core_settings_get_versions(&stored, &announced);
            const bool is_announced = status == ZELVA_CORE_STATUS_NO_ERROR;
            const bool is_known = is_announced || status == ZELVA_CORE_STATUS_NOT_INITIALIZED ||
                                  status == ZELVA_CORE_STATUS_INVALID_PARAMS;  // closed, or not announced yet
            const bool is_right = stored == (is_announced ? 3 : 0) && announced == (is_announced ? 2 : 0);
            failures += is_known && is_right ? 0 : 1;
        }
    });
    for (int i = 0; i < rounds; ++i) {
        unsigned version = 0;
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&version, 2));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
    }
    done = true;
    reader.join();
    BOOST_CHECK_EQUAL(0, failures);
    std::filesystem::remove(store_path());
}

// The first list of keys puts them in order.
BOOST_AUTO_TEST_CASE(several_threads_may_list_the_keys_of_a_store_that_was_just_opened) {
    for (int i = 0; i < 20; ++i) {
        const OpenStore store("c = I1\na = I1\nb = I1\n");
        const int failures = failures_in_threads(3, [](int, std::atomic<int>& failed) {
            char** const list = zelva_core_settings_get_all_keys();
            failed += list == nullptr || list[0] != std::string("a") || list[1] != std::string("b") ||
                      list[2] != std::string("c") || list[3] != nullptr;
            zelva_core_free_string_array(list);
        });
        BOOST_CHECK_EQUAL(0, failures);
    }
}

BOOST_AUTO_TEST_CASE(several_threads_may_ask_first_for_the_same_values) {
    std::string file = "json = J{\"a\":[1,2]}\ntext = Stext\n";
    for (int i = 0; i < 100; ++i) {
        file += "n" + std::to_string(i) + " = AI" + std::to_string(i) + ",2\n";
    }
    for (int round = 0; round < rounds / 10; ++round) {
        const OpenStore store(file);
        BOOST_CHECK_EQUAL(0, failures_in_threads(4, [](int, std::atomic<int>& failures) {
                              char* text = nullptr;
                              failures += zelva_core_settings_get_json_value("json", &text);
                              failures += text != std::string("{ \"a\" : [ 1, 2 ] }") ? 1 : 0;
                              std::free(text);
                              for (int i = 0; i < 100; ++i) {
                                  int** numbers = nullptr;
                                  const std::string key = "n" + std::to_string(i);
                                  failures += zelva_core_settings_get_arrayofint_value(key.c_str(), &numbers, nullptr);
                                  failures += numbers != nullptr && *numbers[0] == i && *numbers[1] == 2 ? 0 : 1;
                                  zelva_core_free_int_array(numbers);
                              }
                          }));
    }
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

// A fork that did not wait for the writer would open its locks to this thread in the middle of a change.
BOOST_AUTO_TEST_CASE(a_fork_while_another_thread_writes_leaves_both_processes_a_store_that_is_whole) {
    const TimeLimit limit;
    const OpenStore store("k = I0\n");
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    int last = 0;
    std::thread writer([&] {
        while (!done) {
            failures += is_read_back("k", ++last) ? 0 : 1;
        }
    });
    constexpr int forks = 100;
    for (int i = 1; i <= forks; ++i) {
        int before = 0;
        zelva_core_settings_get_int_value("k", &before);
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            int now = -1;
            zelva_core_settings_get_int_value("k", &now);
            _exit(now >= before && is_read_back("child", i) ? 0 : 1);
        }
        BOOST_CHECK(is_read_back("parent", i));
        BOOST_CHECK_EQUAL(0, result_of(child));
    }
    done = true;
    writer.join();
    BOOST_CHECK_EQUAL(0, failures);
    OpenStore::restart();
    const State expected{{"child", {forks, 1}}, {"k", {last, std::nullopt}}, {"parent", {forks, 1}}};
    BOOST_CHECK_MESSAGE(state_of_store() == expected,
                        "found:\n" + abridged(state_of_store()) + "expected:\n" + abridged(expected));
}

BOOST_AUTO_TEST_CASE(a_child_does_not_wait_for_a_reader_that_it_does_not_have) {
    zelva::store::ReadersLock lock;
    std::atomic<bool> is_reading{false};
    std::atomic<bool> done{false};
    std::thread reader([&] {
        const std::shared_lock reading(lock);
        is_reading = true;
        while (!done) {
            std::this_thread::yield();
        }
    });
    while (!is_reading) {
        std::this_thread::yield();
    }
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        lock.forget_readers();
        lock.lock();
        _exit(0);
    }
    int status = -1;
    BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
    BOOST_CHECK_EQUAL(0, status);
    done = true;
    reader.join();
}

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

// Whoever changes the file under its other name, readers read it again by themselves; a set looks at what they replace.
BOOST_AUTO_TEST_CASE(gets_and_sets_of_a_file_with_a_second_name_do_not_get_in_each_other_s_way) {
    const std::string text = "k = S" + std::string(3000, 'x') + "\nl = I1\n";
    const OpenStore store(text);
    std::filesystem::create_hard_link(store_path(), store_path("other"));
    std::atomic<bool> is_over{false};
    std::thread getter([&is_over] {
        while (!is_over) {
            char* value = nullptr;  // while the file is being written it may hold nothing
            zelva_core_settings_get_string_value("k", &value);
            free(value);
        }
    });
    std::atomic<int> written{0};
    std::thread setter([&] {
        while (!is_over) {
            written += set("new", std::string(3000, 'n')) == ZELVA_CORE_STATUS_IO_FAILED ? 0 : 1;
        }
    });
    for (int i = 0; i < (is_campaign() ? 20'000 : 1500); ++i) {
        // Of its own size each time, which its time need not tell.
        write_file(store_path("other"), text + std::string(static_cast<std::size_t>(i % 50), '#') + "\n");
    }
    is_over = true;
    getter.join();
    setter.join();
    BOOST_CHECK_EQUAL(0, written);
    std::filesystem::remove(store_path("other"));
}

BOOST_AUTO_TEST_CASE(no_set_comes_between_the_last_look_at_a_file_and_the_end_of_its_store) {
    const OpenStore store("k = I0\n");
    std::atomic<bool> is_over{false};
    std::vector<std::thread> setters;
    for (int number = 0; number < 8; ++number) {
        setters.emplace_back([&is_over] {
            for (int i = 1; !is_over; ++i) {
                set("k", i);
            }
        });
    }
    for (int i = 0; i < (is_campaign() ? 5000 : 300); ++i) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        zelva_core_settings_deinit();
        const std::string left = read_file(store_path());
        BOOST_CHECK_MESSAGE(std::count(left.begin(), left.end(), '\n') == 1 && left.compare(0, 5, "k = I") == 0, left);
        zelva_core_settings_init("test");
    }
    is_over = true;
    for (std::thread& setter : setters) {
        setter.join();
    }
}

BOOST_AUTO_TEST_SUITE_END()
