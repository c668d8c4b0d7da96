// When the disk refuses: the first system call of an operation fails, then the second, until none does. Each time the
// operation says so, and leaves the store and its file as they were. And what a write asks of the disk, in which order.
//
// A program of its own, since it stands in for the C library's functions.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <filesystem>
#include <functional>
#include <string>

#include "interposed.h"
#include "support.h"

namespace {

/// The calls that the library has made since this was last cleared; empty while it is not watched.
std::vector<std::string> calls;
bool is_watched = false;
/// The number of calls up to the one that fails; 0 when none is to.
std::size_t countdown = 0;
int error_to_give = 0;
bool has_failed = false;
/// Files that were opened without O_CLOEXEC.
int inheritable = 0;

/// Notes a call; whether it is to fail.
bool fails(const char* name) {
    if (!is_watched) {
        return false;
    }
    calls.emplace_back(name);
    if (countdown == 0 || --countdown > 0) {
        return false;
    }
    has_failed = true;
    errno = error_to_give;
    return true;
}

/// Calls an operation under watch, with its n-th system call failing; whether one did. n = 0: none is to.
template <class Operation>
bool call_with_failure(std::size_t n, int error, const Operation& operation) {
    calls.clear();
    has_failed = false;
    countdown = n;
    error_to_give = error;
    is_watched = true;
    operation();
    is_watched = false;
    return has_failed;
}

}  // namespace

#define STAND_IN(name, parameters, ...)                            \
    int name parameters {                                          \
        static auto* const function = real<int parameters>(#name); \
        return fails(#name) ? -1 : function(__VA_ARGS__);          \
    }

extern "C" {
int open(const char* path, int flags, ...) {
    static auto* const function = real<int(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    inheritable += is_watched && (flags & O_CLOEXEC) == 0 ? 1 : 0;
    return fails("open") ? -1 : function(path, flags, mode);
}
int mkostemp(char* path, int flags) {
    static auto* const function = real<int(char*, int)>("mkostemp");
    inheritable += is_watched && (flags & O_CLOEXEC) == 0 ? 1 : 0;
    return fails("mkostemp") ? -1 : function(path, flags);
}
ssize_t read(int descriptor, void* buffer, std::size_t size) {
    static auto* const function = real<ssize_t(int, void*, std::size_t)>("read");
    return fails("read") ? -1 : function(descriptor, buffer, size);
}
ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    static auto* const function = real<ssize_t(int, const void*, std::size_t)>("write");
    // While it is watched, a byte at a time: a short write is not a failed one.
    return fails("write") ? -1 : function(descriptor, buffer, is_watched && size > 1 ? 1 : size);
}
STAND_IN(fstat, (int descriptor, struct stat* attributes), descriptor, attributes)
STAND_IN(stat, (const char* path, struct stat* attributes), path, attributes)
STAND_IN(fsync, (int descriptor), descriptor)
STAND_IN(ftruncate, (int descriptor, off_t size), descriptor, size)
STAND_IN(fchmod, (int descriptor, mode_t mode), descriptor, mode)
STAND_IN(fchown, (int descriptor, uid_t user, gid_t group), descriptor, user, group)
STAND_IN(mkdir, (const char* path, mode_t mode), path, mode)
STAND_IN(renameat2, (int from_folder, const char* from, int to_folder, const char* to, unsigned flags), from_folder,
         from, to_folder, to, flags)
ssize_t readlink(const char* path, char* target, std::size_t size) {
    static auto* const function = real<ssize_t(const char*, char*, std::size_t)>("readlink");
    return fails("readlink") ? -1 : function(path, target, size);
}
}

namespace {

namespace fs = std::filesystem;

/// The file, the folder's names and the values of all keys.
struct State {
    std::string file = OpenStore::file();
    Strings names = folder_names();
    std::vector<std::pair<std::string, Value>> values = read();

    static Strings folder_names() {
        Strings all;
        for (const auto& entry : fs::directory_iterator(Folder::path())) {
            if (entry.path().filename() != ".zelva") {
                all.push_back(entry.path().filename());
            }
        }
        return all;
    }
    static std::vector<std::pair<std::string, Value>> read() {
        std::vector<std::pair<std::string, Value>> all;
        for (const std::string& key : keys()) {
            all.emplace_back(key, value_of(key));
        }
        return all;
    }
    bool operator==(const State& other) const {
        return file == other.file && names == other.names && values == other.values;
    }
};

/// Whether an operation is to succeed although its n-th call gave this error.
bool is_harmless(int error, std::size_t n) {
    const std::string& failed = calls[n - 1];
    if (failed == "stat") {
        return true;  // what cannot be looked at counts as changed, and is made or read again
    }
    if (error == EINTR) {
        return failed == "read" || failed == "write";  // called again
    }
    if (error == EINVAL) {
        // No link; a file system that cannot exchange files; one that cannot bring a folder to the disk.
        const bool is_in_place = std::find(calls.begin(), calls.begin() + static_cast<int>(n), "renameat2") !=
                                 calls.begin() + static_cast<int>(n);
        return failed == "readlink" || failed == "renameat2" || (failed == "fsync" && is_in_place);
    }
    return false;
}

/// Checks an operation with its n-th system call failing; whether it has so many.
bool check(const std::function<zelva_core_status()>& operation, int error, std::size_t n) {
    const State before;
    zelva_core_status status{};
    const bool failed = call_with_failure(n, error, [&] { status = operation(); });
    if (!failed || is_harmless(error, n)) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, status);
        BOOST_CHECK(!(before == State()));
        write_file(store_path(), before.file);
        OpenStore::restart();
    } else {
        BOOST_CHECK_EQUAL(error == ENOMEM ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_IO_FAILED, status);
        BOOST_CHECK(before == State());
    }
    return failed;
}

void check(const char* name, const std::function<zelva_core_status()>& operation) {
    for (const int error : {EIO, ENOSPC, EDQUOT, EROFS, EACCES, EMFILE, ENOMEM, EINTR, EINVAL}) {
        bool failed = true;
        for (std::size_t n = 1; failed; ++n) {
            BOOST_TEST_CONTEXT(name << ", call " << n << ", errno " << error) {
                failed = check(operation, error, n);
            }
        }
    }
}

}  // namespace

