/// Calls of the library whose world fails at one place after the other, until a run meets no fault
/// any more.
///
///     class Deletion : public support::SweepTest {};
///
///     TEST_F(Deletion, HoldsWhateverFails) {
///         sweep({.name = "deletion",
///                .call = [] { return SSD_OP_DB_Delete_Record(1); },
///                .scene = [&] { scene_.restore(); },
///                .check = [&](const Tried& tried) { ... }});
///     }
///
/// SWEEP_STEP=20, which is what it is when nobody says, tries every 20th place only, and of
/// allocations, which are many, still fewer, or every SWEEP_MEMORY_STEP-th. What fails, fails in
/// the library's own processes, not in the programs that they run.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/appliance.h"

namespace support {

enum class Fault {
    kMemory,      ///< an allocation of the library fails
    kFullDisk,    ///< a file cannot be made or written: ENOSPC
    kBrokenDisk,  ///< a file cannot be opened, read, written or removed: EIO
    kProcess,     ///< no process can be made: EAGAIN
    kPlatform     ///< a platform call, or a program of the appliance, fails with -1
};
enum class Lasting { kOnce, kFromThenOn };

/// How a call went.
struct Tried {
    int result;
    std::string failed;  ///< what failed while it ran; empty: nothing
    Fault fault = Fault::kMemory;
    Lasting lasting = Lasting::kOnce;
};

struct SweptCall {
    std::string name;
    std::function<int()> call;         ///< runs in a process of its own
    std::function<void()> scene = {};  ///< makes the same world each time
    /// What holds after a call. It is asked after the one that met a fault, and after the one that
    /// follows it and meets none.
    std::function<void(const Tried&)> check = {};
    std::function<bool(int)> has_succeeded = [](int result) { return result == 0; };
    std::set<Fault> faults = {Fault::kMemory, Fault::kFullDisk, Fault::kBrokenDisk, Fault::kProcess,
                              Fault::kPlatform};
    /// Of the places that SWEEP_STEP leaves, so many fewer; for a call that takes long.
    int one_in = 1;
    int memory_one_in = 12;  ///< allocations are many, and alike
    /// Ends the faults of the platform; for a scene that has some of its own.
    std::function<void()> heal = {};
};

/// What became of a call.
struct CallOutcome {
    bool met = false;        ///< the fault
    bool came_back = false;  ///< to its caller
    Tried tried;
    std::string left;  ///< in the calling process
};

/// The files of the library and of what it works for; those of the appliance's machinery are not
/// among them.
using FileNames = std::set<std::string>;
FileNames file_names();

/// Files as they were once.
class SavedFiles {
  public:
    /// All that the library keeps: database, runtime state, what lies in /tmp.
    static SavedFiles now();
    void restore() const;

  private:
    std::map<std::string, std::string> content_;
};

/// After each call with a fault: it came back, left no descriptor, lock or child in its process, no
/// process and no file behind; the database is whole; `check` holds; the call then works.
class SweepTest : public ApplianceTest {
  protected:
    void sweep(const SweptCall& swept);

  private:
    void learn(const SweptCall& swept);
    void sweep_one(const SweptCall& swept, Fault fault, Lasting lasting);
    CallOutcome call_with(const SweptCall& swept, Fault fault, Lasting lasting, int n);
    CallOutcome call_with_failing_platform(const SweptCall& swept, int n);
    void expect_to_hold(const SweptCall& swept, const Tried& tried, const FileNames& may_be_there);

    std::vector<CallUse> platform_calls_;
    FileNames after_one_, after_two_;
};

}  // namespace support
