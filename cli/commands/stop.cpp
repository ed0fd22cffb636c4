#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include "commands/commands.h"
#include "model/choice.h"
#include "model/leftover.h"
#include "model/snapshot.h"
#include "output/failure.h"
#include "output/text.h"
#include "process/child_answer.h"
#include "process/interrupt.h"
#include "process/requester.h"

namespace cli {

namespace {

constexpr int kNoGroup = -1;

struct Options {
    std::optional<int> record_no;
    bool all = false;
    bool failed = false;
    bool keep_storage = false;
    bool json = false;
};

std::string closing_text(const Snapshot& snapshot) {
    return as_called(
        fmt::format("Its process still takes the storage down; ssd-op watch {} waits for that.",
                    snapshot.record_no));
}

/// An evaluation that has ended is stopped once more for the sake of its storage alone.
bool removes_left_storage(const Snapshot& snapshot, const Options& options) {
    return snapshot.left_storage && !options.keep_storage && !options.failed;
}

Snapshot choose_one(int record_no, const Options& options) {
    Snapshot snapshot = take_snapshot(*require_record(record_no));
    if (is_running(snapshot.status) || removes_left_storage(snapshot, options)) return snapshot;
    std::string advice = "ssd-op status tells which are.";
    if (snapshot.is_closing()) advice = closing_text(snapshot);
    if (snapshot.left_storage && options.failed)
        advice = "It has left storage; without --failed, that is removed.";
    throw Failure(kRefused,
                  fmt::format("Evaluation {} is not running: it is {}.", snapshot.record_no,
                              status_word(snapshot.status)),
                  advice);
}

/// The evaluations to stop, as they are before.
std::vector<Snapshot> choose(const Options& options) {
    if (!options.all)
        return {choose_one(options.record_no ? *options.record_no : only_running(), options)};
    std::vector<Snapshot> chosen;
    for (const Record& record : load_records()) {
        Snapshot snapshot = take_snapshot(*record);
        if (is_running(snapshot.status) || removes_left_storage(snapshot, options))
            chosen.push_back(std::move(snapshot));
    }
    return chosen;
}

void announce(const Snapshot& snapshot) {
    if (snapshot.is_orphan())
        fmt::print("Evaluation {} had broken off: its process is gone.\n", snapshot.record_no);
    if (is_running(snapshot.status))
        fmt::print("Stopping evaluation {} ...\n", snapshot.record_no);
    else
        fmt::print("Removing the storage that evaluation {} left ...\n", snapshot.record_no);
    std::fflush(stdout);
}

Json to_json(const Snapshot& before, const Snapshot& after) {
    return {{"record", before.record_no},           {"was", status_word(before.status)},
            {"had_broken_off", before.is_orphan()}, {"status", status_word(after.status)},
            {"closing", after.is_closing()},        {"left_storage", after.left_storage}};
}

void report(const Snapshot& before, const Snapshot& after) {
    if (is_running(before.status)) {
        fmt::print("Evaluation {} {}. What it had measured is kept: {} {}\n", after.record_no,
                   after.status == SSD_OP_TEST_STATUS_STOPPED
                       ? "is stopped"
                       : "counts as " + status_word(after.status) + " now",
                   as_called("ssd-op show"), after.record_no);
    }
    if (after.is_closing())
        fmt::print("{}\n", closing_text(after));
    else if (after.left_storage)
        fmt::print("{}\n", left_storage_text(after));
    else if (!is_running(before.status))
        fmt::print("Its drives are free.\n");
}

/// A driver that is there removes the storage itself; two at once would fail each other's steps.
int removes_here(const Snapshot& before, const Options& options) {
    return options.keep_storage || before.driver == Driver::kLives ? 0 : 1;
}

int stop(int record_no, int removes, const Options& options) {
    const ssd_op_requester requester = this_user();
    const int type = options.failed ? SSD_OP_STOP_FAILED : SSD_OP_STOP_BY_USER;
    return NAS_SSD_OP_Test_Stop(&requester, 0, record_no, kNoGroup, removes, type);
}

/// All at once where they are to be ended alike: one after the other, the last would go on for
/// minutes.
int stop_running(const std::vector<Snapshot>& running, const Options& options) {
    const auto removes = [&](const Snapshot& each) { return removes_here(each, options); };
    const bool alike = std::all_of(running.begin(), running.end(), [&](const Snapshot& each) {
        return removes(each) == removes(running.front());
    });
    if (running.size() > 1 && alike)
        return stop(SSD_OP_ALL_RECORDS, removes(running.front()), options);
    int result = 0;
    for (const Snapshot& each : running) result |= stop(each.record_no, removes(each), options);
    return result;
}

int end(const std::vector<Snapshot>& chosen, const Options& options) {
    std::vector<Snapshot> running, ended;
    for (const Snapshot& each : chosen) (is_running(each.status) ? running : ended).push_back(each);
    int result = stop_running(running, options);
    for (const Snapshot& each : ended)
        result |= remove_left_storage(*require_record(each.record_no));
    return result;
}

/// How the process that stops has ended: with a result, or with a failure to pass on.
struct Ended {
    int result = -1;
    int failure = kDone;
    char what[512] = "";
    char advice[512] = "";

