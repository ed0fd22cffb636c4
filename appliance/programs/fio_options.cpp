#include "programs/fio_options.h"

#include <map>
#include <utility>

#include <CLI/CLI.hpp>

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

void add_size(CLI::App& app, const std::string& name, uint64_t& value, const std::string& help) {
    app.add_option(name, value, help)->transform(CLI::AsSizeValue(false));
}

}  // namespace

Parsed parse(int argc, char** argv) {
    Job job;
    std::string mode = "read";
    int ignored = 0;
    CLI::App app("Load a device and tell how fast it was.");
    app.add_option("--filename", job.device, "Drive, partition or volume")->required();
    app.add_option("--name", job.name, "Name of the job");
    app.add_option("--rw", mode, "What to do")->check(CLI::IsMember(kModes));
    add_size(app, "--bs", job.block, "Bytes of one operation, for example 4k");
    add_size(app, "--offset", job.offset, "Where the area on the device begins");
    add_size(app, "--size", job.size, "Bytes of the area, for example 512M; default: to the end");
    add_size(app, "--io_limit", job.amount, "Bytes to transfer; default: the area once");
    app.add_option("--iodepth", job.depth, "Operations under way")->check(CLI::Range(1, 1024));
    app.add_option("--runtime", job.runtime, "Seconds at the most")->check(CLI::NonNegativeNumber);
    app.add_option("--ramp_time", job.ramp_time, "Seconds before that, which do not count")
        ->check(CLI::NonNegativeNumber);
    app.add_flag("--time_based", job.time_based, "Run for the whole runtime");
    app.add_option("--ioengine", job.engine, "Accepted; there is one way to the simulated drives");
    app.add_option("--direct", ignored, "Accepted; the simulated drives have no cache before them");
    app.add_option("--randrepeat", ignored, "Accepted; each drive has its own random numbers");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, app.exit(error)};
    }
    std::tie(job.pattern, job.direction) = kModes.at(mode);
    return {job, 0};
}

const char* mode_of(const Job& job) {
    for (const auto& [word, mode] : kModes)
        if (mode == Mode{job.pattern, job.direction}) return word.c_str();
    return "";
}

}  // namespace appliance::fio
