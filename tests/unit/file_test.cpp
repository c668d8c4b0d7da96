// The file of a store: where it is, whose it is, and what can stand in its way.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support.h"

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

mode_t mode_of(const std::string& path) {
    struct stat attributes {};
    BOOST_REQUIRE_EQUAL(0, lstat(path.c_str(), &attributes));
    return attributes.st_mode & 07777U;
}

std::size_t files_in_folder() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(Folder::path()), fs::directory_iterator()));
}

constexpr uid_t nobody = 65534;

/// Runs `body` in a child process as a user without privileges; whether it returned true.
template <class Body>
bool as_nobody(Body&& body) {
    const pid_t child = fork();
    if (child == 0) {
        const bool is_root = geteuid() == 0;
        const bool passed = (!is_root || setresuid(nobody, nobody, nobody) == 0) && body();
        _exit(passed ? 0 : 1);
    }
    int status = -1;
    BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

BOOST_AUTO_TEST_SUITE(file)

BOOST_AUTO_TEST_CASE(the_first_write_creates_the_file_for_its_owner_alone) {
    fs::remove(store_path("new"));
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("new"));
    BOOST_CHECK(!fs::exists(store_path("new")));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
    BOOST_CHECK_EQUAL(0600U, mode_of(store_path("new")));
    zelva_core_settings_deinit();
    fs::remove(store_path("new"));
}

BOOST_AUTO_TEST_CASE(the_folder_is_created_for_its_owner_alone_when_a_store_is_opened) {
    const std::string parent = fs::path(Folder::path()).parent_path();
    fs::remove_all(parent);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_init("none"));
    BOOST_CHECK(!fs::exists(Folder::path()));
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    // Root's folders lead to other users' files as well.
    BOOST_CHECK_EQUAL(geteuid() == 0 ? 0755U : 0700U, mode_of(parent));
    BOOST_CHECK_EQUAL(0700U, mode_of(Folder::path()));
    BOOST_CHECK_EQUAL(0700U, mode_of(Folder::path() + "/.zelva"));
    BOOST_CHECK(!fs::exists(store_path()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
    BOOST_CHECK_EQUAL("DEFAULT_k = I1\nk = I1\n", OpenStore::file());
    zelva_core_settings_deinit();
    fs::remove(store_path());
}

BOOST_AUTO_TEST_CASE(the_folders_of_a_user_lead_to_no_other_user_s_files) {
    const fs::path parent = fs::path(Folder::path()).parent_path();
    fs::remove_all(parent);
    fs::permissions(parent.parent_path(), fs::perms::all);
    BOOST_CHECK(as_nobody([] { return zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR; }));
    BOOST_CHECK_EQUAL(0700U, mode_of(parent));
    BOOST_CHECK_EQUAL(0700U, mode_of(Folder::path()));
    fs::permissions(parent.parent_path(), fs::perms(0755));
    fs::remove_all(parent);
    fs::create_directories(Folder::path());
    fs::permissions(Folder::path(), fs::perms::owner_all);
}

BOOST_AUTO_TEST_CASE(a_write_keeps_the_file_s_mode_and_owner) {
    // In place, and where a person has left no line feed a new file.
    for (const char* text : {"k = I1\n", "k = I1"}) {
        const OpenStore store(text);
        BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0640));
        const bool is_root = geteuid() == 0;
        if (is_root) {
            BOOST_REQUIRE_EQUAL(0, chown(store_path().c_str(), 1234, 1235));
        }
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        struct stat attributes {};
        BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &attributes));
        BOOST_CHECK_EQUAL(0640U, attributes.st_mode & 07777U);
        if (is_root) {
            BOOST_CHECK_EQUAL(1234U, attributes.st_uid);
            BOOST_CHECK_EQUAL(1235U, attributes.st_gid);
        }
    }
}

