#include "start/launch.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fmt/format.h>
#include <unistd.h>

#include "output/failure.h"
#include "platform/storage.h"
#include "process/child_answer.h"
#include "process/requester.h"
#include "shared/rehearsal.h"

namespace cli {

namespace {

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

/// The keeper: starts the evaluation, which the library runs in a child, and reports the record's
/// number.
int keep(const Plan& plan) {
    ::setsid();
    blank_arguments();
    const pid_t keeper = ::getpid();
    const ssd_op_requester requester = this_user();
    const auto group = make_group(plan);
    ssd_op_test_param param = plan.param;
    if (ssd_op::shared::is_rehearsal(param.title))
        ::setenv(ssd_op::shared::kRehearsalVariable, "1", 1);
    else
        ::unsetenv(ssd_op::shared::kRehearsalVariable);  // somebody may have tried it by hand
    const int result = NAS_SSD_OP_Test_Start(&requester, 1, group.get(), &param);
    if (::getpid() != keeper) ::_exit(result < 0 ? EXIT_FAILURE : EXIT_SUCCESS);
    return result;
}

}  // namespace

void remember_arguments(int count, char** arguments) {
    program_argument_count = count;
    program_arguments = arguments;
}

int launch(const Plan& plan) {
    const int record_no = ask_child<int>([&] { return keep(plan); }).value_or(-1);
    if (record_no <= 0)
        throw reported_in_log(fmt::format("The evaluation was not started ({}).", record_no));
    return record_no;
}

}  // namespace cli
