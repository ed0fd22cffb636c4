#include <algorithm>
#include <sstream>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/appliance.h"

namespace support {

ApplianceTest::ApplianceTest() {
    for (const ProcessInfo& process : processes()) there_before_.insert(process.pid);
}

ApplianceTest::~ApplianceTest() {
    // What was started in the background and is about to end may do so.
    if (eventually([&] { return what_runs().empty(); })) return;
    std::ostringstream left;
    for (const ProcessInfo& process : what_runs()) left << "\n  " << process;
    ADD_FAILURE() << "the test left processes running:" << left.str();
    end_what_runs();
}

/// Started by a process that was there before. Orphans of the test hang on process 1.
bool ApplianceTest::is_the_appliances_own(const ProcessInfo& process) const {
    return process.parent != ::getpid() && process.parent != 1 &&
           there_before_.contains(process.parent);
}

std::vector<ProcessInfo> ApplianceTest::what_runs() const {
    std::vector<ProcessInfo> found = processes();
    std::erase_if(found, [&](const ProcessInfo& process) {
        if (process.parent == ::getpid() && process.state == 'Z')
            ::waitpid(process.pid, nullptr, WNOHANG);  // a forked driver is its caller's to reap
        return process.state == 'Z' || there_before_.contains(process.pid) ||
               is_the_appliances_own(process);
    });
    return found;
}

void ApplianceTest::end_what_runs() {
    eventually([&] {
        const std::vector<ProcessInfo> left = what_runs();
        for (const ProcessInfo& process : left) ::kill(process.pid, SIGKILL);
        return left.empty();
    });
}

}  // namespace support
