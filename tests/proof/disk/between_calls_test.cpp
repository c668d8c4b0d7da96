// What happens between two calls of the system, and calls that end as they hardly ever do: a person edits the file just
// when the store has looked at it, the disk writes nothing at all, a folder appears that is about to be made.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "file/shared_state.h"
#include "file/writer.h"
#include "format/dead_space.h"
#include "format/reader.h"
#include "programs.h"
#include "support.h"
#include "watched_system.h"

using namespace std::string_literals;
using watched::before_call;
using watched::Call;
using watched::Fate;

namespace {

namespace fs = std::filesystem;
namespace file = zelva::file;
namespace format = zelva::format;

/// Interferes with calls of the system for as long as it lives.
class Interference {
  public:
    /// Gives all calls of a name this fate.
    Interference(const std::string& name, Fate fate)
        : Interference([name, fate](const Call& call) { return name == call.name ? fate : Fate{}; }) {}

    /// Does this once, before the first call of a name.
    Interference(const std::string& name, std::function<void()> action)
        : Interference([name, action = std::move(action), is_done = false](const Call& call) mutable {
              if (name == call.name && !std::exchange(is_done, true)) {
                  action();
              }
              return Fate{};
          }) {}

    explicit Interference(std::function<Fate(const Call&)> fate) { before_call = std::move(fate); }
    ~Interference() { before_call = nullptr; }
    Interference(const Interference&) = delete;
    Interference& operator=(const Interference&) = delete;
};

/// Lines that make a compaction due.
std::string dead_lines() {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += "=ld = S" + std::string(60, 'x') + "\n";
    }
    return text;
}

/// A text and a comment behind it that fill a page: the next line needs another one.
std::string filled_page(const std::string& text) {
    return text + "#" + std::string(format::page_size - text.size() - 2, '.') + "\n";
}

/// Whether the file is to get another page.
bool is_growing(const Call& call) {
    return call.name == "pwrite"s && call.size >= format::page_size;
}

/// What a program leaves that dies in the middle of a change which nobody has seen yet.
void leave_change_unfinished() {
    std::string page = read_file(shared_state_path());
    std::uint64_t counter = 0;
    std::memcpy(&counter, page.data(), sizeof counter);
    counter = (counter | 1U) + 2;
    std::memcpy(page.data(), &counter, sizeof counter);
    std::fstream(shared_state_path(), std::ios::binary | std::ios::in | std::ios::out) << page;
}

}  // namespace

BOOST_AUTO_TEST_SUITE(between_calls)

BOOST_AUTO_TEST_CASE(a_file_that_grows_while_it_is_read_is_read_to_its_end) {
    write_file(configuration_path(), "k = I1\n");
    {
        const Interference interference("pread", [] {
            std::ofstream(configuration_path(), std::ios::app) << '#' << std::string(100'000, '.') << "\nl = I2\n";
        });
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
    }
    int number = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_int_value("l", &number));
    BOOST_CHECK_EQUAL(2, number);
    zelva_core_configuration_deinit();
    fs::remove(configuration_path());
}

BOOST_AUTO_TEST_CASE(a_file_of_two_gibibytes_is_refused_before_any_of_it_is_read) {
    for (const std::uintmax_t size : {std::uintmax_t{INT_MAX}, std::uintmax_t{1} << 31U, std::uintmax_t{1} << 40U}) {
        write_file(configuration_path(), "");
        fs::resize_file(configuration_path(), size);
        bool is_read = false;
        const Interference interference("pread", [&] { is_read = true; });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_configuration_init("test"));
        BOOST_CHECK(!is_read);
    }
    fs::remove(configuration_path());
}

BOOST_AUTO_TEST_CASE(a_file_does_not_become_longer_than_two_gibibytes) {
    const file::Descriptor none;
    format::Layout layout;
    layout.size = INT_MAX - 8000;
    file::Writer writer(none, layout, ZELVA_CORE_DURABILITY_FULL);
    std::vector<format::Place> places;
    BOOST_CHECK_EQUAL(EFBIG, writer.apply({{"k", "k = I1\n", {}}}, places).number);
    BOOST_CHECK_EQUAL(INT_MAX - 8000, layout.size);
}

BOOST_AUTO_TEST_CASE(a_write_of_no_bytes_is_an_error_and_not_tried_forever) {
    const TimeLimit limit;
    const OpenStore store("k = I1\n");
    {
        const Interference interference("pwrite", Fate{0, 0});
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    }
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_key_is_not_deleted_from_a_file_that_a_person_has_just_cut_off) {
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    {
        const Interference interference("pread", [] { fs::resize_file(store_path(), 0); });
        // It is read again, and the key is gone already.
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_delete_key("k"));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 1));
    BOOST_CHECK(keys() == Strings{"l"});
    OpenStore::restart();
    BOOST_CHECK(keys() == Strings{"l"});
}

BOOST_AUTO_TEST_CASE(an_edit_just_before_the_file_is_opened_is_not_written_over) {
    const OpenStore store("k = I1\n");
    {
        const Interference interference("open", [] { write_file(store_path(), "k = I1\nl = I5\n"); });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    }
    BOOST_CHECK_EQUAL("l = I5\nk = I2\n", OpenStore::file());
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    BOOST_CHECK_EQUAL(Value(5), value_of("l"));
}

