// Full disks. Stores of all kinds are written on a small disk, of which a file leaves them some pages, until nothing
// more fits; then keys are deleted and others take their room, and at last the disk has room again. What is refused has
// changed nothing, and what is acknowledged is there after a restart.
//
// The disk is mounted in a mount namespace of the program's own, which is gone when it ends.
#define BOOST_TEST_NO_MAIN
#define BOOST_TEST_ALTERNATIVE_INIT_API
#include <fcntl.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <string>

#include "operations.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t sector_size = 512;
constexpr std::size_t page_size = 4096;

std::size_t number_of_levels() {
    return is_campaign() ? 500 : 40;
}

/// Takes the room of the disk, but for some pages, for as long as it lives.
class Filler {
  public:
    explicit Filler(std::size_t pages_left) {
        const int file = open(path().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
        struct statvfs disk {};
        // What has been deleted may be room only when that has reached the disk.
        BOOST_REQUIRE(file >= 0 && syncfs(file) == 0 && fstatvfs(file, &disk) == 0 && disk.f_frsize == page_size);
        // The disk needs some of its room itself.
        std::size_t pages = disk.f_bavail;
        while (posix_fallocate(file, 0, static_cast<off_t>(pages * page_size)) == ENOSPC) {
            --pages;
        }
        BOOST_REQUIRE_LT(pages_left, pages);
        BOOST_REQUIRE_EQUAL(0, ftruncate(file, static_cast<off_t>((pages - pages_left) * page_size)));
        BOOST_REQUIRE_EQUAL(0, syncfs(file));
        close(file);
    }
    Filler(const Filler&) = delete;
    Filler& operator=(const Filler&) = delete;
    ~Filler() { fs::remove(path()); }

  private:
    static std::string path() { return Folder::path() + ".filler"; }
};

/// A kind of store, by the file that it begins with.
struct Kind {
    std::string name;
    std::function<std::optional<std::string>(std::mt19937&)> file;
};

std::string line(const std::string& key, std::size_t size) {
    return key + " = S" + std::string(size, 'a') + '\n';
}

/// Keys and their defaults, as the store writes them.
std::string pairs(std::size_t count, std::size_t longest, std::mt19937& random) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string key = "s" + std::to_string(i);
        text += line("DEFAULT_" + key, random() % longest) + line(key, random() % longest);
    }
    return text;
}

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all{
        {"few keys", [](std::mt19937& random) { return pairs(5, 100, random); }},
        {"many keys", [](std::mt19937& random) { return pairs(150, 60, random); }},
        {"withdrawn lines",
         [](std::mt19937& random) {
             std::string text;
             for (std::size_t i = 0; i < 20; ++i) {
                 text += line("=" + std::to_string(i), random() % 100) + line("s" + std::to_string(i), random() % 100);
             }
             return text + line("=", random() % 2000);
         }},
        {"long values", [](std::mt19937& random) { return pairs(4, 9000, random); }},
        {"a last line without its line feed", [](std::mt19937& random) { return pairs(10, 200, random) + "i = I1"; }},
        {"worth a compaction",
         [](std::mt19937& random) { return line("=", 6000 + random() % 500) + pairs(4, 100, random); }},
        {"no file", [](std::mt19937&) { return std::nullopt; }},
        {"written by a person",
         [](std::mt19937& random) {
             std::string text = "# a comment\n\n";
             for (std::size_t i = 0; i < 30; ++i) {
                 text += line("s" + std::to_string(random() % 8), random() % 80) + "no entry\n";
             }
             return text;
         }},
    };
    return all;
}

bool is_within_sector(const EntryLine& line) {
    return line.offset / sector_size == (line.offset + line.text.size()) / sector_size;
}

/// What has happened, at all levels.
struct Totals {
    std::size_t changes = 0;
    std::size_t refusals = 0;
    std::size_t replacements = 0;  // of deleted keys
};

