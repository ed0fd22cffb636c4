/// services.sh and rsyncd.sh of a host: stop and start. The first stands for all units of systemd
/// that the settings name, so the second has nothing to do. Words after the first are ignored.

#include <cstdio>
#include <exception>
#include <string_view>

#include <fmt/format.h>

#include "core/failure.h"
#include "services/units.h"

namespace {

int run(std::string_view name, std::string_view action) {
    if (action != "start" && action != "stop")
        throw host::Failure("It is not said what to do.", "usage: services.sh start|stop");
    if (name.ends_with("rsyncd.sh")) return 0;
    if (action == "start")
        host::start_units(host::Roots());
    else
        host::stop_units(host::Roots());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc > 0 ? argv[0] : "", argc > 1 ? argv[1] : "");
    } catch (const host::Failure& failure) {
        fmt::print(stderr, "{} {}\n", failure.what(), failure.next_step());
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
    }
    return 1;
}
