#include "core/call.h"

#include <optional>

#include <signal.h>
#include <time.h>
#include <unistd.h>

#include "core/state.h"

namespace appliance {

namespace {

double now() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

const char* name_of(FaultKind kind) {
    switch (kind) {
        case FaultKind::kReturn:
            return "return";
        case FaultKind::kSlow:
            return "slow";
        case FaultKind::kHold:
            return "hold";
        case FaultKind::kKill:
            return "kill";
        case FaultKind::kKillAfter:
            return "kill after";
    }
    return "";
}

FaultKind kind_of(const std::string& name) {
    for (const FaultKind kind :
         {FaultKind::kSlow, FaultKind::kHold, FaultKind::kKill, FaultKind::kKillAfter}) {
        if (name == name_of(kind)) return kind;
    }
    return FaultKind::kReturn;
}

struct Fault {
    FaultKind kind;
    int64_t value;
    int64_t number;
};

bool is_set(const Fault& fault) {
    SQLite::Statement query(state(), "SELECT 1 FROM fault WHERE fault_no = ?");
    query.bind(1, fault.number);
    return query.executeStep();
}

void sleep_for(int64_t milliseconds) {
    const timespec pause{milliseconds / 1000, (milliseconds % 1000) * 1'000'000};
    ::nanosleep(&pause, nullptr);
}

/// Counts one more use of `name` and returns the fault that is set for it, if any: `nth` counts
/// uses from 1 since the fault was set; 0 means every use.
std::optional<Fault> next_fault(const std::string& name) {
    // Most instances have no fault set; only a name that has one is counted.
    SQLite::Statement any(state(), "SELECT 1 FROM fault WHERE name = ? LIMIT 1");
    any.bind(1, name);
    if (!any.executeStep()) return std::nullopt;
    any.reset();
    return exclusively([&]() -> std::optional<Fault> {
        SQLite::Statement count(
            state(),
            "INSERT INTO call_count(name, count) VALUES(?, 1) "
            "ON CONFLICT(name) DO UPDATE SET count = count + 1 RETURNING count");
        count.bind(1, name);
        count.executeStep();
        const int64_t use = count.getColumn(0).getInt64();
        count.reset();
        SQLite::Statement fault(
            state(),
            "SELECT kind, value, fault_no FROM fault WHERE name = ? AND nth IN (0, ?) "
            "ORDER BY nth DESC LIMIT 1");
        fault.bind(1, name);
        fault.bind(2, use);
        if (!fault.executeStep()) return std::nullopt;
        return Fault{kind_of(fault.getColumn(0).getString()), fault.getColumn(1).getInt64(),
                     fault.getColumn(2).getInt64()};
    });
}

/// Acts on a slow, a holding or a killing fault; returns the value of a returning one.
std::optional<int64_t> suffer(const std::optional<Fault>& fault) {
    if (!fault) return std::nullopt;
    switch (fault->kind) {
        case FaultKind::kReturn:
            return fault->value;
        case FaultKind::kSlow:
            sleep_for(fault->value);
            break;
        case FaultKind::kHold:
            while (is_set(*fault)) sleep_for(1000);
            break;
        case FaultKind::kKill:
            ::kill(::getpid(), SIGKILL);
            break;
        case FaultKind::kKillAfter:
            break;
    }
    return std::nullopt;
}

}  // namespace

void set_fault(const std::string& name, int nth, FaultKind kind, int64_t value) {
    exclusively([&] {
        SQLite::Statement reset(state(), "DELETE FROM call_count WHERE name = ?");
        reset.bind(1, name);
        reset.exec();
        SQLite::Statement insert(state(),
                                 "INSERT INTO fault(name, nth, kind, value) VALUES(?, ?, ?, ?)");
        insert.bind(1, name);
        insert.bind(2, nth);
        insert.bind(3, name_of(kind));
        insert.bind(4, value);
        return insert.exec();
    });
}

void clear_faults() { state().exec("DELETE FROM fault; DELETE FROM call_count"); }

void journal(const std::string& name, const std::string& arguments, const std::string& result) {
    SQLite::Statement insert(
        state(), "INSERT INTO journal(time, pid, name, arguments, result) VALUES(?, ?, ?, ?, ?)");
    insert.bind(1, now());
    insert.bind(2, ::getpid());
    insert.bind(3, name);
    insert.bind(4, arguments);
    insert.bind(5, result);
    insert.exec();
}

}  // namespace appliance

provider::Interference provider::before_call(const std::string& name) {
    const auto fault = appliance::next_fault(name);
    return {appliance::suffer(fault), fault && fault->kind == appliance::FaultKind::kKillAfter};
}

void provider::after_call(const std::string& name, const std::string& arguments,
                          const std::string& result, const Interference& interference) {
    appliance::journal(name, arguments, result);
    if (interference.kills_afterwards) ::kill(::getpid(), SIGKILL);
}

void provider::tell_failure(const char* name, const std::string& arguments,
                            const std::exception& error) noexcept {
    try {
        appliance::journal(name, arguments, error.what());
    } catch (const std::exception&) {
        // Nothing is left that could take the message.
    }
}