// As `setfacl -m u:svc:rw` leaves it: others with a right of their own would be locked out.
BOOST_AUTO_TEST_CASE(a_file_written_anew_keeps_its_access_list_and_its_attributes,
                     *boost::unit_test::precondition(has_attributes)) {
    using List = std::vector<std::uint8_t>;
    // Version 2; then tag, rights and user of each entry: the owner, user 65001, the group, the mask, all others.
    const List list{2, 0,   0,   0,   1,   0,  6, 0, 255, 255, 255, 255, 2,   0,  6, 0, 0xE9, 0xFD, 0,   0,   4,  0, 0,
                    0, 255, 255, 255, 255, 16, 0, 6, 0,   255, 255, 255, 255, 32, 0, 0, 0,    255,  255, 255, 255};
    const auto attribute = [](const char* name) {
        List value(200);
        const ssize_t size = getxattr(store_path().c_str(), name, value.data(), value.size());
        value.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return value;
    };
    const auto set_attribute = [](const char* name, const List& value) {
        return setxattr(store_path().c_str(), name, value.data(), value.size(), 0) == 0;
    };
    const char* const access_list = "system.posix_acl_access";
    const OpenStore store("k = I1\n");
    const List note{'m', 'i', 'n', 'e', 0, 255};
    BOOST_REQUIRE(set_attribute(access_list, list) && set_attribute("user.note", note));
    BOOST_REQUIRE(set_attribute("user.empty", {}));
    const auto inode = [] {
        struct stat attributes {};
        BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &attributes));
        return attributes.st_ino;
    };
    const ino_t before = inode();
    for (int i = 0; i < 600; ++i) {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", i));
    }
    BOOST_CHECK_NE(before, inode());
    BOOST_CHECK(attribute(access_list) == list);
    BOOST_CHECK(attribute("user.note") == note);
    BOOST_CHECK_EQUAL(0, getxattr(store_path().c_str(), "user.empty", nullptr, 0));
    BOOST_CHECK_EQUAL(0660U, mode_of(store_path()));
    BOOST_CHECK_EQUAL(Value(599), value_of("k"));

    // One that the folder passes on to new files gives nobody a right that he did not have.
    BOOST_REQUIRE_EQUAL(0, removexattr(store_path().c_str(), access_list));
    BOOST_REQUIRE_EQUAL(0, setxattr(Folder::path().c_str(), "system.posix_acl_default", list.data(), list.size(), 0));
    const ino_t second = inode();
    for (int i = 0; i < 600; ++i) {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", i));
    }
    BOOST_CHECK_NE(second, inode());
    BOOST_CHECK(attribute(access_list).empty());
    BOOST_CHECK(attribute("user.note") == note);
    BOOST_REQUIRE_EQUAL(0, removexattr(Folder::path().c_str(), "system.posix_acl_default"));
}

BOOST_AUTO_TEST_CASE(a_symbolic_link_stays_one_and_its_target_is_written) {
    const std::string elsewhere = Folder::path() + "/elsewhere";
    const std::string target = elsewhere + "/target";
    fs::create_directory(elsewhere);
    for (const bool is_absolute : {true, false}) {
        for (const bool target_exists : {true, false}) {
            fs::create_symlink("elsewhere/link", store_path());
            fs::create_symlink(is_absolute ? target : "target", elsewhere + "/link");
            if (target_exists) {
                write_file(target, "k = I1\n");
            }
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            BOOST_CHECK_EQUAL(target_exists, zelva_core_settings_does_key_exist("k"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("k", 2));
            BOOST_CHECK(fs::is_symlink(store_path()));
            BOOST_CHECK(fs::is_symlink(elsewhere + "/link"));
            zelva_core_settings_deinit();
            BOOST_CHECK_EQUAL(target_exists ? "k = I1\nDEFAULT_k = I2\n" : "DEFAULT_k = I2\nk = I2\n",
                              read_file(target));
            for (const std::string& path : {store_path(), elsewhere + "/link", target}) {
                fs::remove(path);
            }
        }
    }
    fs::create_symlink("test", store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_init("test"));
    fs::remove(store_path());
    fs::remove_all(elsewhere);
}

// Before memory is taken for it.
BOOST_AUTO_TEST_CASE(a_file_of_a_tebibyte_is_refused) {
    write_file(store_path(), "k = I1\n");
    fs::resize_file(store_path(), std::uintmax_t{1} << 40U);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_init("test"));
    fs::remove(store_path());
}