/// The store "test", opened, and what it must hold.
class Store {
  public:
    Store(zelva_core_durability durability, std::mt19937& random, Totals& totals)
        : durability_(durability), random_(random), totals_(totals) {
        open();
        model_ = state_of_store();
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { zelva_core_settings_deinit(); }

    void restart() {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
        open();
        BOOST_REQUIRE(state_of_store() == model_);
    }

    void reload() {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
        BOOST_REQUIRE(state_of_store() == model_);
    }

    /// Any change of any size; whether there was room for it.
    bool change_anything() {
        const std::string key = "s" + std::to_string(random_() % 12);
        switch (random_() % 8) {
            case 0:
                if (model_.count(key) == 0) {
                    return write("i" + key, static_cast<int>(random_() % 100000));
                }
                remove(key);
                return true;
            case 1:
                return write(key, text(random_() % 200), true);
            case 2:
                return write(key, text(random_() % 500));
            case 3:
                return write(key, text(600 + random_() % 8400));
            case 4:
                return write("new" + std::to_string(random_() % 100), text(random_() % 60), random_() % 2 == 0);
            default:
                return write(key, text(random_() % 60));
        }
    }

    /// Writes new keys until there is room for none.
    void fill_up() {
        for (const std::size_t size : {2000U, 200U, 40U, 8U, 0U}) {
            while (write("f" + std::to_string(++last_new_key_), text(size))) {
            }
        }
    }

    /// Deletes a key, for which there is always room, and writes as much in its place: a new value of another key, or
    /// the key itself anew. Nothing is promised where a line reaches into a second sector.
    void replace_a_key() {
        const auto lines = lines_of_file();
        const std::string key = some_text();
        const std::string other = random_() % 2 == 0 ? key : some_text();
        std::size_t size = sector_size;
        for (const std::string prefix : {"", "DEFAULT_"}) {
            const auto line = lines.find(prefix + key);
            const std::size_t begin = (prefix + other + " = S").size();
            if (prefix.empty() || other == key) {
                if (line == lines.end() || !is_within_sector(line->second) || line->second.text.size() < begin) {
                    return;
                }
                size = std::min(size, line->second.text.size() - begin);
            }
        }
        remove(key);
        BOOST_REQUIRE(write(other, text(size)));
        ++totals_.replacements;
    }

  private:
    void open() {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_durability(durability_));
    }

    std::string text(std::size_t size) { return std::string(size, static_cast<char>('b' + random_() % 20)); }

    /// The name of a key that holds a string; none if there is none.
    std::string some_text() {
        Strings names;
        for (const auto& [name, entry] : model_) {
            if (std::holds_alternative<std::string>(entry.value)) {
                names.push_back(name);
            }
        }
        return names.empty() ? std::string() : names[random_() % names.size()];
    }

    /// Sets a key, or its default; whether there was room for it.
    bool write(const std::string& key, const Value& value, bool is_default = false) {
        return change(is_default ? set_default_operation(key, value) : set_operation(key, value));
    }

    void remove(const std::string& key) { BOOST_REQUIRE(change(delete_operation(key))); }

    /// Whether a change was made. One that was not has left everything as it was.
    bool change(const Operation& operation) {
        const auto lines = lines_of_file();
        const auto names = names_in_folder();
        ++totals_.changes;
        const zelva_core_status status = operation.run();
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            BOOST_REQUIRE_EQUAL(operation.rule(model_), status);
            return true;
        }
        ++totals_.refusals;
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, status);
        BOOST_REQUIRE(state_of_store() == model_);
        BOOST_REQUIRE(lines == lines_of_file());
        BOOST_REQUIRE(names == names_in_folder());
        return false;
    }

    const zelva_core_durability durability_;
    std::mt19937& random_;
    Totals& totals_;
    State model_;
    std::size_t last_new_key_ = 0;
};

/// Whether the file is there and ends with a line feed. Any other takes its first value only with room for a new file.
bool is_changed_in_place() {
    const std::string text = read_file(store_path());
    return !text.empty() && text.back() == '\n';
}

void check_level(const Kind& kind, std::size_t pages_left, zelva_core_durability durability, std::mt19937& random,
                 Totals& totals) {
    fs::remove(store_path());
    if (const auto text = kind.file(random)) {
        write_file(store_path(), *text);
    }
    std::optional<Filler> filler;
    if (random() % 2 == 0) {
        filler.emplace(pages_left);
    }
    Store store(durability, random, totals);
    if (!filler) {
        filler.emplace(pages_left);
    }

    const std::size_t refusals_before = totals.refusals;
    for (std::size_t i = 0; i < 100 && totals.refusals < refusals_before + 20; ++i) {
        store.change_anything();
    }
    store.reload();
    for (std::size_t i = 0; i < 6 && is_changed_in_place(); ++i) {
        store.fill_up();
        store.replace_a_key();
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_sync());
    if (random() % 2 == 0) {
        store.restart();
    }

    filler.reset();
    for (std::size_t i = 0; i < 10; ++i) {
        BOOST_REQUIRE(store.change_anything());
    }
    store.restart();
}

}  // namespace

