// Access lists and extended attributes of a store's file.
#include <sys/stat.h>
#include <sys/xattr.h>

#include "mounted_folder.h"

namespace {

constexpr uid_t other_user = 4711;

/// The extended attributes of the file, of which the access list is one. Empty where there is none.
Strings attributes_of(const std::string& path) {
    Strings attributes;
    for (const char* name : {"system.posix_acl_access", "user.origin"}) {
        std::string value(1024, '\0');
        const ssize_t size = getxattr(path.c_str(), name, value.data(), value.size());
        attributes.push_back(value.substr(0, size < 0 ? 0 : static_cast<std::size_t>(size)));
    }
    return attributes;
}

/// A step: enough sets for the file to be written anew, more than once. The number of those that failed.
int set_many(int count) {
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        failures +=
            set_k(i) == ZELVA_CORE_STATUS_NO_ERROR && set_text('a' + i % 20) == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
    }
    return failures;
}

void check_attributes(const power::FileSystem& file_system) {
    MountedFolder disk(file_system);
    write_file(store_path(), "k = I1\n");
    { BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, Program().run(set_k, 2)); }
    const std::string user = std::to_string(other_user);
    run("setfacl -m u:" + user + ":rwx settings settings/.zelva && setfacl -m u:" + user +
        ":rw settings/test settings/.zelva/test");
    BOOST_REQUIRE_EQUAL(0, setxattr(store_path().c_str(), "user.origin", "factory", 7, 0));
    const Strings before = attributes_of(store_path());
    for (const std::string& attribute : before) {
        BOOST_REQUIRE(!attribute.empty());
    }
    constexpr int count = 600;
    const auto check = [&](Program& program) {
        BOOST_CHECK_EQUAL(0, program.run(set_many, count));
        BOOST_CHECK(before == attributes_of(store_path()));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(close_store));
        BOOST_CHECK(before == attributes_of(store_path()));
    };
    {
        Program owner;
        check(owner);
    }
    {
        Program other([] { become(other_user, other_user); });
        BOOST_CHECK_EQUAL(count - 1, other.run(get_k));
        check(other);
    }
    BOOST_CHECK_EQUAL(count - 1, Program().run(get_k));
}

}  // namespace

BOOST_AUTO_TEST_SUITE(attributes)

MOUNTED_TEST_CASE(an_access_list_and_an_attribute_survive_many_sets_on_ext4, ext4, "command -v setfacl") {
    check_attributes(ext4);
}

MOUNTED_TEST_CASE(an_access_list_and_an_attribute_survive_many_sets_on_xfs, xfs, "command -v setfacl") {
    check_attributes(xfs);
}

MOUNTED_TEST_CASE(an_access_list_and_an_attribute_survive_many_sets_on_btrfs, btrfs, "command -v setfacl") {
    check_attributes(btrfs);
}

BOOST_AUTO_TEST_SUITE_END()
