// A disk that fails for a moment while a program sets. The file systems take no write after that until they are mounted
// anew.
#include <chrono>
#include <random>
#include <thread>

#include "mounted_folder.h"

namespace {

constexpr auto get_has_failed = ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE;  // which no set of these tests returns

/// A step: the status of a set.
int set_and_get(int value) {
    const int status = set_k(value);
    return get_k(0) == -1 ? get_has_failed : status;
}

/// How the program ends: by itself when the disk works again, or killed while it fails.
enum class End { regular, killed };

/// The value is the one that was acknowledged last, or one that was refused after that.
void check_value(const Repetition& sets) {
    BOOST_TEST_CONTEXT("the file: " << abridged(read_file(store_path()))) {
        const int value = Program().run(get_k);
        BOOST_CHECK_LE(sets.last_success(), value);
        BOOST_CHECK_LT(value, sets.begun());
    }
}

/// The number of sets that were refused.
int check_failure(const power::FileSystem& file_system, std::mt19937& random, End end) {
    const auto wait_up_to = [&random](std::mt19937::result_type microseconds) {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % microseconds));
    };
    MountedFolder disk(file_system);
    write_file(store_path(), store_text);
    Repetition sets(set_and_get);
    sets.wait_for_steps(2 + static_cast<int>(random() % 30));
    wait_up_to(1000);
    disk.set_failing(true);
    wait_up_to(5000);
    if (end == End::killed) {
        sets.kill();
        disk.set_failing(false);
    } else {
        // Until a set that has begun on the failing disk is over.
        sets.wait_for_steps(2);
        disk.set_failing(false);
        sets.wait_for_steps(20);
        sets.stop();
        BOOST_CHECK_EQUAL(sets.begun(),
                          sets.count(ZELVA_CORE_STATUS_NO_ERROR) + sets.count(ZELVA_CORE_STATUS_IO_FAILED));
    }
    BOOST_CHECK_EQUAL(0, sets.count(get_has_failed));
    // The file system may allow no write, or not even a read.
    const bool can_be_read = !read_file(store_path()).empty();
    const int result = result_of(start([] { return set_new(1); }));
    BOOST_CHECK_NE(-1, result);
    BOOST_CHECK(result != not_opened || !can_be_read);
    disk.remount();
    check_value(sets);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, Program().run(set_k, -5));
    return sets.count(ZELVA_CORE_STATUS_IO_FAILED);
}

void check_failures(const power::FileSystem& file_system, int campaign_rounds) {
    const int rounds = is_campaign() ? campaign_rounds : 4;
    int refused = 0;
    for (int round = 0; round < rounds; ++round) {
        std::mt19937 random(static_cast<unsigned>(round));
        BOOST_TEST_CONTEXT("round " << round) {
            refused += check_failure(file_system, random, round % 2 == 0 ? End::regular : End::killed);
        }
    }
    BOOST_CHECK_LT(0, refused);
    BOOST_TEST_MESSAGE(rounds << " failures of the disk, " << refused << " sets refused");
}

}  // namespace

BOOST_AUTO_TEST_SUITE(failing_disk)

MOUNTED_TEST_CASE(nothing_acknowledged_is_lost_when_a_disk_fails_below_an_ext4_with_a_journal_of_data,
                  ext4_with_data_journal) {
    check_failures(ext4_with_data_journal, 100);
}

MOUNTED_TEST_CASE(nothing_acknowledged_is_lost_when_a_disk_fails_below_an_ext4, ext4) {
    check_failures(ext4, 100);
}

MOUNTED_TEST_CASE(nothing_acknowledged_is_lost_when_a_disk_fails_below_an_xfs, xfs) {
    check_failures(xfs, 200);
}

BOOST_AUTO_TEST_SUITE_END()
