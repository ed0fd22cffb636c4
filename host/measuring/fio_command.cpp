#include "measuring/fio_command.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"

namespace host {

namespace {

constexpr std::array kEngines{"libaio", "io_uring", "psync", "sync"};

void add_area(const provider::fio::Job& job, std::vector<std::string>& words) {
    if (job.offset > 0) words.push_back(fmt::format("--offset={}", job.offset));
    if (job.size > 0) words.push_back(fmt::format("--size={}", job.size));
    if (job.amount > 0) words.push_back(fmt::format("--io_size={}", job.amount));
}

void add_time(const provider::fio::Job& job, std::vector<std::string>& words) {
    const auto time = [](double seconds) { return fmt::format("{:.0f}ms", seconds * 1000); };
    if (job.runtime > 0) words.push_back("--runtime=" + time(job.runtime));
    if (job.ramp_time > 0) words.push_back("--ramp_time=" + time(job.ramp_time));
    // fio counts what is done in the ramp time as done. A small drive would be through in it, and
    // nothing would be left to measure.
    if (job.runtime > 0 && (job.time_based || job.ramp_time > 0))
        words.emplace_back("--time_based");
}

}  // namespace

std::vector<std::string> fio_words(const provider::fio::Job& job, const std::string& device,
                                   const std::string& iops_log) {
    if (std::find(kEngines.begin(), kEngines.end(), job.engine) == kEngines.end()) {
        throw Failure("There is no engine " + printable(job.engine) + " here.",
                      fmt::format("Take one of {}.", fmt::join(kEngines, ", ")));
    }
    // Threads, because a process of fio's own would outlive it when it is killed.
    std::vector<std::string> words{"fio",
                                   "--output-format=json",
                                   "--eta=never",
                                   "--thread",
                                   "--allow_file_create=0",
                                   "--disk_util=0",
                                   "--lat_percentiles=1",
                                   "--percentile_list=99",
                                   "--name=ssd-op",
                                   "--filename=" + device,
                                   fmt::format("--rw={}", mode_of(job)),
                                   fmt::format("--bs={}", job.block),
                                   fmt::format("--iodepth={}", job.depth),
                                   "--ioengine=" + job.engine,
                                   fmt::format("--direct={}", job.direct != 0 ? 1 : 0)};
    if (job.random) {
        // Any place at any time, as often as it comes; and other places in the next round.
        for (const char* word :
             {"--norandommap", "--random_generator=tausworthe64", "--randrepeat=0"})
            words.emplace_back(word);
    }
    add_area(job, words);
    add_time(job, words);
    if (!iops_log.empty()) {
        words.push_back("--write_iops_log=" + iops_log);
        words.emplace_back("--log_avg_msec=1000");
    }
    return words;
}

}  // namespace host
