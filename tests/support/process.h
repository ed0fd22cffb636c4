/// Other processes in a test: children that the test starts, and what is left running after it.
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace support {

/// How a process ended.
struct Ending {
    std::optional<int> status;  ///< exit status
    std::optional<int> signal;  ///< signal that ended it

    bool operator==(const Ending&) const = default;
};
inline Ending exited(int status) { return {.status = status, .signal = {}}; }
inline Ending killed(int signal) { return {.status = {}, .signal = signal}; }
std::ostream& operator<<(std::ostream& out, const Ending& ending);

/// A child of the test that runs a function and exits with what that returns; 99 when it throws.
/// Whoever forgets to wait for it kills it.
class Child {
  public:
    explicit Child(const std::function<int()>& body);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    pid_t pid() const { return pid_; }
    void signal(int number) const;
    bool running();
    Ending wait();

  private:
    pid_t pid_;
    std::optional<Ending> ending_;
};

/// Becomes a process that does nothing and shows this command line; for the body of a child.
int exec_as(const std::string& command_line);

/// Runs a function in a child and waits for it.
Ending in_child(const std::function<int()>& body);

/// Waits for a child that the library left to its caller, for example a forked driver.
Ending wait_for(pid_t pid);

/// What a shell made of a command line.
struct Outcome {
    int status;          ///< exit status
    std::string output;  ///< of both streams
};
/// Runs it without input.
Outcome shell(const std::string& command);

struct ProcessInfo {
    pid_t pid;
    pid_t parent;
    char state;  ///< as /proc shows it: Z is a zombie
    std::string command;
};
std::vector<ProcessInfo> processes();
/// Children of the test that nobody waited for.
std::vector<ProcessInfo> children();
std::ostream& operator<<(std::ostream& out, const ProcessInfo& process);

/// Polls until the condition holds; false when it does not within a minute of the wall's clock,
/// which a busy machine has, too.
bool eventually(const std::function<bool()>& condition);

/// The same within that many seconds of the appliance's clock, which is a fast one in tests.
bool eventually(const std::function<bool()>& condition, int seconds);

/// Sleeps by the wall's clock in spite of the fast one: for "and nothing happens for a while".
void pause_for_milliseconds(int milliseconds);

}  // namespace support
