/// What tests of stops share: an evaluation whose driver runs beside the test, and what is left of
/// it after a stop.
#pragma once

#include <string>

#include "support/appliance.h"
#include "support/evaluation.h"

namespace support {

/// An evaluation in a driver of its own, as a front end starts it.
class RunningEvaluation {
  public:
    RunningEvaluation(Groups& groups, const ssd_op_test_param& request);

    int record_no() const { return record_no_; }
    int status() const { return status_of(record_no_); }
    int step_progress() const;
    Child& driver() { return driver_; }

  private:
    int record_no_;
    Child driver_;
};

/// A process has both texts in its command line.
bool runs(const std::string& program, const std::string& text = "");

/// A stop and how long it took until nothing of the evaluation ran any more.
struct Stopped {
    int result;
    double seconds_to_return;  ///< of the appliance's clock
    double seconds_to_quiet;   ///< until the driver and all that it had started were gone
};

/// How a test stops: the arguments of NAS_SSD_OP_Test_Stop that matter for one record.
struct StopArguments {
    int remove_storage = 0;
    int type = SSD_OP_STOP_BY_USER;
};
Stopped stop(RunningEvaluation& evaluation, const StopArguments& arguments = {});

/// What holds after a stop, whenever it came: the record says so and is closed, its ratios are in
/// the database, its drives are in no group, services run, and the user was told once.
void expect_stopped(Appliance& appliance, int record_no, int status);

/// The drives can be evaluated at once.
void expect_drives_are_free(Appliance& appliance, Groups& groups);

}  // namespace support