// An edit that neither the file's size nor its time tells of can be missed, but not be lost.
BOOST_AUTO_TEST_CASE(a_compaction_keeps_an_edit_of_the_same_size_and_time) {
    const OpenStore store("k = I1\nname = I7\n" + dead_lines());
    {
        const Interference interference("open", [] {
            struct stat before {};
            BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &before));
            std::fstream(store_path(), std::ios::binary | std::ios::in | std::ios::out) << "k = I1\neman = I8\n";
            const timespec times[] = {before.st_atim, before.st_mtim};
            BOOST_REQUIRE_EQUAL(0, utimensat(AT_FDCWD, store_path().c_str(), times, 0));
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    }
    BOOST_CHECK_EQUAL("k = I2\neman = I8\n", OpenStore::file());
    OpenStore::restart();
    BOOST_CHECK(keys() == (Strings{"eman", "k"}));
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
}

// The usual place of the counter is taken, so that only the file itself tells whether it changes.
BOOST_AUTO_TEST_CASE(a_file_that_changes_all_the_time_is_read_all_the_same) {
    const TimeLimit limit;
    fs::remove_all(shared_state_path());
    fs::create_directories(shared_state_path());
    {
        const OpenStore store("k = I1\n");
        write_file(store_path(), "k = I10\n");
        int number = 10;
        {
            const Interference interference([&number](const Call& call) {
                if (call.name == "open"s) {
                    write_file(store_path(), "k = I" + std::to_string(++number) + "\n");
                }
                return Fate{};
            });
            const Value found = value_of("k");
            BOOST_CHECK_EQUAL(Value(number), found);
        }
        BOOST_CHECK_GT(number, 11);
        BOOST_CHECK_EQUAL(Value(number), value_of("k"));
    }
    fs::remove(shared_state_path());
}

BOOST_AUTO_TEST_CASE(a_set_makes_the_folder_again_where_it_can) {
    for (const int error : {0, EACCES}) {
        const OpenStore store("k = I1\n");
        fs::remove(store_path());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
        fs::remove_all(Folder::path());
        {
            const Interference interference("mkdir", Fate{error});
            BOOST_CHECK_EQUAL(error == 0 ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_IO_FAILED, set("l", 2));
        }
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 3));
        OpenStore::restart();
        BOOST_CHECK(keys() == Strings{"l"});
    }
}

BOOST_AUTO_TEST_CASE(a_store_without_a_folder_opens_whatever_fails_and_is_written_later) {
    for (const int error : {EIO, EACCES, ENOSPC}) {
        bool is_reached = true;
        for (std::size_t n = 1; is_reached; ++n) {
            fs::remove_all(fs::path(Folder::path()).parent_path());
            std::size_t number = 0;
            {
                const Interference interference([&](const Call&) { return Fate{++number == n ? error : 0}; });
                zelva_core_settings_init("test");
            }
            is_reached = number >= n;
            zelva_core_settings_init("test");
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
            OpenStore::restart();
            BOOST_CHECK_EQUAL(Value(1), value_of("k"));
            zelva_core_settings_deinit();
        }
    }
}

BOOST_AUTO_TEST_CASE(another_program_may_make_each_folder_just_before) {
    fs::remove_all(fs::path(Folder::path()).parent_path());
    const std::vector<fs::path> folders{fs::path(Folder::path()).parent_path(), Folder::path(),
                                        Folder::path() + "/.zelva"};
    std::size_t made = 0;
    {
        const Interference interference([&](const Call& call) {
            if (call.name == "mkdir"s) {
                fs::create_directory(folders.at(made++));
            }
            return Fate{};
        });
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    }
    BOOST_CHECK_EQUAL(folders.size(), made);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
    zelva_core_settings_deinit();
    fs::remove(store_path());
}

