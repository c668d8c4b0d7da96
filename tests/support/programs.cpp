#include "programs.h"

#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

#include "support.h"

namespace {

std::string store_name = "test";

/// In a new program.
void begin_program() {
    alarm(time_limit());
    // The test framework would go on with the next test case.
    for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGILL, SIGFPE}) {
        signal(number, SIG_DFL);
    }
}

int open_store() {
    zelva_core_settings_deinit();  // the one that was open at the fork
    return zelva_core_settings_init(store_name.c_str());
}

bool read_whole(int descriptor, void* memory, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = recv(descriptor, static_cast<char*>(memory) + done, size - done, 0);
        if (count <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool write_whole(int descriptor, const void* memory, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = send(descriptor, static_cast<const char*>(memory) + done, size - done, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

unsigned time_limit() {
    return is_campaign() ? 7200 : 100;
}

TimeLimit::TimeLimit() {
    alarm(time_limit());
}

TimeLimit::~TimeLimit() {
    alarm(0);
}

void choose_store(const std::string& folder, const std::string& name) {
    setenv("ZELVA_CORE_SETTINGS_DIR", folder.c_str(), 1);
    store_name = name;
}

pid_t start(const std::function<int()>& body) {
    const pid_t program = fork();
    if (program == 0) {
        begin_program();
        _exit(open_store() == ZELVA_CORE_STATUS_NO_ERROR ? body() : not_opened);
    }
    return program;
}

int result_of(pid_t program) {
    int status = -1;
    BOOST_REQUIRE_EQUAL(program, waitpid(program, &status, 0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Program::Program(const std::function<void()>& prepare) {
    int ends[2];
    BOOST_REQUIRE_EQUAL(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    process_ = fork();
    if (process_ == 0) {
        begin_program();
        prepare();
        const int status = open_store();
        if (write_whole(ends[1], &status, sizeof status)) {
            obey(ends[1]);
        }
        _exit(1);
    }
    close(ends[1]);
    socket_ = ends[0];
    int status = -1;
    BOOST_REQUIRE(read_whole(socket_, &status, sizeof status));
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, status);
}

Program::~Program() {
    shutdown(socket_, SHUT_WR);
    if (process_ != -1) {
        if (!has_finished(1000)) {
            kill();
        }
        waitpid(process_, nullptr, 0);
    }
    close(socket_);
}

void Program::obey(int socket) {
    for (Order order{}; read_whole(socket, &order, sizeof order);) {
        const std::string answer =
            order.step != nullptr ? std::to_string(order.step(order.argument)) : order.question(order.argument);
        const std::size_t size = answer.size();
        if (!write_whole(socket, &size, sizeof size) || !write_whole(socket, answer.data(), size)) {
            break;
        }
    }
    _exit(0);
}

void Program::give(const Order& order) const {
    BOOST_REQUIRE(write_whole(socket_, &order, sizeof order));
}

std::string Program::answer() {
    std::size_t size = 0;
    if (!read_whole(socket_, &size, sizeof size)) {
        int status = 0;
        waitpid(std::exchange(process_, -1), &status, 0);
        BOOST_REQUIRE_MESSAGE(!WIFSIGNALED(status), "the program was ended by signal " << WTERMSIG(status));
        BOOST_REQUIRE_MESSAGE(false, "the program has ended with " << WEXITSTATUS(status));
    }
    std::string answer(size, '\0');
    BOOST_REQUIRE(read_whole(socket_, answer.data(), size));
    return answer;
}

int Program::run(Step step, int argument) {
    begin(step, argument);
    return result();
}

std::string Program::ask(Question question, int argument) {
    give({nullptr, question, argument});
    return answer();
}

void Program::begin(Step step, int argument) {
    give({step, nullptr, argument});
}

bool Program::has_finished(int milliseconds) const {
    pollfd socket{socket_, POLLIN, 0};
    return poll(&socket, 1, milliseconds) == 1;
}

int Program::result() {
    return std::stoi(answer());
}

void Program::kill() {
    ::kill(process_, SIGKILL);
}

void become(uid_t user, gid_t group) {
    if (setgroups(0, nullptr) != 0 || setresgid(group, group, group) != 0 || setresuid(user, user, user) != 0) {
        _exit(98);
    }
}
