#include "programs/fio_options.h"

#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "shared/command_line.h"

namespace appliance::fio {

namespace {

using flash::Direction;
using flash::Pattern;
using Mode = std::pair<Pattern, Direction>;

const std::map<std::string, Mode> kModes = {
    {"read", {Pattern::sequential, Direction::read}},
    {"write", {Pattern::sequential, Direction::write}},
    {"randread", {Pattern::random, Direction::read}},
    {"randwrite", {Pattern::random, Direction::write}},
};

std::vector<std::string> mode_words() {
    std::vector<std::string> words;
    for (const auto& [word, mode] : kModes) words.push_back(word);
    return words;
}

}  // namespace

Parsed parse(int argc, char** argv) {
    Job job;
    std::string mode = "read";
    int ignored = 0;
    ssd_op::shared::Arguments app("Load a device and tell how fast it was.");
    app.add("--filename", job.device, "Drive, partition or volume").required();
    app.add("--name", job.name, "Name of the job");
    app.add("--rw", mode, "What to do").one_of(mode_words());
    app.add("--bs", job.block, "Bytes of one operation, for example 4k").in_bytes();
    app.add("--offset", job.offset, "Where the area on the device begins").in_bytes();
    app.add("--size", job.size, "Bytes of the area, for example 512M; default: to the end")
        .in_bytes();
    app.add("--io_limit", job.amount, "Bytes to transfer; default: the area once").in_bytes();
    app.add("--iodepth", job.depth, "Operations under way").between(1, 1024);
    app.add("--runtime", job.runtime, "Seconds at the most").not_negative();
    app.add("--ramp_time", job.ramp_time, "Seconds before that, which do not count").not_negative();
    app.flag("--time_based", job.time_based, "Run for the whole runtime");
    app.add("--ioengine", job.engine, "Accepted; there is one way to the simulated drives");
    app.add("--direct", ignored, "Accepted; the simulated drives have no cache before them");
    app.add("--randrepeat", ignored, "Accepted; each drive has its own random numbers");
    if (const auto code = app.parse(argc, argv)) return {std::nullopt, *code};
    std::tie(job.pattern, job.direction) = kModes.at(mode);
    return {job, 0};
}

const char* mode_of(const Job& job) {
    for (const auto& [word, mode] : kModes)
        if (mode == Mode{job.pattern, job.direction}) return word.c_str();
    return "";
}

}  // namespace appliance::fio