BOOST_AUTO_TEST_CASE(a_removed_lock_whose_place_cannot_be_looked_at_is_not_taken) {
    const OpenStore store("k = I1\n");
    fs::remove(shared_state_path());
    {
        const Interference interference("stat", Fate{EIO});
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK(fs::exists(shared_state_path()));
}

// A get waits for the lock of a program that is changing the file, where there is a lock to be had.
BOOST_AUTO_TEST_CASE(a_get_does_without_a_lock_that_cannot_be_taken) {
    const TimeLimit limit;
    for (const char* name : {"open", "lock"}) {
        for (const int error : {EACCES, EAGAIN, EINTR, ENOLCK, EMFILE}) {
            const OpenStore store("k = I1\n");
            leave_change_unfinished();
            int failures = 0;
            const Interference interference([&](const Call& call) {
                // The first file that is opened is that of the lock.
                const bool is_failing =
                    name == std::string(call.name) && (failures == 0 || (name == "lock"s && error != EINTR));
                failures += is_failing ? 1 : 0;
                return Fate{is_failing ? error : 0};
            });
            BOOST_CHECK_EQUAL(Value(1), value_of("k"));
            BOOST_CHECK_GT(failures, 0);
        }
    }
}

BOOST_AUTO_TEST_CASE(a_get_does_without_a_lock_that_can_never_be_opened_though_a_program_has_died_in_a_change) {
    const TimeLimit limit;
    const OpenStore store("k = I1\n");
    write_file(store_path(), "k = I12\n");
    leave_change_unfinished();
    fs::remove_all(Folder::path() + "/.zelva");
    BOOST_CHECK_EQUAL(Value(12), value_of("k"));
    BOOST_CHECK(keys() == Strings{"k"});
    // It has read what there is: until the next change there is nothing to ask the system.
    int calls = 0;
    const Interference interference([&calls](const Call&) {
        ++calls;
        return Fate{};
    });
    BOOST_CHECK_EQUAL(Value(12), value_of("k"));
    BOOST_CHECK_EQUAL(0, calls);
}

// Where the change before it is not in memory, the file has to be read. Half of a line would be another value.
BOOST_AUTO_TEST_CASE(a_get_does_not_read_what_another_program_has_written_half) {
    const TimeLimit limit;
    const OpenStore store("k = Sx\n");
    Program other;
    BOOST_REQUIRE_EQUAL(0, other.run([](int) { return static_cast<int>(set("k", "second"s)); }));
    other.begin([](int) {
        bool is_torn = false;
        const Interference interference([&is_torn](const Call& call) {
            if (call.name != "pwrite"s) {
                return Fate{};
            }
            if (!std::exchange(is_torn, true)) {
                return Fate{0, call.size / 2};
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            return Fate{};
        });
        return static_cast<int>(set("k", std::string(300, 'y')));
    });
    while (read_file(store_path()).find("yyy") == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    BOOST_CHECK_EQUAL(Value(std::string(300, 'y')), value_of("k"));
    BOOST_CHECK_EQUAL(0, other.result());
}

BOOST_AUTO_TEST_CASE(what_another_program_has_changed_and_cannot_be_read_is_an_error_for_every_operation) {
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(0, result_of(start([] { return set("k", 2); })));
    {
        const Interference interference("open", Fate{EIO});
        zelva_core_settings_type type{};
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_get_type("k", &type));
        int number = 0;
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_get_int_value("k", &number));
        BOOST_CHECK(zelva_core_settings_get_all_keys() == nullptr);
        BOOST_CHECK(!zelva_core_settings_does_key_exist("k"));
    }
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
}

// Without the lock nobody knows whether the value is the present one, and on the disk.
BOOST_AUTO_TEST_CASE(what_needs_to_write_nothing_takes_the_lock_all_the_same) {
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(0, result_of(start([] { return set("k", 2); })));
    {
        const Interference interference("lock", Fate{ENOLCK});
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 1));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_sync());
    }
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
}

