// The settings folder of the tests on file systems that they mount themselves.
//
// The library is never called in the test program, only in programs that it starts: so a signal is theirs, and each has
// its own settings folder.
#pragma once

#include <boost/test/unit_test.hpp>
#include <optional>
#include <string>

#include "programs.h"
#include "support.h"
#include "volume.h"

extern const power::FileSystem ext4;
extern const power::FileSystem ext4_of_whole_seconds;  // as time stamps
extern const power::FileSystem ext4_with_data_journal;
extern const power::FileSystem xfs;
extern const power::FileSystem btrfs;

/// A new disk, mounted over the folder of temporary files, with an empty settings folder on it. REQUIRES: no program
/// that has the store open outlives it.
class MountedFolder {
  public:
    explicit MountedFolder(const power::FileSystem& file_system);

    /// Makes the disk fail, or no longer.
    void set_failing(bool is_failing);

    /// Mounts the disk anew, which is to work.
    void remount();

    /// Fills the disk until not a byte of `file` can be overwritten, which has to be some pages long.
    void fill(const std::string& file);
    static void make_room();

  private:
    const power::FileSystem& file_system_;
    power::Disk disk_;
    power::Loop medium_;
    power::Loop loop_;
    std::optional<power::Mount> mount_;
};

/// A precondition of tests: that this file system can be mounted, and that this command of the shell succeeds. Says
/// what is not tested.
class Needs {
  public:
    explicit Needs(const power::FileSystem& file_system, std::string command = "true");
    boost::test_tools::assertion_result operator()(boost::unit_test::test_unit_id test) const;

    /// Whether any test could not be run, and none could.
    static bool has_skipped_all();

  private:
    const power::FileSystem* file_system_;
    std::string command_;
};

/// A test of what needs that.
#define MOUNTED_TEST_CASE(name, ...) \
    BOOST_AUTO_TEST_CASE(name,       \
                         *boost::unit_test::precondition(Needs(__VA_ARGS__)) * boost::unit_test::fixture<TimeLimit>())

/// Runs a command of the shell in the folder in which the settings folder is "settings". Fails the test when it fails.
void run(const std::string& command);

/// A program that runs a step with 0, 1, 2 and so on, until it is stopped or killed.
class Repetition {
  public:
    explicit Repetition(Program::Step step);
    Repetition(const Repetition&) = delete;
    Repetition& operator=(const Repetition&) = delete;
    ~Repetition();

    // End the program. The first lets it finish its step, and fails the test when it has died before.
    void stop();
    void kill();

    void wait_for_steps(int count) const;

    int begun() const;                          // how many steps
    int count(zelva_core_status status) const;  // how many have given this
    int last_success() const;                   // the number of the last that has given 0; -1 if none has

  private:
    struct Page;
    static int repeat(int);

    static Page* page_;  // shared with the program
    std::optional<Program> program_;
};

// Steps of programs (programs.h). The keys are "k", "l" and "new", which hold ints, and "text", which holds a string.
int set_k(int value);
int set_new(int value);
int set_text(int letter);  // of the size that it has in `store_text`
int delete_l(int);
int get_k(int);  // -1 if that fails
int close_store(int);

/// The values of all keys, or the statuses of the gets.
std::string values(int);

/// The file of a store that holds the keys of these steps.
extern const std::string store_text;