BOOST_AUTO_TEST_CASE(the_target_of_a_link_may_have_the_longest_name_there_is) {
    const std::string target = Folder::path() + "/" + std::string(255, 'n');
    fs::create_symlink(target, store_path());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
    zelva_core_settings_deinit();
    BOOST_CHECK_EQUAL("DEFAULT_k = I1\nk = I1\n", read_file(target));
    fs::remove(store_path());
    fs::remove(target);
}

// The lock and the counter are written: whoever may put a link into their place would have another file written.
BOOST_AUTO_TEST_CASE(a_link_in_the_place_of_what_programs_share_is_not_followed) {
    const std::string shared = shared_state_path();
    const std::string target = Folder::path() + "/target";
    { const OpenStore store("k = I1\n"); }
    write_file(target, "somebody's\n");
    fs::remove(shared);
    fs::create_symlink(target, shared);
    {
        const OpenStore store("k = I1\n");
        BOOST_CHECK_EQUAL(Value(1), value_of("k"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    }
    BOOST_CHECK_EQUAL("somebody's\n", read_file(target));
    fs::remove(shared);
    fs::remove(target);
}

BOOST_AUTO_TEST_CASE(what_is_no_file_is_refused) {
    fs::create_directory(store_path("folder"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_init("folder"));
    BOOST_REQUIRE_EQUAL(0, mkfifo(store_path("fifo").c_str(), 0600));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_init("fifo"));
    fs::create_symlink("/dev/null", store_path("device"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_init("device"));
    fs::create_directory(configuration_path("folder"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_configuration_init("folder"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
    for (const std::string& path :
         {store_path("folder"), store_path("fifo"), store_path("device"), configuration_path("folder")}) {
        fs::remove(path);
    }
}

BOOST_AUTO_TEST_CASE(a_store_whose_lock_is_no_file_reads_and_is_not_written) {
    const std::string lock = shared_state_path();
    fs::remove(lock);
    BOOST_REQUIRE_EQUAL(0, mkfifo(lock.c_str(), 0600));
    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    fs::remove(lock);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
}

BOOST_AUTO_TEST_CASE(an_edit_of_the_same_size_is_found_by_its_time) {
    for (const bool is_same_second : {true, false}) {
        const OpenStore store("k = I1\nl = I1\n");
        struct stat before {};
        BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &before));
        write_file(store_path(), "k = I1\nl = I2\n");
        timespec times[] = {before.st_atim, before.st_mtim};
        if (is_same_second) {
            times[1].tv_nsec += times[1].tv_nsec > 0 ? -1 : 1;
        } else {
            times[1].tv_sec += 1;
        }
        BOOST_REQUIRE_EQUAL(0, utimensat(AT_FDCWD, store_path().c_str(), times, 0));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_copy_int_key("l", "copy"));
        BOOST_CHECK_EQUAL(Value(2), value_of("copy"));
    }
}

BOOST_AUTO_TEST_CASE(a_write_that_fails_changes_nothing_and_leaves_no_file_behind) {
    const OpenStore store("k = I1\n");
    const std::size_t files = files_in_folder();
    // A folder has taken the file's place.
    fs::remove(store_path());
    fs::create_directory(store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("new", 2));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_delete_key("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_copy_int_key("k", "new"));
    unsigned old_version = 99;
    unsigned new_version = 99;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, zelva_core_settings_get_and_set_version(&old_version, 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(&old_version, &new_version));
    BOOST_CHECK_EQUAL(99U, old_version);
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    BOOST_CHECK(keys() == Strings{"k"});
    BOOST_CHECK_EQUAL(files, files_in_folder());
    // Nothing is lost once the place is free again.
    fs::remove(store_path());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("new", 2));
    BOOST_CHECK_EQUAL("DEFAULT_new = I2\nnew = I2\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_folder_that_cannot_be_written_gives_a_store_that_reads) {
    const OpenStore store("k = I1\n");
    BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0444));
    BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0555));
    BOOST_CHECK(as_nobody([] {
        OpenStore::restart();
        return value_of("k") == Value(1) && set("k", 2) == ZELVA_CORE_STATUS_IO_FAILED && value_of("k") == Value(1);
    }));
    BOOST_CHECK_EQUAL("k = I1\n", OpenStore::file());
    BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0700));
}

