#include "mounted_folder.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <new>
#include <utility>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mebibyte = 1 << 20;
constexpr std::size_t page_size = 4096;

std::size_t skipped_tests = 0;
std::size_t other_tests = 0;

std::string filler_path() {
    return (fs::temp_directory_path() / "filler").string();
}

/// Makes a file longer, on the disk; whether there was room.
bool append(const std::string& path, std::size_t size) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) {
        return false;
    }
    const std::string bytes(size, 'x');
    const bool is_done = write(file, bytes.data(), size) == static_cast<ssize_t>(size) && fsync(file) == 0;
    close(file);
    return is_done;
}

/// The same with room that is not written, in as large parts as there are.
void reserve(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    BOOST_REQUIRE_LE(0, file);
    for (off_t end = 0; posix_fallocate(file, end, mebibyte) == 0; end += mebibyte) {
    }
    close(file);
}

bool can_overwrite_a_byte(const std::string& path, off_t offset) {
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    BOOST_REQUIRE_LE(0, file);
    const bool is_done = pwrite(file, "y", 1, offset) == 1 && fsync(file) == 0;
    close(file);
    return is_done;
}

}  // namespace

const power::FileSystem ext4{
    "ext4", 32 * mebibyte, "mkfs.ext4 -q -E nodiscard,lazy_itable_init=0,lazy_journal_init=0", {"-I 256"}, "", {}};
const power::FileSystem ext4_of_whole_seconds{"ext4", ext4.disk_size, ext4.program, {"-I 128"}, "", {}};
const power::FileSystem ext4_with_data_journal{
    "ext4", ext4.disk_size, ext4.program, {"-I 256 -J size=4"}, "data=journal", {}};
const power::FileSystem xfs{"xfs", 320 * mebibyte, "mkfs.xfs -q -K", {"-m reflink=1"}, "", {}};
const power::FileSystem btrfs{"btrfs", 64 * mebibyte, "mkfs.btrfs -q --nodiscard", {"--mixed"}, "nodiscard", {}};

const std::string store_text =
    "# a comment\nk = I1\nl = I2\ntext = S" + std::string(100, 'a') + "\nlong = S" + std::string(6000, 'b') + "\n";

MountedFolder::MountedFolder(const power::FileSystem& file_system)
    : file_system_(file_system),
      disk_(file_system.disk_size),
      medium_(disk_.descriptor()),
      loop_(medium_.descriptor(), true) {
    power::make(file_system_, 0, loop_.path() + " 2>&1");
    mount_.emplace(file_system_, loop_, fs::temp_directory_path());
    fs::create_directories(Folder::path());
    for (fs::path folder = Folder::path(); folder != fs::temp_directory_path(); folder = folder.parent_path()) {
        fs::permissions(folder, fs::perms(0755));
    }
}

void MountedFolder::set_failing(bool is_failing) {
    medium_.set_failing(is_failing);
}

void MountedFolder::remount() {
    mount_.reset();
    mount_.emplace(file_system_, loop_, fs::temp_directory_path());
}

void MountedFolder::fill(const std::string& file) {
    reserve(filler_path());
    const std::string rest = filler_path() + ".rest";
    constexpr int most_attempts = 16;
    bool is_full = false;
    for (int attempt = 0; attempt < most_attempts && !is_full; ++attempt) {
        for (const std::size_t size : {16 * page_size, page_size}) {
            while (append(rest, size)) {
            }
        }
        // A page that has been written may have found its room.
        is_full = !can_overwrite_a_byte(file, attempt * static_cast<off_t>(page_size));
    }
    BOOST_REQUIRE(is_full);
}

void MountedFolder::make_room() {
    fs::remove(filler_path());
    const int folder = open(Folder::path().c_str(), O_RDONLY | O_CLOEXEC);
    BOOST_REQUIRE_EQUAL(0, syncfs(folder));
    close(folder);
}

