#include "measuring/fio_run.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <fmt/format.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "core/tool.h"
#include "measuring/fio_command.h"
#include "shared/rehearsal.h"

namespace host {

namespace {

constexpr size_t kMostLog = 16 << 20;

/// What has no end of its own by the clock may take days on a large drive.
std::chrono::seconds most_time(const provider::fio::Job& job) {
    constexpr std::chrono::seconds kMost = std::chrono::hours(24 * 7), kSlow{300};
    const double seconds = job.runtime + job.ramp_time;
    if (job.runtime <= 0 || seconds > static_cast<double>(kMost.count())) return kMost;
    return std::chrono::seconds(static_cast<int64_t>(seconds)) + kSlow;
}

/// The kernel ends it when this process ends. Should that come before it has asked for it, there is
/// no device for it to open, since that is this process's.
ToolOutput run(const provider::fio::Job& job, int device, const std::string& details) {
    std::vector<std::string> words{"setpriv", "--pdeathsig", "KILL", "--"};
    for (std::string& word :
         fio_words(job, fmt::format("/proc/{}/fd/{}", ::getpid(), device), details))
        words.push_back(std::move(word));
    return run_tool(words, {.most_time = most_time(job)});
}

void write_details(const std::string& file, FioResult& result) {
    const std::string log = file + "_iops.1.log";
    result.iops_of_seconds = fio_log(read_file(log, kMostLog).value_or(""), result.milliseconds);
    std::remove(log.c_str());
    std::ofstream stream(file, std::ios::trunc);
    stream << details_of(result);
    if (!stream.flush())
        throw Failure("Cannot write " + printable(file) + ".", "Is there room for it?");
}

constexpr double kRehearsalSeconds = 2;

/// A rehearsal has short rounds, and what is longer measures the drives before, which it does for
/// a moment. Those figures are rougher than others and kept like them: until the drives are
/// measured again, the next one's time is told after them.
provider::fio::Job shortened_in_rehearsal(provider::fio::Job job) {
    if (std::getenv(ssd_op::shared::kRehearsalVariable) == nullptr) return job;
    if (job.runtime > ssd_op::shared::kRehearsalRoundSeconds) job.runtime = kRehearsalSeconds;
    job.ramp_time = std::min(job.ramp_time, 1.0);
    return job;
}

}  // namespace

FioResult run_fio(const provider::fio::Job& job, int device, const std::string& details) {
    const ToolOutput output = run(shortened_in_rehearsal(job), device, details);
    if (!output.found) throw Failure("There is no setpriv.", "Install util-linux.");
    if (!output.whole) throw Failure("fio does not come to an end.", "See dmesg for the drive.");
    if (output.status == 127) throw Failure("There is no fio.", "Install it: apt-get install fio");
    if (output.text.empty() && !output.complaint.empty()) {
        throw Failure("fio fails: " + printable(trimmed(output.complaint)) + ".",
                      "See dmesg for what the kernel says of it.");
    }
    FioResult result = fio_result(output.text, job.read);
    if (output.status != 0)
        throw Failure(fmt::format("fio exited with {}.", output.status), "See dmesg.");
    if (!details.empty()) write_details(details, result);
    return result;
}

}  // namespace host