BOOST_AUTO_TEST_CASE(who_may_only_read_a_store_may_announce_the_version_that_it_has) {
    const OpenStore store("k = I1\nVersion = I3\n");
    BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0444));
    BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0555));
    BOOST_CHECK(as_nobody([] {
        OpenStore::restart();
        unsigned version = 0;
        return zelva_core_settings_get_and_set_version(&version, 4) == ZELVA_CORE_STATUS_IO_FAILED && version == 0 &&
               zelva_core_settings_get_and_set_version(&version, 3) == ZELVA_CORE_STATUS_NO_ERROR && version == 3;
    }));
    BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0700));
}

// A flush takes no right to write.
BOOST_AUTO_TEST_CASE(who_may_take_the_lock_and_not_write_the_file_may_announce_the_version_that_it_has) {
    const OpenStore store("k = I1\nVersion = I3\n");
    if (geteuid() == 0) {
        for (const std::string& path :
             {store_path(), Folder::path(), Folder::path() + "/.zelva", shared_state_path()}) {
            BOOST_REQUIRE_EQUAL(0, chown(path.c_str(), nobody, getegid()));
        }
    }
    BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0444));
    BOOST_CHECK(as_nobody([] {
        OpenStore::restart();
        unsigned version = 0;
        return zelva_core_settings_get_and_set_version(&version, 4) == ZELVA_CORE_STATUS_IO_FAILED && version == 0 &&
               zelva_core_settings_get_and_set_version(&version, 3) == ZELVA_CORE_STATUS_NO_ERROR && version == 3 &&
               set("k", 1) == ZELVA_CORE_STATUS_NO_ERROR && set("k", 2) == ZELVA_CORE_STATUS_IO_FAILED;
    }));
    if (geteuid() == 0) {
        for (const std::string& path : {Folder::path(), Folder::path() + "/.zelva"}) {
            BOOST_REQUIRE_EQUAL(0, chown(path.c_str(), 0, getegid()));
        }
    }
}

// Even a set that would write and flush nothing takes the lock.
BOOST_AUTO_TEST_CASE(who_may_write_the_file_and_not_take_the_lock_is_refused_every_write) {
    const OpenStore store("k = I1\n");
    const std::string shared_folder = Folder::path() + "/.zelva";
    BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0666));
    BOOST_REQUIRE_EQUAL(0, chmod(shared_state_path().c_str(), 0444));
    for (const std::string& path : {Folder::path(), shared_folder}) {
        BOOST_REQUIRE_EQUAL(0, chmod(path.c_str(), 0555));
    }
    BOOST_CHECK(as_nobody([] {
        OpenStore::restart();
        return value_of("k") == Value(1) && set("k", 1) == ZELVA_CORE_STATUS_IO_FAILED &&
               set("k", 2) == ZELVA_CORE_STATUS_IO_FAILED &&
               zelva_core_settings_sync() == ZELVA_CORE_STATUS_IO_FAILED &&
               zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED) == ZELVA_CORE_STATUS_NO_ERROR &&
               set("k", 1) == ZELVA_CORE_STATUS_IO_FAILED;
    }));
    BOOST_CHECK_EQUAL("k = I1\n", read_file(store_path()));
    for (const std::string& path : {Folder::path(), shared_folder}) {
        BOOST_REQUIRE_EQUAL(0, chmod(path.c_str(), 0700));
    }
    fs::remove(shared_state_path());
}