Needs::Needs(const power::FileSystem& file_system, std::string command)
    : file_system_(&file_system), command_(std::move(command)) {}

boost::test_tools::assertion_result Needs::operator()(boost::unit_test::test_unit_id test) const {
    std::string why = power::obstacle(*file_system_);
    if (why.empty() && system(("{ " + command_ + "; } >/dev/null").c_str()) != 0) {
        why = "this has failed: " + command_;
    }
    ++(why.empty() ? other_tests : skipped_tests);
    if (!why.empty()) {
        const auto& name = boost::unit_test::framework::get(test, boost::unit_test::TUT_ANY).full_name();
        std::cout << "SKIPPED: " << why << ", not checked: " << name << std::endl;
    }
    return why.empty();
}

bool Needs::has_skipped_all() {
    return skipped_tests > 0 && other_tests == 0;
}

void run(const std::string& command) {
    BOOST_REQUIRE_MESSAGE(system(("cd " + Folder::path() + "/.. && " + command).c_str()) == 0, "failed: " << command);
}

struct Repetition::Page {
    Program::Step step;
    std::atomic<bool> is_done{false};
    std::atomic<int> begun{0};
    std::atomic<int> last_success{-1};
    std::array<std::atomic<int>, ZELVA_CORE_STATUS_SETTING_NOT_PRESENT + 1> counts{};
};

Repetition::Page* Repetition::page_ = nullptr;

Repetition::Repetition(Program::Step step) {
    void* const memory = mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    BOOST_REQUIRE(memory != MAP_FAILED);
    page_ = new (memory) Page{step};
    program_.emplace();
    program_->begin(repeat);
}

Repetition::~Repetition() {
    page_->is_done = true;
    program_.reset();
    munmap(page_, sizeof(Page));
}

int Repetition::repeat(int) {
    while (!page_->is_done) {
        const int number = page_->begun++;
        const int status = page_->step(number);
        ++page_->counts.at(static_cast<std::size_t>(status));
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            page_->last_success = number;
        }
    }
    return 0;
}

void Repetition::stop() {
    page_->is_done = true;
    program_->result();
    program_.reset();
}

void Repetition::kill() {
    program_->kill();
    program_.reset();
}

int Repetition::begun() const {
    return page_->begun;
}

int Repetition::count(zelva_core_status status) const {
    return page_->counts.at(status);
}

int Repetition::last_success() const {
    return page_->last_success;
}

void Repetition::wait_for_steps(int count) const {
    for (const int before = begun(); begun() < before + count && !program_->has_finished(0);) {
        usleep(100);
    }
}

int set_k(int value) {
    return zelva_core_settings_set_int_value("k", value);
}
int set_new(int value) {
    return zelva_core_settings_set_int_value("new", value);
}
int set_text(int letter) {
    return zelva_core_settings_set_string_value("text", std::string(100, static_cast<char>(letter)).c_str());
}
int delete_l(int) {
    return zelva_core_settings_delete_key("l");
}
int get_k(int) {
    int value = -1;
    zelva_core_settings_get_int_value("k", &value);
    return value;
}
int close_store(int) {
    return zelva_core_settings_deinit();
}

std::string values(int) {
    std::string text;
    const auto add = [&text](const char* key, zelva_core_status status, const std::string& value) {
        text += std::string(key) + ": " +
                (status == ZELVA_CORE_STATUS_NO_ERROR ? value : "status " + std::to_string(status)) + '\n';
    };
    for (const char* key : {"k", "l", "new"}) {
        int value = 0;
        const zelva_core_status status = zelva_core_settings_get_int_value(key, &value);
        add(key, status, std::to_string(value));
    }
    for (const char* key : {"text", "long"}) {
        char* value = nullptr;
        const zelva_core_status status = zelva_core_settings_get_string_value(key, &value);
        add(key, status, status == ZELVA_CORE_STATUS_NO_ERROR ? abridged(std::string(value)) : "");
        free(value);
    }
    return text;
}
