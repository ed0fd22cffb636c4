/// The test scripts' helper: each step of a measurement that needs the library or the platform is
/// one sub-command. The volume's name is an argument of all that can take long, because a stop
/// finds the processes of a test by it.

#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>

#include <fmt/format.h>

#include "addon/drive_reading.h"
#include "addon/progress.h"
#include "platform/storage.h"
#include "shared/command_line.h"
#include "shared/rehearsal.h"
#include "shared/steadiness.h"
#include "ssd_op.h"

namespace appliance::addon {

namespace {

using ssd_op::shared::Arguments;

enum ExitCode {
    kOk = 0,
    kFailed = 1,
    kBadArguments = 2,
    kNotTesting = 3,    // the record is no longer testing: it was stopped
    kUnreachable = 254  // the ratio cannot be set
};

bool is_testing(int record_no) {
    int status = SSD_OP_TEST_STATUS_NEW;
    SSD_OP_Test_Get_Status(record_no, &status);
    return status == SSD_OP_TEST_STATUS_TESTING;
}

int set_op(int record_no, const std::string& volume, int ratio) {
    const int result = SSD_OP_Test_Block_Discard_Device(record_no, volume.c_str(), ratio);
    if (!is_testing(record_no)) return kNotTesting;
    uint64_t sectors = 0;
    if (result != 0 || LV_Get_Size(LV_Get_Id(volume.c_str()), &sectors) != 0) {
        // With a drive gone no ratio can be set, and that is not the ratio's fault.
        return are_drives_there(record_no) ? kUnreachable : kFailed;
    }
    fmt::print("{}\n", sectors >> 11);
    return kOk;
}

/// Sums that lack a drive are no counters: then it fails, and the temperature alone counts.
int sample(int record_no, uint64_t time_ms, const std::string& file) {
    const auto reading = read_drives(record_no);
    if (!reading) return kFailed;
    SSD_OP_Test_Record_SSD_Info(record_no, time_ms, file.c_str());
    fmt::print("{} {} {}\n", reading->host_written_kib, reading->flash_written_kib,
               reading->hottest);
    return reading->all_answered ? kOk : kFailed;
}

int progress(int record_no, const std::string& volume, const Status& status,
             const ProgressKeys& keys) {
    const bool written = publish(record_no, volume, status, keys);
    if (!is_testing(record_no)) return kNotTesting;
    return written ? kOk : kFailed;
}

/// The new lines of the runtime report, and all of the ratio's temperatures in place of those that
/// are stored already. Fails when the lines are not stored: then they can be given again.
int store(int record_no, int ratio, const std::string& lines, const std::string& temperatures) {
    SSD_OP_DB_Update_SSD_Runtime_Data(record_no, ratio, temperatures.c_str());
    return SSD_OP_DB_Update_Runtime_Report(record_no, ratio, lines.c_str(), 0) == 0 ? kOk : kFailed;
}

bool is_rehearsal(int record_no) {
    const std::unique_ptr<ssd_op_db_record, FreeRecord> record = load_record(record_no);
    return record && ssd_op::shared::is_rehearsal(record->title);
}

/// What the command line asks for; a sub-command uses the part that it declares.
struct Request {
    int record_no = 0;
    std::string volume;
    int ratio = 0;
    uint64_t time_ms = 0;
    std::string file;
    std::string temperatures;
    std::array<double, 2> results{};
    int reason_code = 0;
    ProgressKeys keys;
    Status status;
    std::array<double, 5> rounds{};
    std::function<int()> action;
};

Arguments add_command(Arguments& app, Request& request, const char* name, const char* description,
                      std::function<int()> action) {
    Arguments command = app.subcommand(name, description);
    command.add("record", request.record_no, "Record number").required().positive();
    command.add("volume", request.volume, "Test volume, for example /dev/mapper/lv1568").required();
    command.callback([&request, action = std::move(action)] { request.action = action; });
    return command;
}

void add_measuring_commands(Arguments& app, Request& request) {
    Arguments set =
        add_command(app, request, "set-op", "Set an OP ratio; prints the volume's size in MiB",
                    [&] { return set_op(request.record_no, request.volume, request.ratio); });
    set.add("ratio", request.ratio, "Percent to leave free").required().between(0, 100);

    Arguments take =
        add_command(app, request, "sample",
                    "Append the drives' temperatures to a file; prints KiB written by the "
                    "host, KiB written to the flash, highest temperature; fails when a drive is "
                    "not in these",
                    [&] { return sample(request.record_no, request.time_ms, request.file); });
    take.add("time", request.time_ms, "Milliseconds since the ratio's start").required();
    take.add("file", request.file, "Temperature file").required();

    add_command(app, request, "is-rehearsal",
                "Exit status 0 when the rounds are to be short, else 1",
                [&] { return is_rehearsal(request.record_no) ? kOk : kFailed; });

    Arguments steady =
        app.subcommand("steady", "Exit status 0 when five rounds are steady, else 1");
    steady.add("iops", request.rounds, "IOPS of five rounds, the oldest first").required();
    steady.callback([&] {
        request.action = [&] { return ssd_op::shared::is_steady(request.rounds) ? kOk : kFailed; };
    });
}

void add_storing_commands(Arguments& app, Request& request) {
    Arguments report =
        add_command(app, request, "import-report", "Import a ratio's runtime report", [&] {
            return SSD_OP_DB_Update_Runtime_Report(request.record_no, request.ratio,
                                                   request.file.c_str(), request.reason_code) == 0
                       ? kOk
                       : kFailed;
        });
    Arguments observed = add_command(
        app, request, "store", "Store new lines of a ratio's report, and its temperatures", [&] {
            return store(request.record_no, request.ratio, request.file, request.temperatures);
        });
    Arguments result =
        add_command(app, request, "store-result", "Store a ratio's two results", [&] {
            return SSD_OP_DB_Update_Test_Result(request.record_no, request.ratio,
                                                request.results[0], request.results[1]) == 0
                       ? kOk
                       : kFailed;
        });
    for (Arguments command : {report, observed, result})
        command.add("ratio", request.ratio, "OP ratio, percent").required();
    for (Arguments command : {report, observed})
        command.add("file", request.file, "File with lines of the report").required();
    report.add("reason", request.reason_code, "0, or 254: the ratio is skipped");
    observed.add("temperatures", request.temperatures, "Temperature file").required();
    result.add("results", request.results, "Write amplification, IOPS").required();
}

void add_progress_commands(Arguments& app, Request& request) {
    Arguments show = add_command(
        app, request, "progress", "Publish progress; exit status 3 when the test was stopped",
        [&] { return progress(request.record_no, request.volume, request.status, request.keys); });
    show.add("--ratio", request.keys.percentage, "Ratio; -1 for the initial fill");
    show.add("--steps", request.keys.total_step, "Steps of a ratio");
    show.add("--step", request.keys.running_step, "Step running now, from 1");
    show.add("--start", request.keys.start_time, "Ratio's start, seconds since the epoch");
    show.add("--script-progress", request.keys.script_progress,
             "Percent of the script done before this ratio");
    show.add("--percent", request.status.percent, "Progress of the ratio");
    show.add("--eta", request.status.eta_seconds, "Seconds left for the ratio");
    show.add("--written", request.status.written_kib, "KiB written since its start");
    show.add("--iops", request.status.iops, "Rate of the latest step");
    request.keys.detail = 1;

    add_command(app, request, "finish", "Publish that the script is done",
                [&] { return publish_end(request.record_no) ? kOk : kFailed; });
}

int run(int argc, char** argv) {
    Arguments app("Helper of the over-provisioning test scripts", "disk_opr_util");
    app.require_one_subcommand();
    Request request;
    add_measuring_commands(app, request);
    add_storing_commands(app, request);
    add_progress_commands(app, request);
    if (const auto code = app.parse(argc, argv)) return *code == 0 ? kOk : kBadArguments;
    return request.action();
}

}  // namespace

}  // namespace appliance::addon

int main(int argc, char** argv) {
    try {
        return appliance::addon::run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "disk_opr_util: %s\n", error.what());
        return appliance::addon::kFailed;
    }
}