// As a program leaves it that has been killed when it had just made the file.
BOOST_AUTO_TEST_CASE(who_may_only_read_a_store_reads_it_without_a_counter) {
    const OpenStore store("k = I1\n");
    const std::string shared_folder = Folder::path() + "/.zelva";
    write_file(shared_folder + "/test", "");
    BOOST_REQUIRE_EQUAL(0, chmod((shared_folder + "/test").c_str(), 0444));
    BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0444));
    for (const std::string& path : {Folder::path(), shared_folder}) {
        BOOST_REQUIRE_EQUAL(0, chmod(path.c_str(), 0555));
    }
    BOOST_CHECK(as_nobody([] {
        OpenStore::restart();
        return value_of("k") == Value(1) && set("k", 2) == ZELVA_CORE_STATUS_IO_FAILED && value_of("k") == Value(1);
    }));
    for (const std::string& path : {Folder::path(), shared_folder}) {
        BOOST_REQUIRE_EQUAL(0, chmod(path.c_str(), 0700));
    }
    fs::remove(shared_folder + "/test");
}

// Without a line feed at its end it would be replaced, which takes no more than its folder.
BOOST_AUTO_TEST_CASE(a_file_that_its_owner_has_made_read_only_is_not_written) {
    for (const std::string& text : {"k = I1\n"s, "k = I1"s}) {
        const OpenStore store(text);
        BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0777));
        if (geteuid() == 0) {
            for (const std::string& path : {store_path(), Folder::path() + "/.zelva", shared_state_path()}) {
                BOOST_REQUIRE_EQUAL(0, chown(path.c_str(), nobody, getegid()));
            }
        }
        BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0444));
        BOOST_CHECK(as_nobody([] { return set("k", 2) == ZELVA_CORE_STATUS_IO_FAILED && value_of("k") == Value(1); }));
        BOOST_CHECK_EQUAL(text, read_file(store_path()));
        BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0600));
        BOOST_CHECK(as_nobody([] { return set("k", 2) == ZELVA_CORE_STATUS_NO_ERROR; }));
        BOOST_CHECK_EQUAL("k = I2\n", OpenStore::file());
        BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0700));
    }
}

BOOST_AUTO_TEST_CASE(a_file_that_cannot_be_read_is_not_an_empty_store) {
    write_file(store_path(), "k = I1\n");
    write_file(configuration_path(), "k = I1\n");
    BOOST_REQUIRE_EQUAL(0, chmod(Folder::path().c_str(), 0755));
    BOOST_REQUIRE_EQUAL(0, chmod(store_path().c_str(), 0));
    BOOST_REQUIRE_EQUAL(0, chmod(configuration_path().c_str(), 0));
    BOOST_CHECK(as_nobody([] {
        return zelva_core_settings_init("test") == ZELVA_CORE_STATUS_IO_FAILED &&
               zelva_core_configuration_init("test") == ZELVA_CORE_STATUS_IO_FAILED;
    }));
    fs::remove(store_path());
    fs::remove(configuration_path());
}

BOOST_AUTO_TEST_CASE(store_names_are_one_path_component_that_is_not_hidden) {
    for (const std::string& name :
         {"a"s, "test"s, "a b"s, "config_a"s, "CONFIG"s, "#"s, "a."s, "\xC3\xA9"s, std::string(200, 'n')}) {
        BOOST_TEST_CONTEXT("name: " << shown(name)) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init(name.c_str()));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
            BOOST_CHECK_EQUAL("DEFAULT_k = I1\nk = I1\n", read_file(store_path(name)));
            fs::rename(store_path(name), configuration_path(name));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init(name.c_str()));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_deinit());
            fs::remove(configuration_path(name));
        }
    }
    for (const std::string& name :
         {""s, "."s, ".."s, ".a"s, "/"s, "a/b"s, "/tmp/a"s, "../a"s, "a/"s, "a\nb"s, "\n"s, std::string(201, 'n')}) {
        BOOST_TEST_CONTEXT("name: " << shown(name)) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init(name.c_str()));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_init(name.c_str()));
        }
    }
    for (const char* name : {"CONFIG_", "CONFIG_test"}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init(name));
    }
}

// Whose lock file has been removed, so that nobody knows that it died.
BOOST_AUTO_TEST_CASE(what_a_dead_program_has_left_is_not_in_the_way_of_a_compaction) {
    const OpenStore store("k = I1");
    write_file(Folder::path() + "/.zelva-test", "k = I7\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK_EQUAL("k = I2\n", OpenStore::file());
    BOOST_CHECK(names_in_folder() == Strings{"test"});
}

BOOST_AUTO_TEST_SUITE_END()
