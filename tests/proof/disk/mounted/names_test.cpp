// One file under two names: links, and a mount of the file alone, as containers have it.
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>

#include "increments.h"
#include "mounted_folder.h"

namespace {

namespace fs = std::filesystem;

const char* const text = "# counted up by two programs\nk = I0\nl = I2\n";

std::string other_folder() {
    return fs::path(Folder::path()).parent_path() / "other";
}

/// Two programs that have one file open.
struct TwoPrograms {
    TwoPrograms(const std::string& folder, const std::string& name) : second([&] { choose_store(folder, name); }) {}
    Increments increments;
    Program first;
    Program second;
};

std::size_t number_of_runs() {
    return is_campaign() ? 20 : 3;
}

/// Links are followed, and what one program has set is there for the other.
void check_symbolic_link(const std::string& folder, const std::string& name) {
    for (std::size_t i = 0; i < number_of_runs(); ++i) {
        MountedFolder disk(ext4);
        write_file(store_path(), text);
        fs::create_directories(folder);
        fs::create_symlink(store_path(), folder + '/' + name);
        TwoPrograms programs(folder, name);
        programs.increments.run(programs.first, programs.second);
        BOOST_CHECK_EQUAL(2 * Increments::per_program, programs.increments.acknowledged());
        BOOST_CHECK_EQUAL(0, programs.increments.stale());
        BOOST_CHECK_EQUAL(2 * Increments::per_program, Program().run(get_k));
        BOOST_CHECK(fs::is_symlink(folder + '/' + name));
    }
}

/// A name that cannot be followed is good for reading, if nothing else can be had: no set that has returned success is
/// lost.
void check_second_name(const TwoPrograms& programs) {
    const auto& increments = programs.increments;
    const auto& refused = increments.refused();
    BOOST_CHECK_EQUAL(increments.acknowledged(), Program().run(get_k));
    BOOST_CHECK_MESSAGE(refused == (std::array<int, 2>{0, 0}) || refused[0] == Increments::per_program ||
                            refused[1] == Increments::per_program,
                        "refused of each program: " << refused[0] << " and " << refused[1]);
}

}  // namespace

BOOST_AUTO_TEST_SUITE(names)

MOUNTED_TEST_CASE(a_symbolic_link_in_another_settings_folder_is_the_same_store, ext4) {
    check_symbolic_link(other_folder(), "test");
}

MOUNTED_TEST_CASE(a_symbolic_link_beside_the_file_is_the_same_store, ext4) {
    check_symbolic_link(Folder::path(), "other");
}

MOUNTED_TEST_CASE(a_hard_link_loses_no_set_and_a_file_whose_link_is_removed_can_be_written, ext4) {
    for (std::size_t i = 0; i < number_of_runs(); ++i) {
        MountedFolder disk(ext4);
        write_file(store_path(), text);
        fs::create_hard_link(store_path(), store_path("other"));
        TwoPrograms programs(Folder::path(), "other");
        programs.increments.run(programs.first, programs.second);
        check_second_name(programs);
        fs::remove(store_path("other"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, programs.first.run(set_k, 1000));
        BOOST_CHECK_EQUAL(1000, Program().run(get_k));
    }
}

MOUNTED_TEST_CASE(a_mount_of_the_file_alone_loses_no_set, ext4) {
    for (std::size_t i = 0; i < number_of_runs(); ++i) {
        MountedFolder disk(ext4);
        write_file(store_path(), text);
        const std::string name = other_folder() + "/test";
        fs::create_directories(other_folder());
        write_file(name, "");
        BOOST_REQUIRE_EQUAL(0, mount(store_path().c_str(), name.c_str(), nullptr, MS_BIND, nullptr));
        {
            TwoPrograms programs(other_folder(), "test");
            programs.increments.run(programs.first, programs.second);
            check_second_name(programs);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, programs.first.run(set_k, 1000));
            BOOST_CHECK_EQUAL(1000, Program().run(get_k));
        }
        BOOST_REQUIRE_EQUAL(0, umount(name.c_str()));
    }
}

BOOST_AUTO_TEST_SUITE_END()
