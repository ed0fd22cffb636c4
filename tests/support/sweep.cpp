#include "support/sweep.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/text.h"
#include "core/state.h"
#include "support/allocations.h"
#include "support/traced.h"

namespace support {

namespace {

namespace fs = std::filesystem;

/// Who has seen so many knows that there is something to mend.
constexpr int kMostThatDoNotHold = 10;

constexpr const char* kRoots[] = {"/share", "/mnt/HDA_ROOT", "/tmp", "/etc", "/root"};

int number_of(const char* variable, int otherwise) {
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : std::max(std::atoi(text), 1);
}

int step_of(const SweptCall& swept, Fault fault) {
    const int step = number_of("SWEEP_STEP", 20);
    return fault == Fault::kMemory ? number_of("SWEEP_MEMORY_STEP", swept.memory_one_in * step)
                                   : swept.one_in * step;
}

/// What the process that calls and the one that watches it both see.
struct Shared {
    AllocationCount allocations;
    bool came_back;
    int result;
    char left[1024];  ///< what is still there in the calling process that was not there before
};

class SharedMemory {
  public:
    SharedMemory()
        : place_(::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        -1, 0)) {
        if (place_ == MAP_FAILED) throw std::runtime_error("no shared memory");
    }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;
    ~SharedMemory() { ::munmap(place_, sizeof(Shared)); }
    Shared* operator->() const { return static_cast<Shared*>(place_); }

  private:
    void* place_;
};

bool is_the_appliances_own(const std::string& path) {
    return path.find("/var/lib/appliance/") != std::string::npos ||
           path.find("/dev/shm/") != std::string::npos;
}

/// Open files of this process, locks among them.
std::set<std::string> descriptors() {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string path = fs::read_symlink(entry.path(), gone);
        if (gone || is_the_appliances_own(path) || path.ends_with("/fd")) continue;
        found.insert(entry.path().filename().string() + " " + path);
    }
    return found;
}

std::string what_is_left(const std::set<std::string>& descriptors_before) {
    std::string left;
    for (const std::string& descriptor : descriptors()) {
        if (!descriptors_before.contains(descriptor)) left += "descriptor " + descriptor + "\n";
    }
    if (::waitpid(-1, nullptr, WNOHANG) >= 0) left += "a child\n";
    return left;
}

/// The body of the process that calls.
void call_and_tell(const SweptCall& swept, const SharedMemory& shared) {
    const auto before = descriptors();
    count_allocations(&shared->allocations);
    shared->result = swept.call();
    count_allocations(nullptr);
    shared->came_back = true;
    ssd_op::base::copy_text(shared->left, what_is_left(before));
}

CallOutcome outcome_of(const SharedMemory& shared, bool met, const std::string& failed) {
    return {met, shared->came_back, {.result = shared->result, .failed = failed}, shared->left};
}

CallOutcome call_in_child(const SweptCall& swept, const std::string& failed, int allocation = 0,
                          Lasting lasting = Lasting::kOnce) {
    SharedMemory shared;
    shared->allocations.failing = allocation;
    shared->allocations.from_then_on = lasting == Lasting::kFromThenOn;
    Child child([&] {
        call_and_tell(swept, shared);
        ::_exit(0);
        return 0;
    });
    const Ending ending = child.wait();
    if (!(ending == exited(0))) shared->came_back = false;
    return outcome_of(shared, shared->allocations.made >= allocation, failed);
}

/// Not of a program that the library runs.
bool is_of_a_test(pid_t process) {
    std::error_code gone;
    return fs::read_symlink("/proc/" + std::to_string(process) + "/exe", gone) ==
           fs::read_symlink("/proc/self/exe");
}

bool is_the_librarys(const std::string& path) {
    return path.starts_with("/share/") || path.starts_with("/mnt/HDA_ROOT/") ||
           path.starts_with("/tmp/");
}

