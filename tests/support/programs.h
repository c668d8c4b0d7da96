// Other programs that have the store "test" open, for tests of what several of them do to it: forked from the test
// program, each with an end of its own should the test hang.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

/// How long a test, or one of its programs, may take: in seconds.
unsigned time_limit();

/// A test case that takes longer fails.
struct TimeLimit {
    TimeLimit();
    ~TimeLimit();
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;
};

/// Chooses another folder and another store than "test" for what this program opens. For `prepare` of Program.
void choose_store(const std::string& folder, const std::string& name);

/// Starts a program that opens the store, runs `body` and ends with its result: 0 for success, `not_opened` when the
/// store could not be opened.
constexpr int not_opened = 99;
pid_t start(const std::function<int()>& body);

/// What a program has ended with; -1 if it was killed.
int result_of(pid_t program);

/// A program that does what it is told, a step at a time. Ends when there are no more steps, or is killed.
class Program {
  public:
    /// Its number and its text are the results of steps. These are functions without a state, which the program has
    /// too, since it is a copy of this one.
    using Step = int (*)(int argument);
    using Question = std::string (*)(int argument);

    /// `prepare` runs before the store is opened.
    explicit Program(const std::function<void()>& prepare = [] {});
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();

    int run(Step step, int argument = 0);
    std::string ask(Question question, int argument = 0);

    /// The same without waiting for the result; whether it has come after so many milliseconds; and waiting for it.
    void begin(Step step, int argument = 0);
    bool has_finished(int milliseconds) const;
    int result();

    void kill();

  private:
    struct Order {
        Step step;
        Question question;
        int argument;
    };

    [[noreturn]] static void obey(int socket);
    void give(const Order& order) const;
    std::string answer();

    int socket_ = -1;
    pid_t process_ = -1;
};

/// Becomes a user of this number, with a group of this number, for good.
void become(uid_t user, gid_t group);
