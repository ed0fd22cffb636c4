#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "model/record.h"

namespace cli {

struct Temperature {
    std::string slot;
    int celsius;
};

/// Temperatures of an evaluation's drives. A drive under test is asked once a minute at the most,
/// since every question takes it a moment from its work.
class TemperatureReader {
  public:
    /// A drive that does not tell is left out.
    const std::vector<Temperature>& read(const ssd_op_db_record& record);

  private:
    std::optional<std::chrono::steady_clock::time_point> read_at_;
    std::vector<Temperature> temperatures_;
};

/// "Disk 1 41 °C, Disk 2 40 °C"
std::string each_text(const std::vector<Temperature>& temperatures);
/// "40 to 41 °C"
std::string range_text(const std::vector<Temperature>& temperatures);

}  // namespace cli
