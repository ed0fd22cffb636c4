/// The appliance that a test runs in: its making, its faults, and what can be seen of it
/// afterwards.
///
///     class Evaluation : public support::ApplianceTest {};
///
///     TEST_F(Evaluation, SurvivesARemovalThatFailsOnce) {
///         auto& nas = appliance().with_drives(4).failing("NAS_Pool_Remove", Nth(1), -1);
///         ...
///         EXPECT_TRUE(nas.journal().shows("NAS_Pool_Remove", Times(2))) << nas.journal();
///         EXPECT_TRUE(nas.pools().empty());
///     }
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/blueprint.h"
#include "support/files.h"
#include "support/journal.h"
#include "support/process.h"

namespace support {

struct Event {
    int type;
    std::string user, address, computer, description;
};

struct Notice {
    std::string way;  ///< "notification" or "log engine"
    std::string message_id;
    int severity;
    std::string title, message, detail;
};

struct Upload {
    std::string action, product, test, event;
};

struct Trace {
    int pid;
    int level;
    std::string text;
};

/// Rows of a query; every value as text, NULL as "NULL".
using Row = std::vector<std::string>;
using Rows = std::vector<Row>;

enum class When { kBefore, kAfter };  ///< of the call's work

class Appliance {
  public:
    Appliance();
    Appliance(const Appliance&) = delete;
    Appliance& operator=(const Appliance&) = delete;

    // Making: each of these starts with a new appliance; faults and settings of this test stay.
    Appliance& with(const std::function<void(appliance::Blueprint&)>& change);
    Appliance& with_drives(int count);
    /// As it was when the test began, after the same blueprint: no faults, no journal, no records.
    Appliance& renew();

    // Faults, by the name of a platform call or of a program.
    Appliance& failing(const std::string& name, Nth nth, int64_t value);
    Appliance& failing(const std::string& name, int64_t value = -1);  ///< every use
    Appliance& killing(const std::string& name, Nth nth, When when = When::kBefore);
    Appliance& slow(const std::string& name, Nth nth, int milliseconds);
    /// The work waits until healthy(): what has to be seen meanwhile is seen on any machine.
    Appliance& holding(const std::string& name, Nth nth);
    /// Whether the call that is to be held has been met: it is, until healthy().
    bool holds(const std::string& name) const;
    Appliance& healthy();
    /// A value of the appliance's own, for example "cpu_info".
    Appliance& having(const std::string& setting, const std::string& value);

    // What happened.
    Journal journal() const;
    std::vector<Event> events() const;  ///< oldest first, like all that follow
    std::vector<Notice> notices() const;
    std::vector<Upload> uploads() const;
    std::vector<Trace> traces(std::optional<int> level = {}) const;
    /// Some trace holds this text.
    bool traced(const std::string& text) const;

    // What there is.
    std::vector<unsigned> drives() const;
    std::vector<int> pools() const;
    std::vector<int> volumes() const;  ///< logical volumes
    std::vector<int> raid_groups() const;
    bool service_runs(const std::string& name) const;

    /// Where the record database lies; empty when there is none.
    std::string database() const;
    /// Queries the record database, which stays as it is.
    Rows sql(const std::string& query) const;
    /// The only value of a query.
    std::string sql_value(const std::string& query) const;
    /// Statements on the record database, for what the library itself would not write.
    void run_sql(const std::string& statements);

  private:
    Appliance& override_with(std::function<void()> what);
    void install();

    appliance::Blueprint blueprint_;
    std::vector<std::function<void()>> overrides_;
};

/// A new appliance for each test. Whatever the test leaves running fails it, and is ended.
class ApplianceTest : public ::testing::Test {
  protected:
    ApplianceTest();
    ~ApplianceTest() override;
    Appliance& appliance() { return appliance_; }

    /// Processes that the test, or what it called, left running.
    std::vector<ProcessInfo> what_runs() const;
    /// Ends what still runs, for a test that leaves something behind on purpose.
    void end_what_runs();

  private:
    bool is_the_appliances_own(const ProcessInfo& process) const;

    std::set<pid_t> there_before_;
    Appliance appliance_;
};

std::ostream& operator<<(std::ostream& out, const Event& event);
std::ostream& operator<<(std::ostream& out, const Notice& notice);
std::ostream& operator<<(std::ostream& out, const Trace& trace);

}  // namespace support
