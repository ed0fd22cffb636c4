#include "support/fault_loop.h"

#include <map>
#include <set>

namespace support {

namespace {

/// What the body uses, without what the scene took.
std::set<std::string> names_in_body(Appliance& appliance, const FaultLoop& loop) {
    loop.before();
    auto before = appliance.journal().counts();
    loop.body();
    std::set<std::string> names;
    for (const auto& [name, count] : appliance.journal().counts()) {
        if (count > before[name]) names.insert(name);
    }
    loop.after("nothing");
    return names;
}

}  // namespace

int fail_at_every_call(Appliance& appliance, int most, const FaultLoop& loop) {
    int met = 0;
    for (const std::string& name : names_in_body(appliance, loop)) {
        for (int use = 1; use <= most; ++use) {
            loop.before();
            const int uses_before = appliance.journal().count(name);
            appliance.failing(name, Nth(use), -1);
            loop.body();
            const bool was_met = appliance.journal().count(name) - uses_before >= use;
            appliance.healthy();
            if (!was_met) break;
            ++met;
            loop.after(name + ", use " + std::to_string(use));
        }
    }
    return met;
}

}  // namespace support
