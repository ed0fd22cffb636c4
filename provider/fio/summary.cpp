#include "provider/fio/summary.h"

#include <cstdio>
#include <string>

#include <fmt/format.h>
#include <unistd.h>

namespace provider::fio {

void print_start(const Job& job) {
    fmt::print("{}: (g=0): rw={}, bs={}-{}, ioengine={}, iodepth={}\nStarting 1 process\n\n",
               job.name, mode_of(job), job.block, job.block, job.engine, job.depth);
    std::fflush(stdout);
}

void print_summary(const Job& job, const Summary& summary) {
    const std::string io = fmt::format("{:.1f}MB", static_cast<double>(summary.bytes) / (1 << 20));
    fmt::print("{}: (groupid=0, jobs=1): err= 0: pid={}\n", job.name, ::getpid());
    fmt::print("  {}: io={}, bw={}KB/s, iops={}, runt={:6}msec\n\n", job.read ? "read " : "write",
               io, summary.kib_per_second, summary.iops, summary.milliseconds);
    fmt::print("Run status group 0 (all jobs):\n");
    fmt::print("  {}: io={}, aggrb={}KB/s, mint={}msec, maxt={}msec\n",
               job.read ? " READ" : "WRITE", io, summary.kib_per_second, summary.milliseconds,
               summary.milliseconds);
}

}  // namespace provider::fio
