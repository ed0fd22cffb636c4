#include "enrolment/enrolment.h"

#include <array>
#include <ctime>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"
#include "drives/health.h"
#include "enrolment/expected_writes.h"

namespace host {

namespace {

std::string now_text() {
    std::array<char, 32> text{};
    const time_t now = std::time(nullptr);
    tm parts{};
    if (::localtime_r(&now, &parts) == nullptr) return {};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string written_text(const Health& health) {
    if (!health.problem.empty()) return "not known: " + health.problem;
    if (!health.written_bytes) return "not told by the drive";
    const std::string worn = health.wear_percent
                                 ? fmt::format(", {} % of its endurance used", *health.wear_percent)
                                 : "";
    return size_text(static_cast<double>(*health.written_bytes)) + worn;
}

std::string expected_text(const Drive& drive, const Health& health) {
    const auto least = static_cast<double>(least_writes(drive.bytes, kUsualRatios));
    const auto rated = rated_writes(health);
    return fmt::format("at least {} in an evaluation at 0, 10, 20, 30 and 40 % ({})",
                       size_text(least),
                       rated ? fmt::format("about {:.2g} % of its endurance", least / *rated * 100)
                             : "what share of its endurance that is, the drive does not tell");
}

std::string summary_of(const Roots& roots, const Drive& drive,
                       const std::vector<std::string>& content) {
    const Health health = read_health(roots, drive);
    return fmt::format(
        "Model            {}\n"
        "Serial number    {}\n"
        "Size             {}\n"
        "Device           {} ({})\n"
        "On it            {}\n"
        "Written so far   {}\n"
        "Will be written  {}\n",
        printable(drive.identity.model), drive.identity.serial,
        size_text(static_cast<double>(drive.bytes)), drive.device(roots),
        printable(drive.place.path),
        content.empty() ? "nothing" : fmt::format("{}", fmt::join(content, ", ")),
        written_text(health), expected_text(drive, health));
}

}  // namespace

std::string list_of(const std::vector<Reason>& reasons) {
    std::string lines;
    for (const Reason& reason : reasons)
        lines += fmt::format("  - {}. {}\n", reason.text, reason.next_step);
    return lines;
}

void enroll(const Roots& roots, const Enrolment& enrolment, const AskForSerial& ask) {
    const Drive drive = drive_with_serial(roots, enrolment.serial);
    const Examination examination = examine(roots, drive, enrolment.wish);
    if (!examination.passed()) {
        throw Failure(fmt::format("The drive {} is refused:\n{}", drive.identity.serial,
                                  list_of(examination.reasons)),
                      "Nothing was written to it.");
    }
    const std::string typed = enrolment.yes_erase.empty()
                                  ? ask(summary_of(roots, drive, examination.content))
                                  : enrolment.yes_erase;
    if (typed != drive.identity.serial) {
        throw Failure(fmt::format("That is not the serial number {}: the drive is not enrolled.",
                                  drive.identity.serial),
                      "Nothing was written to it.");
    }
    examination.held->check();  // a person may take hours to type
    const bool wipe = enrolment.wish.wipe && !examination.content.empty();
    store_enrolled(roots, {drive.identity.serial, drive.identity.wwn, drive.identity.model,
                           drive.bytes, wipe, now_text()});
}

}  // namespace host
