#include "provider/fio/options.h"

#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "shared/command_line.h"

namespace provider::fio {

namespace {

using Mode = std::pair<bool, bool>;  // random, read

const std::map<std::string, Mode> kModes = {
    {"read", {false, true}},
    {"write", {false, false}},
    {"randread", {true, true}},
    {"randwrite", {true, false}},
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
    app.add("--ioengine", job.engine, "How the kernel is asked; simulated drives know one way");
    app.add("--direct", job.direct, "Past the cache; simulated drives have none before them");
    app.add("--randrepeat", ignored, "Accepted; random numbers are never the same again");
    if (const auto code = app.parse(argc, argv)) return {std::nullopt, *code};
    std::tie(job.random, job.read) = kModes.at(mode);
    return {job, 0};
}

const char* mode_of(const Job& job) {
    for (const auto& [word, mode] : kModes)
        if (mode == Mode{job.random, job.read}) return word.c_str();
    return "";
}

}  // namespace provider::fio
