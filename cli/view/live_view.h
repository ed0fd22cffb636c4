#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "model/snapshot.h"
#include "model/temperature.h"
#include "output/terminal.h"

namespace cli {

/// How somebody follows an evaluation.
class View {
  public:
    View() = default;
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    virtual ~View() = default;
    virtual void show(const Snapshot& snapshot, const ssd_op_db_record& record) = 0;
};

/// A few lines on a terminal that are written over at each look.
class LiveView : public View {
  public:
    void show(const Snapshot& snapshot, const ssd_op_db_record& record) override;

  private:
    LiveBlock block_;
    TemperatureReader temperatures_;
};

/// A line of text, or of JSON, a minute and one at the end.
class MinuteView : public View {
  public:
    explicit MinuteView(bool json) : json_(json) {}
    void show(const Snapshot& snapshot, const ssd_op_db_record& record) override;

  private:
    bool json_;
    std::string phase_;
    std::optional<std::chrono::steady_clock::time_point> shown_;
    TemperatureReader temperatures_;
};

/// A line when the phase or the ratio changes, and at every tenth of the way.
class MilestoneView : public View {
  public:
    void show(const Snapshot& snapshot, const ssd_op_db_record& record) override;

  private:
    std::string shown_;
};

class NoView : public View {
  public:
    void show(const Snapshot&, const ssd_op_db_record&) override {}
};

}  // namespace cli