BOOST_AUTO_TEST_SUITE(disk)

BOOST_AUTO_TEST_CASE(a_write_that_the_disk_refuses_changes_nothing) {
    const OpenStore store("# a comment\nk = I1\nother = Sx\n");
    check("set", [] { return zelva_core_settings_set_int_value("k", 2); });
    check("set of a new key", [] { return zelva_core_settings_set_int_value("new", 2); });
    check("set default", [] { return zelva_core_settings_set_default_int_value("k", 2); });
    check("delete", [] { return zelva_core_settings_delete_key("k"); });
    check("copy", [] { return zelva_core_settings_copy_string_key("other", "new"); });
    unsigned version = 0;
    check("version", [&version] { return zelva_core_settings_get_and_set_version(&version, 5); });
    BOOST_CHECK_EQUAL(0, inheritable);
}

BOOST_AUTO_TEST_CASE(a_first_write_that_the_disk_refuses_leaves_no_file) {
    for (const int error : {EIO, ENOSPC}) {
        bool failed = true;
        for (std::size_t n = 1; failed; ++n) {
            fs::remove_all(Folder::path());
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            zelva_core_status status{};
            failed = call_with_failure(n, error, [&] { status = set("k", 1); });
            const bool is_refused = failed && !is_harmless(error, n);
            BOOST_CHECK_EQUAL(is_refused ? ZELVA_CORE_STATUS_IO_FAILED : ZELVA_CORE_STATUS_NO_ERROR, status);
            BOOST_CHECK_EQUAL(!is_refused, zelva_core_settings_does_key_exist("k"));
            BOOST_CHECK(State::folder_names() == (is_refused ? Strings{} : Strings{"test"}));
            zelva_core_settings_deinit();
        }
    }
    fs::remove(store_path());
}

