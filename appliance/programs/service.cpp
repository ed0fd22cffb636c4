/// services.sh start|stop and rsyncd.sh start|stop: the appliance's file services. One source,
/// built once for each. Any words after the first are ignored.

#include <cstring>
#include <stdexcept>

#include "core/pause.h"
#include "core/query.h"
#include "programs/program.h"

namespace {

/// Connections are closed and caches written: it takes a while.
constexpr double kSeconds = 2.0;

int set_running(bool running) {
    appliance::pause_for(kSeconds);
    appliance::change("INSERT OR REPLACE INTO service(name, running) VALUES(?, ?)", SERVICE_NAME,
                      running ? 1 : 0);
    fmt::print("{} {}.\n", running ? "Started" : "Stopped", SERVICE_NAME);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    return appliance::run_program(SERVICE_NAME ".sh", argc, argv, [&] {
        const char* const action = argc > 1 ? argv[1] : "";
        if (std::strcmp(action, "start") == 0) return set_running(true);
        if (std::strcmp(action, "stop") == 0) return set_running(false);
        throw std::runtime_error("usage: " SERVICE_NAME ".sh start|stop");
    });
}
