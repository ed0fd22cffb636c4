#include <algorithm>
#include <cstdlib>
#include <string>

#include <sys/stat.h>
#include <sys/wait.h>

#include "base/command.h"
#include "base/text.h"
#include "evaluation/script/script.h"
#include "evaluation/script/script_files.h"
#include "event/event.h"
#include "platform/ini.h"
#include "platform/naslog.h"
#include "platform/storage.h"
#include "runtime/state_section.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "SSD_OP_Test_Start";
constexpr const char* kOverrides = "/root/KOVA_Number1";

const char* type_word(int test_type) {
    switch (test_type) {
        case SSD_OP_TEST_TYPE_RANDOM:
            return "random";
        case SSD_OP_TEST_TYPE_SEQUENTIAL:
            return "sequential";
        case SSD_OP_TEST_TYPE_ALL:
            return "all";
        default:
            return "";
    }
}

/// When the script gives a ratio up, and what a developer at the appliance may override.
struct Limits {
    uint64_t min_iops;
    int abort_time;

    void override_from(const char* file) {
        struct stat status {};
        if (::stat(file, &status) != 0) return;
        char text[64] = "";
        if (Ini_Conf_Get_Field(file, "Oprella", "min_iops", text, sizeof text) >= 0)
            min_iops = std::strtoull(std::string(base::field_text(text)).c_str(), nullptr, 0);
        Ini_Conf_Get_Field_Int(file, "Oprella", "abort_time", &abort_time, 0);
    }
};

std::string volume_name(int lv_id) {
    char name[64] = "";
    LV_Get_Name(lv_id, name, sizeof name);
    return std::string(base::field_text(name));
}

std::string log_prefix(const std::string& directory, std::string volume, const char* type) {
    std::replace(volume.begin(), volume.end(), '/', '_');
    return directory + "/util/log/" + volume + "_" + type + "_";
}

std::string script_line(const std::string& directory, const std::string& volume,
                        const ssd_op_test_param& request, const ssd_op_db_record& record,
                        const Limits& limits) {
    std::string line = "/bin/sh " + base::shell_word(directory + "/util/test-all.sh");
    const auto add = [&](const std::string& word) { line += " " + word; };
    add(base::shell_word(volume));
    add(base::shell_word(type_word(request.test_type)));
    add(std::to_string(request.min_op));
    add(std::to_string(request.max_op));
    add(std::to_string(request.interval));
    add(std::to_string(record.record_no));
    add(std::to_string(record.test_size) + "M");
    add(std::to_string(limits.min_iops));
    add(std::to_string(limits.abort_time));
    return line + " 0 &>/dev/null 2>>/dev/null";
}

/// How a script's run ended, from the wait status that system() returned.
struct Outcome {
    explicit Outcome(int status)
        : reason(status == -1 ? SSD_OP_STEP_FAILED : (status >> 8) & 0xFF),
          ok(status != -1 && !WIFSIGNALED(status) && reason == 0),
          // A script that a stop killed has already been reported.
          reported(reason != 0),
          word(status == -1 || WIFSIGNALED(status) || (WIFEXITED(status) && reason != 0) ? "failed"
                                                                                         : "OK") {}
    int reason;
    bool ok;
    bool reported;
    const char* word;
};

/// The ratio that the script was at; its last one when it did not say.
int ratio_given_up(const ssd_op_test_param& request, int record_no) {
    const int ratio = runtime::runtime_info(record_no).read(runtime::kCurrentRatio).value_or(-1);
    return ratio >= 0 ? ratio : request.max_op;
}

void report_failure(const ssd_op_test_param& request, const ssd_op_db_record& record, int reason) {
    ssd_op_event_step detail{reason, 0};
    if (reason == SSD_OP_STEP_SKIPPED)
        detail.percentage = ratio_given_up(request, record.record_no);
    event::write(nullptr, SSD_OP_EVENT_STEP_FAILED, &record.record_no, &detail);
}

}  // namespace

bool run_script(ssd_op_test_param& request, const ssd_op_db_record& record) {
    Limits limits{request.min_iops, request.abort_time};
    if (LV_Is_Exist(request.lv_id) == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [Device(%d)] Device doesn't exist.\n", kFunction,
                 request.lv_id);
        return false;
    }
    if (Is_BRIX_Installed("Oprella") == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [Device(%d)] SSD OP Test BRIX is not installed.\n", kFunction,
                 request.lv_id);
        return false;
    }
    const std::string directory(runtime::addon_directory().data());
    const std::string volume = volume_name(request.lv_id);
    const std::string prefix = log_prefix(directory, volume, type_word(request.test_type));
    if (prefix.size() >= sizeof request.log_prefix) {
        // Cut short it would name, and delete, files of others.
        SM_TRACE(SM_TRACE_ERROR, "%s: [Device(%d)] The log prefix is too long: %s\n", kFunction,
                 request.lv_id, prefix.c_str());
        return false;
    }
    base::copy_text(request.log_prefix, prefix);
    delete_script_files(prefix);
    SM_TRACE(SM_TRACE_INFO, "%s: [Device(%d)] test_size: %llu MB.\n", kFunction, request.lv_id,
             static_cast<unsigned long long>(record.test_size));
    limits.override_from(kOverrides);

    const std::string line = script_line(directory, volume, request, record, limits);
    const int status = base::run_and_wait(line);
    const Outcome outcome(status);
    SM_TRACE(SM_TRACE_INFO, "Perform cmd \"%s\" %s, cmd_rsp=%d, reason code:%d.\n", line.c_str(),
             outcome.word, status, outcome.reason);
    if (outcome.ok) return true;
    if (outcome.reported) report_failure(request, record, outcome.reason);
    return false;
}

}  // namespace ssd_op::evaluation
