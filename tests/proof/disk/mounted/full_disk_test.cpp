// File systems that write a page elsewhere than it was: on a full one not even a byte can be overwritten.
#include "mounted_folder.h"

namespace {

/// A step.
int get_an_int(int) {
    int value = 0;
    return zelva_core_settings_get_int_value("k", &value);
}

const char* const flush = "sync -f .";
const char* const copy = "sync -f . && cp -a --reflink=always settings copy";

std::string probe_path() {
    return store_path("probe");
}

void check_refusals(Program& program) {
    const std::string before = program.ask(values);
    const std::string file = read_file(store_path());
    for (const Program::Step change : {set_k, set_text, set_new, delete_l}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, program.run(change, 'z'));
        BOOST_CHECK_EQUAL(before, program.ask(values));
        BOOST_CHECK(file == read_file(store_path()));
    }
}

void check_changes(Program& program, int value) {
    for (const Program::Step change : {set_k, set_text, set_new, delete_l}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(change, value));
    }
    BOOST_CHECK_EQUAL(0, program.run([](int l) { return int{zelva_core_settings_set_int_value("l", l)}; }, value));
    const auto lines = lines_of_file();
    for (const std::string key : {"k", "l", "new"}) {
        BOOST_CHECK_EQUAL(key + " = I" + std::to_string(value), lines.at(key).text);
    }
    BOOST_CHECK_EQUAL("text = S" + std::string(100, static_cast<char>(value)), lines.at("text").text);
    BOOST_CHECK_EQUAL(program.ask(values), Program().ask(values));
}

void check_full_disk(const power::FileSystem& file_system, const std::string& command, bool with_a_reader) {
    MountedFolder disk(file_system);
    write_file(store_path(), store_text);
    write_file(probe_path(), std::string(1 << 16, 'x'));
    Program opened_before;
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, opened_before.run(set_k, 2));
    run(command);
    disk.fill(probe_path());
    {
        std::optional<Repetition> reader;
        if (with_a_reader) {
            reader.emplace(get_an_int);
        }
        check_refusals(opened_before);
        {
            Program opened_while_full;
            BOOST_CHECK_EQUAL(opened_before.ask(values), opened_while_full.ask(values));
            check_refusals(opened_while_full);
            BOOST_CHECK_EQUAL(opened_before.ask(values), Program().ask(values));
            MountedFolder::make_room();
            check_changes(opened_while_full, 'c');
        }
        check_changes(opened_before, 'd');
        if (reader) {
            reader->stop();
            BOOST_CHECK_EQUAL(reader->begun(), reader->count(ZELVA_CORE_STATUS_NO_ERROR));
        }
    }
    BOOST_CHECK_EQUAL(opened_before.ask(values), Program().ask(values));
}

}  // namespace

BOOST_AUTO_TEST_SUITE(full_disk)

MOUNTED_TEST_CASE(a_full_btrfs_refuses_changes_and_takes_them_when_there_is_room_again, btrfs) {
    check_full_disk(btrfs, flush, false);
}

MOUNTED_TEST_CASE(a_full_btrfs_does_not_disturb_a_program_that_reads, btrfs) {
    check_full_disk(btrfs, flush, true);
}

// What two files share is written elsewhere when one of them is changed.
MOUNTED_TEST_CASE(a_full_xfs_with_a_copy_that_shares_its_pages_refuses_changes, xfs) {
    check_full_disk(xfs, copy, false);
}

MOUNTED_TEST_CASE(a_full_xfs_with_a_copy_that_shares_its_pages_does_not_disturb_a_program_that_reads, xfs) {
    check_full_disk(xfs, copy, true);
}

BOOST_AUTO_TEST_SUITE_END()