    Ended() = default;
    explicit Ended(int its_result) : result(its_result) {}
    explicit Ended(const Failure& its_failure) : failure(its_failure.code()) {
        std::snprintf(what, sizeof what, "%s", its_failure.what());
        std::snprintf(advice, sizeof advice, "%s", its_failure.advice().c_str());
    }
};

Ended end_or_tell_why_not(const std::vector<Snapshot>& chosen, const Options& options) {
    try {
        return Ended(end(chosen, options));
    } catch (const Failure& failure) {
        return Ended(failure);
    } catch (const std::exception& error) {
        return Ended(Failure(kFailed, fmt::format("The stop broke off: {}.", error.what()),
                             "It can be repeated."));
    }
}

/// A stop that is cut short leaves services stopped, so a process out of Ctrl-C's reach does it.
int end_undisturbed(const std::vector<Snapshot>& chosen, const Options& options) {
    const Interrupt interrupt;
    const auto ended = ask_child<Ended>(
        [&] {
            ::setsid();
            return end_or_tell_why_not(chosen, options);
        },
        [&](pid_t child) {
            bool told = false;
            while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
                if (interrupt.happened() && !std::exchange(told, true))
                    fmt::print(stderr, "The stop goes on to its end, within two minutes.\n");
            }
        });
    if (!ended) {
        throw Failure(kFailed, "The process that stops ended without an answer.",
                      "ssd-op status tells how far it came; the stop can be repeated.");
    }
    if (ended->failure != kDone)
        throw Failure(static_cast<ExitCode>(ended->failure), ended->what, ended->advice);
    return ended->result;
}

void run(const Options& options) {
    const std::vector<Snapshot> chosen = choose(options);
    if (chosen.empty() && !options.json) fmt::print("No evaluation is running.\n");
    if (!options.json) std::for_each(chosen.begin(), chosen.end(), announce);
    const int result = chosen.empty() ? 0 : end_undisturbed(chosen, options);

    Json list = Json::array();
    for (const Snapshot& before : chosen) {
        const Snapshot after = take_snapshot(*require_record(before.record_no));
        if (options.json)
            list.push_back(to_json(before, after));
        else
            report(before, after);
    }
    if (options.json) print_json(list);
    if (result != 0) {
        throw Failure(kFailed, "Not everything could be ended or removed.",
                      "ssd-op drives tells what is still in use, the appliance's trace log why.");
    }
}

}  // namespace

void add_stop_command(Arguments& app) {
    auto [command, options] =
        add_command(app, "stop", "End an evaluation; its results so far are kept", run);
    const Argument record =
        command.add("RECORD", options.record_no, "Its record; without it, the one that runs");
    command.flag("--all", options.all, "All that run, and what ended ones have left")
        .excludes(record);
    command.flag("--failed", options.failed, "Let it count as failed, not as stopped");
    command.flag("--keep-storage", options.keep_storage,
                 "Leave volume, pool and groups to the evaluation's own process, which removes "
                 "them as it ends; where that process is gone, they stay until the next stop");
    add_json_flag(command, options.json);
    command.footer(
        "Also gives drives and services back that an evaluation holds whose process is gone, "
        "killed\n"
        "or cut off by a power failure, and storage that a stop has left. Returns when all is "
        "quiet, within two minutes; "
        "Ctrl-C does not cut it short.\n"
        "\n"
        "Example:\n"
        "  ssd-op stop 3");
}

}  // namespace cli
