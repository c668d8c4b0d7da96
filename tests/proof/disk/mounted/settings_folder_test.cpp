// The settings folder while a store is open: moved away, replaced, and copied over.
#include <filesystem>

#include "increments.h"
#include "mounted_folder.h"

namespace {

namespace fs = std::filesystem;

std::string moved_path() {
    return Folder::path() + ".moved";
}

}  // namespace

BOOST_AUTO_TEST_SUITE(settings_folder)

MOUNTED_TEST_CASE(a_store_whose_folder_is_moved_away_keeps_its_values_and_is_written_when_it_is_back, ext4) {
    MountedFolder disk(ext4);
    write_file(store_path(), store_text);
    Program program;
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(set_k, 2));
    const std::string before = program.ask(values);
    fs::rename(Folder::path(), moved_path());
    for (const Program::Step change : {set_k, set_new, delete_l}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, program.run(change, 3));
        BOOST_CHECK_EQUAL(before, program.ask(values));
        BOOST_CHECK(!fs::exists(Folder::path()));
    }
    fs::rename(moved_path(), Folder::path());
    BOOST_CHECK_EQUAL(before, program.ask(values));
    for (const Program::Step change : {set_k, set_new, delete_l}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(change, 3));
    }
    BOOST_CHECK_EQUAL(3, program.run(get_k));
    BOOST_CHECK_EQUAL(program.ask(values), Program().ask(values));
}

MOUNTED_TEST_CASE(programs_of_before_and_after_a_folder_was_replaced_by_its_copy_lose_no_set, ext4) {
    MountedFolder disk(ext4);
    write_file(store_path(), "k = I0\n");
    Increments increments;
    Program before;
    fs::rename(Folder::path(), moved_path());
    run("cp -a settings.moved settings");
    Program after;
    increments.run(before, after);
    BOOST_CHECK_EQUAL(2 * Increments::per_program, increments.acknowledged());
    BOOST_CHECK_EQUAL(0, increments.stale());
    BOOST_CHECK_EQUAL(2 * Increments::per_program, Program().run(get_k));
}

// The copy cuts each file off before it writes it, also the one that the programs share.
MOUNTED_TEST_CASE(a_program_that_sets_survives_that_its_folder_is_copied_over, ext4) {
    MountedFolder disk(ext4);
    write_file(store_path(), store_text);
    { BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, Program().run(set_k, 2)); }
    run("cp -a settings backup");
    {
        Repetition sets(set_k);
        const int copies = is_campaign() ? 3000 : 150;
        for (int i = 0; i < copies; ++i) {
            run("cp -a backup/. settings");
        }
        sets.stop();
        BOOST_CHECK_LT(0, sets.count(ZELVA_CORE_STATUS_NO_ERROR));
    }
    Program program;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(set_k, -5));
    BOOST_CHECK_EQUAL(-5, program.run(get_k));
    BOOST_CHECK_EQUAL(-5, Program().run(get_k));
}

BOOST_AUTO_TEST_SUITE_END()