BOOST_AUTO_TEST_CASE(an_open_that_the_disk_refuses_leaves_the_store_closed) {
    write_file(configuration_path(), "k = I1\n");
    for (const int error : {EIO, EACCES, EMFILE}) {
        bool failed = true;
        for (std::size_t n = 1; failed; ++n) {
            zelva_core_status status{};
            failed = call_with_failure(n, error, [&] { status = zelva_core_configuration_init("test"); });
            BOOST_CHECK_EQUAL(failed ? ZELVA_CORE_STATUS_IO_FAILED : ZELVA_CORE_STATUS_NO_ERROR, status);
            BOOST_CHECK_EQUAL(failed ? ZELVA_CORE_STATUS_NOT_INITIALIZED : ZELVA_CORE_STATUS_NO_ERROR,
                              zelva_core_configuration_deinit());
        }
    }
    fs::remove(configuration_path());
}

BOOST_AUTO_TEST_CASE(a_store_opens_without_its_shared_state_but_not_without_its_file) {
    write_file(store_path(), "k = I1\n");
    for (const int error : {EIO, EACCES, EMFILE}) {
        bool failed = true;
        int opened = 0;
        for (std::size_t n = 1; failed; ++n) {
            zelva_core_status status{};
            failed = call_with_failure(n, error, [&] { status = zelva_core_settings_init("test"); });
            if (status == ZELVA_CORE_STATUS_NO_ERROR) {
                // It sees what others write, and finds its shared state when it writes.
                opened += failed ? 1 : 0;
                write_file(store_path(), "k = I12\n");
                if (failed) {
                    BOOST_CHECK(value_of("k") == Value(12) ||
                                zelva_core_settings_reload() == ZELVA_CORE_STATUS_NO_ERROR);
                }
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1));
                BOOST_CHECK_EQUAL("k = I1\n", OpenStore::file());
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
            } else {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
            }
        }
        BOOST_CHECK(opened > 0);
    }
    fs::remove(store_path());
}

BOOST_AUTO_TEST_CASE(a_write_reaches_the_disk_before_it_takes_the_file_s_place_and_after) {
    const OpenStore store("k = I1\n");
    call_with_failure(0, 0, [] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2)); });
    const auto rename = std::find(calls.begin(), calls.end(), "renameat2");
    BOOST_REQUIRE(rename != calls.begin() && rename != calls.end());
    BOOST_CHECK_EQUAL("fsync", rename[-1]);
    BOOST_CHECK(std::find(rename, calls.end(), "write") == calls.end());
    BOOST_REQUIRE(rename + 1 != calls.end());
    BOOST_CHECK_EQUAL("fsync", rename[1]);
}

BOOST_AUTO_TEST_CASE(a_new_folder_reaches_the_disk) {
    fs::remove_all(Folder::path());
    call_with_failure(0, 0, [] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test")); });
    int folders = 0;
    for (auto call = calls.begin(); call != calls.end(); ++call) {
        if (*call == "mkdir") {
            ++folders;
            BOOST_REQUIRE(calls.end() - call > 2);
            BOOST_CHECK_EQUAL("open", call[1]);
            BOOST_CHECK_EQUAL("fsync", call[2]);
        }
    }
    BOOST_CHECK_EQUAL(2, folders);
    zelva_core_settings_deinit();
}

BOOST_AUTO_TEST_CASE(a_get_makes_no_system_call) {
    const OpenStore store("k = I1\nDEFAULT_k = I2\n");
    int number = 0;
    zelva_core_settings_type type{};
    call_with_failure(0, 0, [&] {
        zelva_core_settings_get_int_value("k", &number);
        zelva_core_settings_get_default_int_value("k", &number);
        zelva_core_settings_get_type("k", &type);
        zelva_core_settings_does_key_exist("k");
    });
    BOOST_CHECK_EQUAL(2, number);
    BOOST_CHECK(calls.empty());
}

BOOST_AUTO_TEST_SUITE_END()
