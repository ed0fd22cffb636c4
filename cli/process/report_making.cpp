#include "process/report_making.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <unistd.h>

#include "output/failure.h"
#include "output/text.h"
#include "process/activity.h"
#include "process/child_answer.h"
#include "ssd_op.h"

namespace cli {

namespace {

constexpr const char* kLock = "/run/ssd-op.export";
constexpr const char* kReports = "/tmp";
constexpr int kTries = 5;

/// What the process that writes the report tells about it.
struct Written {
    int result = -1;
    std::array<char, 512> path{};
};

Written write_report(int record_no, bool csv) {
    // The library then leaves no half report in /tmp.
    for (const int ending : {SIGINT, SIGHUP, SIGTERM}) ::signal(ending, SIG_IGN);
    Written written;
    const auto write = csv ? SSD_OP_Test_Export_CSV : SSD_OP_Test_Export_XLSX;
    written.result = write(record_no, written.path.data(), static_cast<int>(written.path.size()));
    return written;
}

/// The library writes a report in one call, so that a process of its own makes it while this one
/// shows that something goes on.
/// @return the report's path
std::string write_report_visibly(int record_no, bool csv) {
    const auto written =
        ask_child<Written>([&] { return write_report(record_no, csv); },
                           [](pid_t writer) { show_activity(writer, "Writing the report"); });
    if (!written || written->result != 0) {
        throw Failure(kFailed, fmt::format("The report of record {} cannot be written.", record_no),
                      "Is there room in /tmp? The appliance's trace log tells more.");
    }
    return written->path.data();
}

/// Files that get a name in the reports' directory from now on. The kernel makes one of two like
/// events in a row; what a file was called before, which each report has its own name for, keeps
/// two arrivals apart.
class Arrivals {
  public:
    Arrivals() : events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        if (!events_ ||
            ::inotify_add_watch(events_.get(), kReports, IN_MOVED_FROM | IN_MOVED_TO) < 0) {
            throw Failure(kFailed,
                          fmt::format("{} cannot be watched: {}.", kReports, std::strerror(errno)));
        }
    }

    /// Whether the name was given once, and none was missed.
    bool only_one(const std::string& name) const {
        alignas(inotify_event) std::array<char, size_t{1} << 14U> part{};
        int found = 0;
        for (;;) {
            const ssize_t size = ::read(events_.get(), part.data(), part.size());
            if (size < 0 && errno == EINTR) continue;
            if (size <= 0) return found == 1;
            for (const char* at = part.data(); at < part.data() + size;) {
                const auto* event = reinterpret_cast<const inotify_event*>(at);
                if ((event->mask & IN_Q_OVERFLOW) != 0) return false;
                if ((event->mask & IN_MOVED_TO) != 0 && name == event->name) ++found;
                at += sizeof *event + event->len;
            }
        }
    }

  private:
    Descriptor events_;
};

}  // namespace

ExportLock::ExportLock(const Interrupt& interrupt)
    : file_(::open(kLock, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600)) {
    while (::flock(file_.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            throw Failure(kFailed,
                          fmt::format("{} cannot be locked: {}.", kLock, std::strerror(errno)));
        }
        if (interrupt.happened()) throw Failure(kFailed, "The export was interrupted.");
    }
}

// The lock is also the writing child's, should this process be killed.
MadeReport make_report(int record_no, bool csv, const ExportLock& /*held*/,
                       const Interrupt& interrupt) {
    std::string path;
    for (int tries = 0; tries < kTries && !interrupt.happened(); ++tries) {
        const Arrivals arrivals;
        path = write_report_visibly(record_no, csv);
        // Opened before the arrivals are read: a file that came later is not the one that is open.
        Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        if (file && arrivals.only_one(std::filesystem::path(path).filename()))
            return {std::move(path), std::move(file)};
    }
    if (interrupt.happened()) throw Failure(kFailed, "The export was interrupted.");
    throw Failure(
        kFailed,
        fmt::format("Another program exports under the same name at the same time: {}.",
                    printable(path)),
        "Export again when that has ended. Records with one title share a report's name.");
}

MadeReport hold_report(const std::string& text) {
    MadeReport report{"", Descriptor(::memfd_create("report", MFD_CLOEXEC))};
    if (!report.file ||
        ::write(report.file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::lseek(report.file.get(), 0, SEEK_SET) != 0) {
        throw Failure(kFailed, fmt::format("The report cannot be held: {}.", std::strerror(errno)),
                      "Is memory short?");
    }
    return report;
}

}  // namespace cli
