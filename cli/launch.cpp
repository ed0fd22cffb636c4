#include "launch.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <fmt/format.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "failure.h"
#include "platform/storage.h"

namespace cli {

namespace {

ssd_op_requester this_user() {
    ssd_op_requester requester{};
    const passwd* user = ::getpwuid(::getuid());
    const char* name = user != nullptr ? user->pw_name : "unknown";
    std::strncpy(requester.user, name, sizeof requester.user - 1);
    std::strncpy(requester.address, "localhost", sizeof requester.address - 1);
    return requester;
}

std::unique_ptr<RAID_CONF> make_group(const Plan& plan) {
    auto group = std::make_unique<RAID_CONF>();
    group->raid_level = plan.layout.level;
    group->drive_num = static_cast<int>(plan.drives.size());
    std::transform(plan.drives.begin(), plan.drives.end(), group->drive_ids,
                   [](const Drive& drive) { return drive.id; });
    return group;
}

char** program_arguments;
int program_argument_count;

void blank_arguments() {
    for (int i = 1; i < program_argument_count; ++i)
        std::memset(program_arguments[i], ' ', std::strlen(program_arguments[i]));
}

void wait_for_all_children() {
    // It must not hold the terminal, or the reader of a pipe that this command writes to.
    const int nowhere = ::open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(nowhere, stream);
    while (::wait(nullptr) > 0) {
    }
}

/// The keeper: starts the evaluation, which the library runs in a child, reports the record's
/// number and, when somebody follows, stays until that child is gone.
[[noreturn]] void keep(const Plan& plan, bool followed, int report) {
    ::setsid();
    blank_arguments();
    const pid_t keeper = ::getpid();
    const ssd_op_requester requester = this_user();
    const auto group = make_group(plan);
    ssd_op_test_param param = plan.param;
    const int result = NAS_SSD_OP_Test_Start(&requester, 1, group.get(), &param);
    if (::getpid() != keeper) ::_exit(result < 0 ? EXIT_FAILURE : EXIT_SUCCESS);

    const bool reported = ::write(report, &result, sizeof result) == sizeof result;
    ::close(report);
    if (followed) wait_for_all_children();
    ::_exit(reported ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

bool Launched::has_ended() {
    if (keeper_ != 0 && ::waitpid(keeper_, nullptr, WNOHANG) != 0) keeper_ = 0;
    return keeper_ == 0;
}

void remember_arguments(int count, char** arguments) {
    program_argument_count = count;
    program_arguments = arguments;
}

Launched launch(const Plan& plan, bool followed) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw Failure(kFailed, "The evaluation cannot be started: no pipe.", std::strerror(errno));
    const pid_t keeper = ::fork();
    if (keeper == 0) keep(plan, followed, ends[1]);
    ::close(ends[1]);
    int record_no = -1;
    const bool heard =
        keeper > 0 && ::read(ends[0], &record_no, sizeof record_no) == sizeof record_no;
    ::close(ends[0]);
    if (!heard || record_no <= 0) {
        throw Failure(kFailed, fmt::format("The evaluation was not started ({}).", record_no),
                      "The appliance's trace log tells why.");
    }
    return {record_no, keeper};
}

}  // namespace cli