/// The error that a call gives when its kind of fault is there; 0: it is not touched by it.
int error_of(Fault fault, const SystemCall& call) {
    using Kind = SystemCall::Kind;
    if (fault == Fault::kProcess) return call.kind == Kind::kProcess ? EAGAIN : 0;
    if (!is_the_librarys(call.path)) return 0;
    const bool writes = call.kind == Kind::kCreate || call.kind == Kind::kMakeDirectory ||
                        call.kind == Kind::kWrite || call.kind == Kind::kSync ||
                        call.kind == Kind::kRename;
    if (fault == Fault::kFullDisk) return writes ? ENOSPC : 0;
    const bool reads = call.kind == Kind::kOpen || call.kind == Kind::kRead;
    // A working file that cannot be removed stays, of course.
    const bool removes = call.kind == Kind::kRemove && call.path.ends_with("-journal");
    return writes || reads || removes ? EIO : 0;
}

CallOutcome call_with_failing_system_call(const SweptCall& swept, Fault fault, Lasting lasting,
                                          int n) {
    SharedMemory shared;
    std::string failed;
    int met = 0;
    Traced child([&] { call_and_tell(swept, shared); });
    while (const auto call = child.next()) {
        const int error = error_of(fault, *call);
        // What the process does after the call is not the library's.
        if (error == 0 || shared->came_back || !is_of_a_test(call->process)) continue;
        ++met;
        if (lasting == Lasting::kOnce ? met != n : met < n) continue;
        if (met == n) failed = call->path;
        child.fail(call->process, error);
    }
    if (!child.came_through()) shared->came_back = false;
    return outcome_of(shared, met >= n, failed);
}

const char* name_of(Fault fault) {
    switch (fault) {
        case Fault::kMemory:
            return "memory";
        case Fault::kFullDisk:
            return "full disk";
        case Fault::kBrokenDisk:
            return "broken disk";
        case Fault::kProcess:
            return "processes";
        case Fault::kPlatform:
            return "platform calls";
    }
    return "";
}