// Where two files cannot change places, the old one is gone when the folder fails to reach the disk.
BOOST_AUTO_TEST_CASE(a_file_that_was_replaced_for_good_is_found_by_the_next_write) {
    const OpenStore store("k = I1\n" + dead_lines());
    {
        int renames = 0;
        const Interference interference([&renames](const Call& call) {
            renames += call.name == "renameat2"s ? 1 : 0;
            const bool is_exchange = call.name == "renameat2"s && renames == 1;
            const bool is_folder = call.name == "fsync"s && renames > 0;
            return Fate{is_exchange ? EINVAL : is_folder ? EIO : 0};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
        BOOST_CHECK_EQUAL(2, renames);
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 3));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    BOOST_CHECK_EQUAL(Value(3), value_of("l"));
}

BOOST_AUTO_TEST_CASE(a_close_leaves_many_replaced_lines_to_other_programs_that_have_the_store_open) {
    constexpr int sets = 1500;
    const OpenStore store("#" + std::string(40'000, '.') + "\nk = I0\n");
    Program other;
    BOOST_REQUIRE_EQUAL(0, other.run([](int value) { return static_cast<int>(set("k", value)); }, 1));
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
    for (int i = 1; i <= sets; ++i) {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", i));
    }
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", sets));  // brings them all to the disk
    int writes = 0;
    {
        const Interference interference([&writes](const Call& call) {
            writes += call.name == "pwrite"s ? 1 : 0;
            return Fate{};
        });
        OpenStore::restart();
    }
    BOOST_CHECK_EQUAL(0, writes);
    BOOST_CHECK_EQUAL(Value(sets), value_of("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("k"));
    OpenStore::restart();
    BOOST_CHECK(keys().empty());
}

// Its new default may be in the file already when the value's line fails.
BOOST_AUTO_TEST_CASE(a_failed_first_write_of_a_key_that_has_only_a_default_leaves_no_default_to_a_later_key) {
    const std::string half_sector(300, 'x');
    for (const int error : {EIO, ENOSPC}) {
        int failing = 0;
        bool is_reached = true;
        for (; is_reached; ++failing) {
            const OpenStore store("DEFAULT_k = Sold\nother = I1\n");
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", 2));
            is_reached = false;
            {
                const Interference interference([&, writes = 0](const Call& call) mutable {
                    const bool is_failing = call.name == "pwrite"s && writes++ == failing;
                    is_reached = is_reached || is_failing;
                    return Fate{is_failing ? error : 0};
                });
                const zelva_core_status status = set("k", half_sector);
                BOOST_CHECK(is_reached || status == ZELVA_CORE_STATUS_NO_ERROR);
                BOOST_CHECK_EQUAL(status == ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_does_key_exist("k"));
            }
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", "second"s));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("k"));
            BOOST_CHECK_EQUAL("other = I2\n", OpenStore::file());
            zelva_core_settings_deinit();
            write_file(store_path(), read_file(store_path()) + "k = Snew\n");
            zelva_core_settings_init("test");
            BOOST_CHECK_EQUAL(Value("new"s), value_of("k"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("k").status);
        }
        BOOST_CHECK_GE(failing, 3);
    }
}

BOOST_AUTO_TEST_CASE(a_failed_first_write_of_the_version_s_key_leaves_no_default_to_the_first_version) {
    const OpenStore store("k = I1\n");
    const std::string half_sector(300, 'x');
    const std::size_t size_of_line = ("Version = S" + half_sector + "\n").size();
    {
        const Interference interference([size_of_line, is_done = false](const Call& call) mutable {
            const bool is_failing = call.name == "pwrite"s && call.size == size_of_line && !is_done;
            is_done = is_done || is_failing;
            return Fate{is_failing ? EIO : 0};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("Version", half_sector));
    }
    unsigned version = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&version, 3));
    BOOST_CHECK_EQUAL(Value(3), value_of("Version"));
    BOOST_CHECK_EQUAL(0U, lines_of_file().count("DEFAULT_Version"));
}

// On a full disk, the room of withdrawn lines at the end of the file is taken first.
BOOST_AUTO_TEST_CASE(a_set_is_refused_where_withdrawn_lines_cannot_be_cut_off_a_full_disk) {
    std::string text = "k = I1\n#" + std::string(3000, '.') + "\n";
    text += "=" + std::string(format::page_size - text.size() - 2, 'x') + "\n";
    for (const char* name : {"ftruncate", "fdatasync"}) {
        const OpenStore store(text);
        {
            bool is_full = false;
            const Interference interference([&](const Call& call) {
                is_full = is_full || (call.name == "pwrite"s && call.size >= format::page_size);
                return Fate{call.name == "pwrite"s && is_full           ? ENOSPC
                            : is_full && name == std::string(call.name) ? EIO
                                                                        : 0};
            });
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
            BOOST_CHECK(is_full);
        }
        BOOST_CHECK_EQUAL(Value(1), value_of("k"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
        OpenStore::restart();
        BOOST_CHECK_EQUAL(Value(3), value_of("k"));
    }
}

// A set on a full disk takes the place of withdrawn lines: of a key whose lines stand behind them, of a new key, of one
// that has only a default, and of one whose two lines do not fit into a sector.
BOOST_AUTO_TEST_CASE(a_set_on_a_full_disk_is_done_or_refused_whichever_write_fails) {
    const std::string long_text(300, 'x');
    const std::vector<std::pair<std::string, Value>> situations{{"k = I1\nDEFAULT_k = I5\n", 2},
                                                                {"", 2},
                                                                {"DEFAULT_k = I5\n", 2},
                                                                {"DEFAULT_k = I5\n", long_text},
                                                                {"", long_text}};
    std::size_t done = 0;
    for (std::size_t i = 0; i < 2 * situations.size(); ++i) {
        const auto& [lines, value] = situations[i / 2];
        const int full = i % 2 == 0 ? ENOSPC : EDQUOT;
        const std::string text = filled_page("=" + std::string(1100, 'w') + "\n" + lines);
        bool is_reached = true;
        for (std::size_t n = 1; is_reached; ++n) {
            const OpenStore store(text);
            const State before = state_of_store();
            zelva_core_status status{};
            {
                std::size_t number = 0;
                const Interference interference([&](const Call& call) {
                    const bool is_write = call.name == "pwrite"s || call.name == "fdatasync"s;
                    number += is_write && !is_growing(call) ? 1 : 0;
                    return Fate{is_growing(call) ? full : is_write && number == n ? EIO : 0};
                });
                status = set("k", value);
                is_reached = number >= n;
            }
            done += !is_reached && status == ZELVA_CORE_STATUS_NO_ERROR ? 1 : 0;
            State after = before;
            if (status == ZELVA_CORE_STATUS_NO_ERROR) {
                after.try_emplace("k", Entry{value, value}).first->second.value = value;
            }
            BOOST_CHECK(state_of_store() == after);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 1));
            after["l"] = {1, 1};
            BOOST_CHECK(state_of_store() == after);
            OpenStore::restart();
            BOOST_CHECK_MESSAGE(state_of_store() == after, "after a failure of write " << n << " behind " << lines);
        }
    }
    // Two long lines are written one after the other, and the first might meet the default that is there: refused.
    BOOST_CHECK_EQUAL(2 * situations.size() - 2, done);
}

BOOST_AUTO_TEST_CASE(a_line_takes_what_room_a_full_disk_has_left) {
    const OpenStore store(filled_page("k = I1\n"));
    {
        const Interference interference([](const Call& call) {
            constexpr std::size_t room = 600;
            return Fate{0, is_growing(call) ? room : call.name == "pwrite"s && call.size > room ? 0 : SIZE_MAX};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    }
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
}

// A default without its key means nothing, but would count once there is the key.
BOOST_AUTO_TEST_CASE(an_old_default_behind_the_room_that_is_taken_is_withdrawn_on_the_disk_first) {
    const OpenStore store(filled_page("=" + std::string(60, 'w') + "\nDEFAULT_k = I5\n"));
    std::string calls;
    {
        const Interference interference([&calls](const Call& call) {
            const bool is_write = call.name == "pwrite"s || call.name == "fdatasync"s;
            calls += is_write && !is_growing(call) ? call.name + " "s : "";
            return Fate{is_growing(call) ? ENOSPC : 0};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    }
    const std::string last = "pwrite fdatasync pwrite fdatasync ";
    BOOST_REQUIRE_GE(calls.size(), last.size());
    BOOST_CHECK_EQUAL(last, calls.substr(calls.size() - last.size()));
    OpenStore::restart();
    BOOST_CHECK(state_of_store() == (State{{"k", {2, 2}}}));
}

// Its room may be another key's by the time that the key is set.
BOOST_AUTO_TEST_CASE(an_old_default_that_was_withdrawn_for_nothing_is_not_withdrawn_again) {
    const std::string value(44, 'v');
    const OpenStore store(filled_page("l = Sx\n=" + std::string(38, 'w') + "\nDEFAULT_k = I5\n"));
    bool is_refusing = true;
    {
        const Interference interference([&is_refusing](const Call& call) {
            const bool is_patch = call.name == "pwrite"s && call.size > 1 && !is_growing(call);
            return Fate{is_growing(call) ? ENOSPC : is_patch && std::exchange(is_refusing, false) ? EIO : 0};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", value));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(value), value_of("l"));
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
}

// A line that is no longer there would keep the two new lines from a place of their own each.
BOOST_AUTO_TEST_CASE(a_default_that_was_marked_dead_for_nothing_is_not_in_the_way_of_longer_lines) {
    const std::string value(400, 'v');
    const std::string dead = "=" + std::string(500, 'd') + "\n";
    const OpenStore store(filled_page(dead + dead + dead + dead + "DEFAULT_k = I5\n"));
    bool is_refusing = true;
    {
        const Interference interference([&is_refusing](const Call& call) {
            const bool is_patch = call.name == "pwrite"s && call.size > 1 && !is_growing(call);
            return Fate{is_growing(call) ? ENOSPC : is_patch && std::exchange(is_refusing, false) ? EIO : 0};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
        BOOST_CHECK(!is_refusing);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", value));
    }
    OpenStore::restart();
    BOOST_CHECK(state_of_store() == (State{{"k", {value, value}}}));
}

BOOST_AUTO_TEST_CASE(a_close_leaves_out_the_default_of_a_key_whose_value_could_not_be_written) {
    const OpenStore store("other = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", 2));
    {
        const Interference interference([lines = 0](const Call& call) mutable {
            const bool is_line = call.name == "pwrite"s && call.size > 300 && !is_growing(call);
            return Fate{is_line && ++lines == 2 ? EIO : 0};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", std::string(300, 'x')));
    }
    BOOST_CHECK_NE(std::string::npos, read_file(store_path()).find("\nDEFAULT_k = S"));
    zelva_core_settings_deinit();
    BOOST_CHECK_EQUAL("other = I2\n", read_file(store_path()));
    zelva_core_settings_init("test");
}

// The file that a get has read is not that of the store that is open by then.
BOOST_AUTO_TEST_CASE(a_store_may_be_closed_or_another_one_opened_while_a_get_reads) {
    const TimeLimit limit;
    for (const bool is_opened_again : {true, false}) {
        const OpenStore store("k = I1\n");
        Program other;
        const auto set_k = [](int value) { return static_cast<int>(set("k", value)); };
        BOOST_REQUIRE_EQUAL(0, other.run(set_k, 2));
        const Interference interference("pread", [&] {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
            if (is_opened_again) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            }
            BOOST_CHECK_EQUAL(0, other.run(set_k, 3));
        });
        int number = 0;
        BOOST_CHECK_EQUAL(is_opened_again ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_NOT_INITIALIZED,
                          zelva_core_settings_get_int_value("k", &number));
        BOOST_CHECK_EQUAL(is_opened_again ? 2 : 0, number);
        BOOST_CHECK_EQUAL(is_opened_again ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_NOT_INITIALIZED,
                          zelva_core_settings_get_int_value("k", &number));
        BOOST_CHECK_EQUAL(is_opened_again ? 3 : 0, number);
    }
}

BOOST_AUTO_TEST_CASE(a_removed_lock_is_made_again_and_another_one_in_its_place_is_taken) {
    for (const bool is_replaced : {false, true}) {
        const OpenStore store("k = I1\n");
        fs::remove(shared_state_path());
        if (is_replaced) {
            write_file(shared_state_path(), "");
        }
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        BOOST_CHECK_EQUAL(format::page_size, fs::file_size(shared_state_path()));
    }
}

BOOST_AUTO_TEST_CASE(a_lock_that_is_replaced_each_time_is_an_error_and_not_tried_forever) {
    const TimeLimit limit;
    const OpenStore store("k = I1\n");
    int number = 0;
    {
        const Interference interference([&number](const Call& call) {
            if (call.name == "stat"s) {
                fs::rename(shared_state_path(), shared_state_path() + std::to_string(++number));
                write_file(shared_state_path(), "");
            }
            return Fate{};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
        BOOST_CHECK_GT(number, 1);
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    while (number > 0) {
        fs::remove(shared_state_path() + std::to_string(number--));
    }
}

BOOST_AUTO_TEST_CASE(a_set_gives_what_programs_share_its_page_again_that_somebody_has_cut_off) {
    for (const std::size_t size : {0U, 5U, 100U}) {
        const OpenStore store("k = I1\n");
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        fs::resize_file(shared_state_path(), size);
        {
            const Interference interference("pwrite", Fate{ENOSPC});
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 3));
        }
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 4));
        BOOST_CHECK_EQUAL(format::page_size, fs::file_size(shared_state_path()));
        BOOST_CHECK_EQUAL(Value(4), value_of("k"));
    }
}

// Whoever notices it first: a program that has the store open, or one that opens it. Both make as many changes again.
BOOST_AUTO_TEST_CASE(a_get_finds_what_has_been_set_since_somebody_cut_off_what_programs_share) {
    const TimeLimit limit;
    for (const bool is_open : {true, false}) {
        const OpenStore store("k = I1\n");
        fs::remove(shared_state_path());
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        std::optional<Program> other;
        if (is_open) {
            other.emplace();
        }
        fs::resize_file(shared_state_path(), 0);
        if (!is_open) {
            other.emplace();
        }
        BOOST_CHECK_EQUAL(0, other->run([](int value) { return static_cast<int>(set("k", value)); }, 3));
        BOOST_CHECK_EQUAL(Value(3), value_of("k"));
    }
}

BOOST_AUTO_TEST_CASE(what_is_known_of_a_set_that_could_not_be_undone_is_what_the_file_holds) {
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    {
        const Interference interference([has_failed = false](const Call& call) mutable {
            has_failed = has_failed || call.name == "fdatasync"s;
            return Fate{has_failed && (call.name == "fdatasync"s || call.name == "pwrite"s) ? EIO : 0};
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 3));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", 1));
    const Value known = value_of("k");
    OpenStore::restart();
    BOOST_CHECK_EQUAL(known, value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_set_survives_that_somebody_cuts_off_what_programs_share_while_it_holds_the_lock) {
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    {
        const Interference interference("read_count", [] { fs::resize_file(shared_state_path(), 0); });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    }
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
}

// As when a backup is put in its place.
BOOST_AUTO_TEST_CASE(a_set_in_a_folder_that_has_taken_another_one_s_place_keeps_others_out) {
    const TimeLimit limit;
    const std::string moved = Folder::path() + "-moved";
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    fs::rename(Folder::path(), moved);
    fs::copy(moved, Folder::path(), fs::copy_options::recursive);
    {
        Program other;
        bool has_waited = false;
        const Interference interference("fdatasync", [&] {
            other.begin([](int value) { return static_cast<int>(set("l", value)); }, 5);
            has_waited = !other.has_finished(100);
        });
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
        BOOST_CHECK_EQUAL(0, other.result());
        BOOST_CHECK(has_waited);
    }
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
    BOOST_CHECK_EQUAL(Value(5), value_of("l"));
    BOOST_CHECK(read_file(moved + "/test").find("k = I3") == std::string::npos);
    fs::remove_all(moved);
}

BOOST_AUTO_TEST_CASE(who_has_the_store_open_knows_whether_it_is_alone) {
    const TimeLimit limit;
    { const OpenStore store("k = I1\n"); }
    file::SharedState mine(shared_state_path());
    const auto is_alone = [&mine] {
        BOOST_REQUIRE(!mine.lock());
        const bool result = mine.is_alone();
        mine.unlock();
        return result;
    };
    BOOST_CHECK(is_alone());
    {
        file::SharedState another(shared_state_path());
        BOOST_REQUIRE(!another.open());
        BOOST_CHECK(!is_alone());
    }
    BOOST_CHECK(is_alone());
    {
        Program other;
        BOOST_CHECK_EQUAL(0, other.run([](int value) { return static_cast<int>(set("k", value)); }, 2));
        BOOST_CHECK(!is_alone());
        BOOST_CHECK_EQUAL(0, other.run([](int) { return static_cast<int>(zelva_core_settings_deinit()); }));
        BOOST_CHECK(is_alone());
        BOOST_CHECK_EQUAL(0, other.run([](int) { return static_cast<int>(zelva_core_settings_init("test")); }));
        BOOST_CHECK(!is_alone());
    }
    BOOST_CHECK(is_alone());
    {
        // One that may only read counts as well.
        Program other([] {
            before_call = [is_first = true](const Call& call) mutable {
                return Fate{call.name == "open"s && std::exchange(is_first, false) ? EACCES : 0};
            };
        });
        BOOST_CHECK_EQUAL(1, other.run([](int) { return value_of("k") == Value(2) ? 1 : 0; }));
        BOOST_CHECK(!is_alone());
    }
    BOOST_CHECK(is_alone());
    {
        const Interference interference("find_lock", Fate{ENOLCK});
        BOOST_CHECK(!is_alone());
    }
    {
        const pid_t killed = start([] {
            pause();
            return 0;
        });
        while (is_alone()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        kill(killed, SIGKILL);
        BOOST_CHECK_EQUAL(-1, result_of(killed));
        BOOST_CHECK(is_alone());
    }
}

BOOST_AUTO_TEST_CASE(a_forked_child_has_the_store_open_once_it_writes) {
    const TimeLimit limit;
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    int done[2];
    int next[2];
    BOOST_REQUIRE_EQUAL(0, pipe(done));
    BOOST_REQUIRE_EQUAL(0, pipe(next));
    const auto wait_for = [](int descriptor) {
        char byte = 0;
        return read(descriptor, &byte, 1) == 1;
    };
    const auto tell = [](int descriptor) { return write(descriptor, "", 1) == 1; };
    const pid_t child = fork();
    if (child == 0) {
        alarm(time_limit());
        const bool is_right = tell(done[1]) && wait_for(next[0]) && set("k", 3) == ZELVA_CORE_STATUS_NO_ERROR &&
                              tell(done[1]) && wait_for(next[0]);
        _exit(is_right ? 0 : 1);
    }
    BOOST_CHECK(wait_for(done[0]));
    // The parent closes its own: who remains is the child, if it counts.
    file::SharedState mine(shared_state_path());
    const auto is_alone = [&mine] {
        BOOST_REQUIRE(!mine.lock());
        const bool result = mine.is_alone();
        mine.unlock();
        return result;
    };
    BOOST_CHECK(!is_alone());
    zelva_core_settings_deinit();
    BOOST_CHECK(is_alone());
    BOOST_CHECK(tell(next[1]));
    BOOST_CHECK(wait_for(done[0]));
    BOOST_CHECK(!is_alone());
    BOOST_CHECK(tell(next[1]));
    BOOST_CHECK_EQUAL(0, result_of(child));
    BOOST_CHECK(is_alone());
    for (const int descriptor : {done[0], done[1], next[0], next[1]}) {
        close(descriptor);
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
}

BOOST_AUTO_TEST_CASE(a_fork_waits_for_a_thread_that_opens_the_configuration) {
    const TimeLimit limit;
    write_file(configuration_path(), "k = I7\n");
    std::atomic<bool> is_reading{false};
    {
        const Interference interference("pread", [&is_reading] {
            is_reading = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        });
        std::thread opener([] { zelva_core_configuration_init("test"); });
        while (!is_reading) {
            std::this_thread::yield();
        }
        const pid_t child = fork();
        if (child == 0) {
            alarm(time_limit());
            before_call = nullptr;
            const auto is_readable = [] {
                int number = 0;
                return zelva_core_configuration_get_int_value("k", &number) == ZELVA_CORE_STATUS_NO_ERROR &&
                       number == 7;
            };
            const bool is_right = is_readable() && zelva_core_configuration_deinit() == ZELVA_CORE_STATUS_NO_ERROR &&
                                  zelva_core_configuration_init("test") == ZELVA_CORE_STATUS_NO_ERROR && is_readable();
            _exit(is_right ? 0 : 1);
        }
        opener.join();
        BOOST_CHECK_EQUAL(0, result_of(child));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_deinit());
    fs::remove(configuration_path());
}

// What it relies on after many changes, of short lines and long ones and on a disk that is full at times.
BOOST_AUTO_TEST_CASE(what_a_writer_knows_of_a_file_is_what_the_file_holds) {
    const OpenStore store;
    const file::Descriptor descriptor(open(store_path().c_str(), O_RDWR | O_CLOEXEC));
    format::Layout layout;
    std::map<std::string, format::Place, std::less<>> lines;
    bool is_full = false;
    const Interference interference([&](const Call& call) {
        return Fate{is_full && call.name == "pwrite"s && call.size >= format::page_size ? ENOSPC : 0};
    });
    int refused = 0;
    int done_when_full = 0;
    for (unsigned i = 0; i < 500; ++i) {
        is_full = i % 7 == 3;
        const std::string key = std::to_string(i * i % 11);
        const auto line_of = [&lines](const std::string& name) {
            const auto found = lines.find(name);
            return found == lines.end() ? std::nullopt : std::optional(found->second);
        };
        const bool is_present = line_of(key).has_value();
        const bool is_removed = is_present && i % 3 == 0;
        const std::size_t sizes[] = {1, 200, 500, 700, 5000};
        const auto change_to = [&](const std::string& name) {
            return format::Change{name, format::line_of(name, Value(std::string(sizes[i % 5], 'v'))), line_of(name)};
        };
        format::Batch changes;
        if (is_removed) {
            changes.push_back({key, {}, line_of(key)});
            changes.push_back({"DEFAULT_" + key, {}, line_of("DEFAULT_" + key)});
        } else {
            if (!is_present) {
                changes.push_back(change_to("DEFAULT_" + key));
            }
            changes.push_back(change_to(key));
        }
        file::Writer writer(descriptor, layout, ZELVA_CORE_DURABILITY_FULL);
        std::vector<format::Place> places;
        const int error = writer.apply(changes, places).number;
        for (std::size_t j = 0; j < changes.size() && error == 0; ++j) {
            if (is_removed) {
                lines.erase(changes[j].name);
            } else {
                lines[changes[j].name] = places[j];
            }
        }
        refused += error != 0 ? 1 : 0;
        done_when_full += is_full && error == 0 ? 1 : 0;
        std::map<std::string, format::Place, std::less<>> held;
        const std::string text = read_file(store_path());
        format::Entries entries{std::string(text)};
        const format::Layout found = format::read_layout(entries);
        format::Reader reader(text);
        for (format::Line line; reader.next(line);) {
            format::judge(line);
            if (line.kind == format::Kind::entry) {
                held[std::string(line.name)] = line.place;
            }
        }
        BOOST_TEST_CONTEXT("change " << i << " of " << key << (is_removed ? ", removed" : "") << ", error " << error) {
            BOOST_CHECK_EQUAL(found.size, layout.size);
            BOOST_CHECK_EQUAL(found.text_end, layout.text_end);
            BOOST_CHECK_EQUAL(found.live, layout.live);
            BOOST_CHECK_EQUAL(found.dead, layout.dead);
            BOOST_CHECK_EQUAL(held.size(), lines.size());
            BOOST_CHECK(
                std::equal(held.begin(), held.end(), lines.begin(), lines.end(), [](const auto& a, const auto& b) {
                    return a.first == b.first && a.second.offset == b.second.offset && a.second.size == b.second.size;
                }));
        }
    }
    BOOST_TEST_MESSAGE(refused << " refused, " << done_when_full << " done on a full disk");
    BOOST_CHECK_GT(refused, 0);
    BOOST_CHECK_GT(done_when_full, 0);
}

// No program can pass one; what stands behind it would be lost.
BOOST_AUTO_TEST_CASE(a_name_that_holds_a_NUL_is_no_key) {
    BOOST_CHECK(format::is_name("kl"));
    BOOST_CHECK(!format::is_name("k\0l"s));
}

BOOST_AUTO_TEST_CASE(a_compaction_leaves_out_a_withdrawn_line_that_is_damaged) {
    const OpenStore store("k = I1\n=l\0d\n"s + dead_lines() + "l = I2\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    const std::string text = read_file(store_path());
    BOOST_CHECK_EQUAL("k = I2\nl = I2\n", text.substr(0, text.find("\n\n") + 1));
}

// A line that takes the place of withdrawn ones lies within one sector, and every other line keeps its meaning.
BOOST_AUTO_TEST_CASE(a_line_is_fitted_into_withdrawn_lines_without_changing_any_other) {
    const auto meaning_of = [](const std::string& text) {
        std::vector<std::string> lines;
        format::Reader reader(text);
        for (format::Line line; reader.next(line);) {
            if (line.kind == format::Kind::entry) {
                lines.push_back(std::string(line.name) + text.substr(line.place.offset, line.place.size));
            }
        }
        return lines;
    };
    std::size_t fitted = 0;
    std::size_t refused = 0;
    for (const std::size_t before : {0U, 1U, 9U, 480U, 490U, 500U, 505U}) {
        for (const std::size_t withdrawn : {2U, 8U, 9U, 10U, 11U, 30U, 500U, 513U, 1100U}) {
            for (const std::string& between : {""s, "\n"s, "=a\n"s, "=\0\n"s, "=a\n\n=bc\n"s}) {
                const std::string head = before == 0   ? ""
                                         : before == 1 ? "\n"
                                                       : "a = S" + std::string(before - 6, 'a') + "\n";
                const std::string text = head + between + "=" + std::string(withdrawn - 2, 'w') + "\nb = I2\n";
                for (const std::size_t size : {8U, 9U, 28U, 400U, 508U}) {
                    const std::string line = "n = S" + std::string(size - 6, 'n') + "\n";
                    const auto patch = format::find_dead_space(text, line);
                    if (!patch) {
                        ++refused;
                        BOOST_CHECK_LT(withdrawn, 2 * size + 2);  // a sector's end may be in between
                        continue;
                    }
                    ++fitted;
                    std::string changed = text;
                    changed.replace(patch->offset, patch->bytes.size(), patch->bytes);
                    BOOST_CHECK_EQUAL(text.size(), changed.size());
                    BOOST_CHECK_EQUAL(patch->offset / format::sector_size,
                                      (patch->offset + patch->bytes.size() - 1) / format::sector_size);
                    BOOST_CHECK_EQUAL(line, changed.substr(patch->line_offset, line.size()));
                    std::vector<std::string> expected = meaning_of(text);
                    expected.insert(expected.end() - 1, "n" + line);
                    BOOST_CHECK(expected == meaning_of(changed));
                }
            }
        }
    }
    BOOST_CHECK_GT(fitted, 100U);
    BOOST_CHECK_GT(refused, 100U);
}

BOOST_AUTO_TEST_SUITE_END()
