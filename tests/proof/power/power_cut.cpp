// Losses of power on a real file system. Records the writes and flushes with which the file system brings a store to a
// disk while the store is written, makes the disks that a loss of power would have left, mounts each, and checks that
// the store on it holds what was acknowledged.
//
//   powerCut FILE_SYSTEM STATES CAMPAIGN_STATES
//
// Needs root. Ends with 77 where the machine does not allow the test.
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "cuts.h"
#include "history.h"
#include "recorder.h"
#include "volume.h"

namespace power {
namespace {

constexpr int skipped = 77;
constexpr std::size_t operations_per_recording = 300;
constexpr std::size_t states_per_recording = 500;
constexpr int most_reports = 5;

// How far the work has come when it has not yet, or no longer, to do with the store; otherwise 1 more than the number
// of acknowledged operations.
constexpr std::size_t preparing = 0;
constexpr std::size_t finished = SIZE_MAX;

/// The places of the test, which only its own processes see.
struct Places {
    explicit Places(const std::string& work)
        : recorder(work + "/recorder"), mount(work + "/mount"), settings(mount + "/settings") {}
    const std::string recorder;
    const std::string mount;
    const std::string settings;
};

/// Brings to the disk what the store has written, as the system does at any time: often the store's file, without a
/// flush, and sometimes everything.
class Writeback {
  public:
    explicit Writeback(std::string file) : file_(std::move(file)), thread_([this] { run(); }) {}
    Writeback(const Writeback&) = delete;
    Writeback& operator=(const Writeback&) = delete;
    ~Writeback() {
        is_done_ = true;
        thread_.join();
    }

  private:
    void run() {
        for (int i = 0; !is_done_; ++i) {
            const int file = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
            if (file >= 0) {
                if (i % 25 == 24) {
                    syncfs(file);
                } else {
                    sync_file_range(file, 0, 0, SYNC_FILE_RANGE_WRITE);
                }
                close(file);
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200 + i % 10 * 500));
        }
    }

