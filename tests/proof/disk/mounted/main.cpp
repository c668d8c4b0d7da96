// Stores on real file systems: full and failing ones, copies on write, whole seconds, overlays, access lists, and
// folders and files that are moved, linked and mounted once more. Each test mounts its own disk, in a mount namespace
// of the program, which is gone when it ends.
#define BOOST_TEST_DYN_LINK
#define BOOST_TEST_NO_MAIN
#define BOOST_TEST_ALTERNATIVE_INIT_API
#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>

#include <boost/test/unit_test.hpp>
#include <iostream>

#include "mounted_folder.h"

int main(int count, char** arguments) {
    constexpr int skipped = 77;
    const char* const place = "/mnt";
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", place, "tmpfs", 0, "size=1m") != 0 || setenv("TMPDIR", place, 1) != 0) {
        std::cout << "SKIPPED: only root can mount a disk, nothing is checked\n";
        return skipped;
    }
    const int result = boost::unit_test::unit_test_main([] { return true; }, count, arguments);
    return Needs::has_skipped_all() ? skipped : result;
}