BOOST_AUTO_TEST_SUITE(full_disk)

// Stands first, since it needs a folder in which no program has had the store open.
BOOST_AUTO_TEST_CASE(a_store_that_is_opened_on_a_full_disk_for_the_first_time_can_be_read) {
    write_file(store_path(), "i = I1\n");
    fs::create_directory(Folder::path() + "/.zelva");
    {
        const Filler filler(0);
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        BOOST_CHECK_EQUAL(Value(1), value_of("i"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("i", 2));
        BOOST_CHECK_EQUAL(Value(1), value_of("i"));
        BOOST_CHECK_EQUAL("i = I1\n", read_file(store_path()));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("i", 2));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(2), value_of("i"));
    zelva_core_settings_deinit();
}

BOOST_AUTO_TEST_CASE(what_a_full_disk_refuses_has_changed_nothing_and_deleted_keys_make_room) {
    Totals totals;
    const auto open_files = number_of_open_files();
    for (std::size_t level = 0; level < number_of_levels(); ++level) {
        const Kind& kind = kinds()[level % kinds().size()];
        const std::size_t pages_left = level / kinds().size() % 8;
        std::mt19937 random(static_cast<unsigned>(level));
        for (const auto durability : {ZELVA_CORE_DURABILITY_FULL, ZELVA_CORE_DURABILITY_RELAXED}) {
            BOOST_TEST_CONTEXT("level " << level << ": " << kind.name << ", " << pages_left << " pages, durability "
                                        << durability) {
                check_level(kind, pages_left, durability, random, totals);
                BOOST_REQUIRE_EQUAL(open_files, number_of_open_files());
            }
        }
    }
    BOOST_CHECK_LT(number_of_levels(), totals.refusals);
    BOOST_CHECK_LT(number_of_levels(), totals.replacements);
    BOOST_TEST_MESSAGE(number_of_levels()
                       << " levels, " << totals.changes << " changes, " << totals.refusals << " refused, "
                       << totals.replacements << " values written in the place of deleted keys");
}

BOOST_AUTO_TEST_CASE(a_long_value_takes_the_place_of_a_deleted_one_at_the_end_of_the_file) {
    const std::string text(3000, 'x');
    for (const auto durability : {ZELVA_CORE_DURABILITY_FULL, ZELVA_CORE_DURABILITY_RELAXED}) {
        const OpenStore store(line("kept", 12000));
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_durability(durability));
        const Filler filler(2);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("long", text));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("other", text));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("long"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", text));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("long", text));
        OpenStore::restart();
        BOOST_CHECK((Strings{"kept", "other"}) == keys());
    }
}

BOOST_AUTO_TEST_SUITE_END()

namespace {

/// Mounts a new disk for temporary files, of which the settings folder is one; whether the system allows that.
bool mount_disk(const std::string& kind) {
    const std::string place = "/mnt";
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", place.c_str(), "tmpfs", 0, kind == "tmpfs" ? "size=2m" : "size=16m") != 0) {
        return false;
    }
    // Any other kind is in a file, which the mounted disk then hides.
    const std::string make_disk = "exec >/dev/null 2>&1; cd " + place + " && mkfs." + kind +
                                  " -q -b 4096 -m 0 image 8M && disk=$(losetup --find --show image) && "
                                  "{ mount $disk " +
                                  place + "; result=$?; losetup --detach $disk; exit $result; }";
    return setenv("TMPDIR", place.c_str(), 1) == 0 && (kind == "tmpfs" || system(make_disk.c_str()) == 0);
}

}  // namespace

/// The last argument may be the kind of the disk: tmpfs or ext4.
int main(int count, char** arguments) {
    const bool is_ext4 = arguments[count - 1] == std::string("ext4");
    if (!mount_disk(is_ext4 ? "ext4" : "tmpfs")) {
        std::cout << "SKIPPED: only root can mount a disk, " << number_of_levels() << " levels not checked\n";
        return 77;
    }
    return boost::unit_test::unit_test_main([] { return true; }, count, arguments);
}