    const std::string file_;
    std::atomic<bool> is_done_{false};
    std::thread thread_;
};

void bring_to_disk(const std::string& folder) {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (syncfs(file) != 0) {
        throw std::system_error(errno, std::generic_category(), "syncfs");
    }
    close(file);
}

Recording record_history(const FileSystem& file_system, std::size_t variant, const History& history,
                         const Places& places) {
    return record(places.recorder, file_system.disk_size, [&](const std::string& disk, auto& progress) {
        const int file = open(disk.c_str(), O_RDWR | O_CLOEXEC);
        const Loop loop(file);
        close(file);
        make(file_system, variant, loop.path());
        const Mount mount(file_system, loop, places.mount);
        bring_to_disk(places.mount);
        const Writeback writeback(store_file(places.settings));
        history.run([&](std::size_t acknowledged) { progress = 1 + acknowledged; });
        progress = finished;
    });
}

struct Totals {
    std::size_t states = 0;
    std::size_t positions = 0;
    std::size_t writes = 0;
    std::size_t flushes = 0;
    std::size_t recordings = 0;
    int failures = 0;
};

void check_state(const FileSystem& file_system, const Disk& disk, const History& history, std::size_t acknowledged,
                 const Places& places) {
    const Loop loop(disk.descriptor());
    const Mount mount(file_system, loop, places.mount);
    history.check(acknowledged, places.settings);
}

/// Keeps a disk for a person to look at: no other recording is quite the same.
void keep(const Disk& disk, const std::string& path) {
    std::ofstream(path, std::ios::binary).write(disk.data(), static_cast<std::streamsize>(disk.size()));
    std::cout << "this disk is kept as " << std::filesystem::absolute(path).string() << std::endl;
}

void check_recording(const FileSystem& file_system, const Recording& recording, const History& history,
                     std::size_t states, unsigned seed, const Places& places, Totals& totals) {
    const auto first_with = [&](std::size_t progress) {
        return static_cast<std::size_t>(std::find_if(recording.begin(), recording.end(),
                                                     [&](const Event& event) { return event.progress >= progress; }) -
                                        recording.begin());
    };
    const std::size_t begin = first_with(preparing + 1);
    const std::size_t end = first_with(finished);
    for (std::size_t i = begin; i < end; ++i) {
        ++(recording[i].is_flush ? totals.flushes : totals.writes);
    }
    ++totals.recordings;
    Replay replay(recording, file_system);
    std::set<std::size_t> positions;
    for (const Cut& cut : choose_cuts(recording, begin, end, states, seed)) {
        // The power fails right before the disk is asked for the next thing.
        const std::size_t acknowledged = cut.position < end ? recording[cut.position].progress - 1 : history.size();
        ++totals.states;
        positions.insert(cut.position);
        try {
            check_state(file_system, replay.disk_after(cut), history, acknowledged, places);
        } catch (const std::exception& error) {
            if (++totals.failures <= most_reports) {
                std::cout << file_system.name << ", history " << seed << ", power lost after " << cut.position - begin
                          << " of " << end - begin << " writes and flushes, with "
                          << (cut.kept == Cut::Kept::all    ? "all"
                              : cut.kept == Cut::Kept::none ? "nothing"
                                                            : "some")
                          << " of what was not flushed, and " << acknowledged
                          << " operations acknowledged (next: " << history.name(acknowledged) << "): " << error.what()
                          << std::endl;
            }
            if (totals.failures == 1) {
                keep(replay.disk_after(cut), file_system.name + ".img");
            }
        }
    }
    totals.positions += positions.size();
}

/// The test, in a process with mounts of its own, below the folder `work`.
int run(const FileSystem& file_system, std::size_t states, const std::string& work) {
    if (mount("work", work.c_str(), "tmpfs", 0, "mode=700") != 0) {
        throw std::runtime_error("no temporary file system");
    }
    const Places places(work);
    mkdir(places.recorder.c_str(), S_IRWXU);
    mkdir(places.mount.c_str(), S_IRWXU);
    setenv("ZELVA_CORE_SETTINGS_DIR", places.settings.c_str(), 1);
    Totals totals;
    for (unsigned seed = 1; totals.states < states; ++seed) {
        const History history(seed, operations_per_recording);
        const Recording recording = record_history(file_system, seed - 1, history, places);
        const std::size_t before = totals.states;
        check_recording(file_system, recording, history, std::min(states_per_recording, states - before), seed, places,
                        totals);
        if (totals.states == before) {
            throw std::runtime_error("the recording holds nothing");
        }
    }
    std::cout << file_system.name << ": " << totals.states << " states after losses of power at " << totals.positions
              << " positions, in " << totals.recordings << " recordings of " << operations_per_recording
              << " operations each; recorded " << totals.writes << " writes and " << totals.flushes << " flushes; "
              << totals.failures << " failures" << std::endl;
    return totals.failures == 0 ? 0 : 1;
}

/// Why the test cannot be run on this machine; empty when it can.
std::string obstacle_to_test(const FileSystem& file_system) {
    const int fuse = open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (fuse < 0) {
        return geteuid() == 0 ? "no /dev/fuse" : "needs root";
    }
    close(fuse);
    return obstacle(file_system);
}

/// Gives the processes that this one is about to start process numbers and mounts of their own, which end with the
/// first of them. 0, or the errno of what failed.
int separate() {
    if (unshare(CLONE_NEWNS | CLONE_NEWPID) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return errno;
    }
    return 0;
}

/// Runs the test in a process whose end, for whatever reason, is the end of all that it has started and mounted.
int run_separately(const FileSystem& file_system, std::size_t states) {
    std::string work = std::filesystem::temp_directory_path() / "powerCut-XXXXXX";
    if (mkdtemp(work.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    sigset_t awaited;
    sigset_t before;
    sigemptyset(&awaited);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
        sigaddset(&awaited, signal);
    }
    sigprocmask(SIG_BLOCK, &awaited, &before);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        sigprocmask(SIG_SETMASK, &before, nullptr);
        int result = 1;
        try {
            result = run(file_system, states, work);
        } catch (const std::exception& error) {
            std::cout << file_system.name << ": " << error.what() << std::endl;
        }
        _exit(result);
    }
    int signal = 0;
    sigwait(&awaited, &signal);
    if (signal != SIGCHLD) {
        kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    umount2(work.c_str(), MNT_DETACH);
    rmdir(work.c_str());
    if (WIFSIGNALED(status)) {
        std::cout << file_system.name << ": ended by signal " << WTERMSIG(status) << std::endl;
        return 1;
    }
    return WEXITSTATUS(status);
}

}  // namespace
}  // namespace power

int main(int count, char** words) {
    using namespace power;
    const FileSystem* const file_system = count == 4 ? find_file_system(words[1]) : nullptr;
    if (file_system == nullptr) {
        std::cerr << "usage: powerCut FILE_SYSTEM STATES CAMPAIGN_STATES\n";
        return 2;
    }
    const std::size_t states = std::stoul(words[getenv("ZELVA_CORE_CAMPAIGN") == nullptr ? 2 : 3]);
    try {
        std::string why = obstacle_to_test(*file_system);
        if (const int error = why.empty() ? separate() : 0) {
            why = std::string("no mounts: ") + std::strerror(error);
        }
        if (!why.empty()) {
            std::cout << "SKIPPED: " << why << ", " << states << " states not checked" << std::endl;
            return skipped;
        }
        return run_separately(*file_system, states);
    } catch (const std::exception& error) {
        std::cout << error.what() << std::endl;
        return 1;
    }
}
