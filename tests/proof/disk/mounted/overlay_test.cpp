// A settings folder that is shipped with a device: in the lower layer of an overlay, whose files are copied to the
// upper one when they are first opened for writing.
#include <sys/mount.h>

#include <filesystem>

#include "mounted_folder.h"

namespace {

namespace fs = std::filesystem;

/// An overlay over the settings folder, whose lower layer is what the settings folder was, and whose upper one is
/// empty.
class Overlay {
  public:
    Overlay() {
        run("rm -rf upper work && mkdir -p upper work && touch -r settings upper");
        const std::string place = fs::path(Folder::path()).parent_path().string() + '/';
        const std::string options =
            "lowerdir=" + Folder::path() + ",upperdir=" + place + "upper,workdir=" + place + "work";
        BOOST_REQUIRE_EQUAL(0, mount("overlay", Folder::path().c_str(), "overlay", 0, options.c_str()));
    }
    Overlay(const Overlay&) = delete;
    Overlay& operator=(const Overlay&) = delete;
    ~Overlay() { BOOST_CHECK_EQUAL(0, umount(Folder::path().c_str())); }
};

const char* const has_overlay = "modprobe -q overlay; grep -w overlay /proc/filesystems";

}  // namespace

BOOST_AUTO_TEST_SUITE(overlay)

MOUNTED_TEST_CASE(the_first_write_to_a_lower_file_with_two_hard_links_succeeds, ext4, has_overlay) {
    MountedFolder disk(ext4);
    write_file(store_path(), store_text);
    fs::create_hard_link(store_path(), Folder::path() + "/../link");
    const int mounts = is_campaign() ? 72 : 5;
    for (int i = 0; i < mounts; ++i) {
        const Overlay overlay;
        {
            Program program;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(set_k, 100 + i));
            BOOST_CHECK_EQUAL(100 + i, program.run(get_k));
        }
        BOOST_CHECK_EQUAL(100 + i, Program().run(get_k));
    }
}

MOUNTED_TEST_CASE(a_reader_without_the_right_to_write_sees_the_first_write_to_a_lower_file, ext4, has_overlay) {
    MountedFolder disk(ext4);
    write_file(store_path(), store_text);
    { BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, Program().run(set_k, 2)); }
    run("chmod -R go+rX settings");
    constexpr uid_t user = 4711;
    const int mounts = is_campaign() ? 72 : 5;
    for (int i = 0; i < mounts; ++i) {
        const Overlay overlay;
        Program reader([] { become(user, user); });
        Program writer;
        BOOST_CHECK_EQUAL(2, reader.run(get_k));
        for (int value = 100; value < 105; ++value) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, writer.run(set_k, value));
            BOOST_CHECK_EQUAL(value, reader.run(get_k));
        }
    }
}

BOOST_AUTO_TEST_SUITE_END()