std::string integrity_of(const std::string& database) {
    if (database.empty() || fs::file_size(database) == 0) return "ok";
    try {
        // What a killed or failed call left in a journal is played back first.
        SQLite::Database opened(database, SQLite::OPEN_READWRITE, 10'000);
        return opened.execAndGet("PRAGMA integrity_check").getString();
    } catch (const SQLite::Exception& error) {
        return error.what();
    }
}

/// A lock that the platform does not give back is not the library's to lose, and a platform that
/// does not tell of the volume sends the database to its other place.
bool is_no_fault_of_the_librarys(const std::string& name) {
    return name == "Ini_Conf_Unlock_File" || name == "Volume_Is_Mount" ||
           name == "Check_Default_Share_in_All_Vol";
}

int failures_so_far() {
    return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

}  // namespace

FileNames file_names() {
    const std::string program = fs::read_symlink("/proc/self/exe");
    FileNames names;
    for (const char* root : kRoots) {
        for (fs::recursive_directory_iterator at(root), end; at != end; ++at) {
            if (!at->is_directory())
                names.insert(at->path());
            else if (program.starts_with(at->path().string() + '/'))
                at.disable_recursion_pending();  // a repository in /tmp
        }
    }
    return names;
}

SavedFiles SavedFiles::now() {
    SavedFiles saved;
    for (const std::string& name : file_names()) {
        if (fs::is_regular_file(fs::symlink_status(name)))
            saved.content_.emplace(name, read_file(name));
    }
    return saved;
}

void SavedFiles::restore() const {
    for (const std::string& name : file_names()) {
        if (!fs::is_symlink(name) && !content_.contains(name)) fs::remove(name);
    }
    for (const auto& [name, content] : content_) {
        if (read_file(name) != content) write_file(name, content);
    }
}

void SweepTest::learn(const SweptCall& swept) {
    const FileNames before = file_names();
    const auto uses_before = appliance().journal().counts();
    for (FileNames* after : {&after_one_, &after_two_}) {
        const CallOutcome outcome = call_in_child(swept, "");
        ASSERT_TRUE(outcome.came_back);
        ASSERT_TRUE(swept.has_succeeded(outcome.tried.result)) << outcome.tried.result;
        ASSERT_EQ(outcome.left, "");
        if (after == &after_one_) {
            platform_calls_.clear();
            for (const auto& [name, count] : appliance().journal().counts()) {
                const auto found = uses_before.find(name);
                const int more = count - (found == uses_before.end() ? 0 : found->second);
                if (is_no_fault_of_the_librarys(name)) continue;
                for (int use = 1; use <= more; ++use) platform_calls_.push_back({name, use});
            }
        }
        swept.check(outcome.tried);
        *after = file_names();
        after->insert(before.begin(), before.end());
    }
    after_two_.insert(after_one_.begin(), after_one_.end());
}

void SweepTest::expect_to_hold(const SweptCall& swept, const Tried& tried,
                               const FileNames& may_be_there) {
    EXPECT_TRUE(eventually([&] { return what_runs().empty(); })) << "it left processes";
    EXPECT_EQ(integrity_of(appliance().database()), "ok");
    for (const std::string& name : file_names()) {
        // The next that opens the database plays its journal back. The next evaluation removes the
        // files of a script, which takes memory.
        const bool is_for_the_next =
            !tried.failed.empty() &&
            (name.ends_with("-journal") || (tried.lasting == Lasting::kFromThenOn &&
                                            name.find("/util/log/") != std::string::npos));
        EXPECT_TRUE(is_for_the_next || may_be_there.contains(name)) << "it left " << name;
    }
    swept.check(tried);
}

void SweepTest::sweep_one(const SweptCall& swept, Fault fault, Lasting lasting) {
    int tried = 0;
    int held = 0;
    for (int n = 1;; n += step_of(swept, fault)) {
        swept.scene();
        CallOutcome outcome = call_with(swept, fault, lasting, n);
        if (!outcome.met) break;
        outcome.tried.fault = fault;
        outcome.tried.lasting = lasting;
        ++tried;
        const int failures = failures_so_far();
        SCOPED_TRACE(swept.name + ", " + name_of(fault) +
                     (lasting == Lasting::kOnce ? ", once" : ", from then on") + ", place " +
                     std::to_string(n) + ": " + outcome.tried.failed);
        EXPECT_TRUE(outcome.came_back) << "it ended the calling process";
        EXPECT_EQ(outcome.left, "");
        expect_to_hold(swept, outcome.tried, after_one_);
        const CallOutcome again = call_in_child(swept, "");
        EXPECT_TRUE(again.came_back && swept.has_succeeded(again.tried.result))
            << "it does not work afterwards: " << again.tried.result;
        expect_to_hold(swept, again.tried, after_two_);
        if (failures_so_far() == failures) ++held;
        if (tried - held >= kMostThatDoNotHold) break;
    }
    std::printf("sweep: %s | %s | %s | %d tried | %d held\n", swept.name.c_str(), name_of(fault),
                lasting == Lasting::kOnce ? "once" : "from then on", tried, held);
    std::fflush(stdout);
}

CallOutcome SweepTest::call_with(const SweptCall& swept, Fault fault, Lasting lasting, int n) {
    switch (fault) {
        case Fault::kMemory:
            return call_in_child(swept, "an allocation", n, lasting);
        case Fault::kPlatform:
            return call_with_failing_platform(swept, n);
        default:
            return call_with_failing_system_call(swept, fault, lasting, n);
    }
}

CallOutcome SweepTest::call_with_failing_platform(const SweptCall& swept, int n) {
    if (n > static_cast<int>(platform_calls_.size())) return {};
    const CallUse& use = platform_calls_[static_cast<size_t>(n) - 1];
    appliance().failing(use.name, Nth(use.nth), -1);
    CallOutcome outcome = call_in_child(swept, use.name + ", use " + std::to_string(use.nth));
    if (swept.heal)
        swept.heal();
    else
        appliance().healthy();
    return outcome;
}

void SweepTest::sweep(const SweptCall& swept) {
    swept.scene();
    learn(swept);
    if (HasFatalFailure()) return;
    for (const Fault fault : swept.faults) {
        if (fault == Fault::kMemory && !allocations_can_be_counted()) continue;
        sweep_one(swept, fault, Lasting::kOnce);
        if (fault != Fault::kPlatform) sweep_one(swept, fault, Lasting::kFromThenOn);
    }
}

}  // namespace support
