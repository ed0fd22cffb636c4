#pragma once

#include <cstdint>
#include <string>

namespace ssd_op::evaluation {

/// The platform's stored write figures of one drive. They lie in the drive's enclosure file, and
/// under the drive's WWN, where that is known, in the list of all drives ever measured.
class DriveFigures {
  public:
    enum class Key { kWriteSpeed, kWriteIops };

    DriveFigures(uint32_t dev_id, Key key);

    bool is_being_measured() const;
    /// In the enclosure file only. False when it cannot be written.
    bool set_in_enclosure(const std::string& value) const;
    /// In the list of all drives; does nothing for a drive without a known WWN.
    void set_in_list(const std::string& value) const;
    const char* key() const { return key_; }
    /// Asks the drive for its WWN. Returns the platform's result.
    int read_wwn();

  private:
    uint32_t dev_id_;
    const char* key_;
    std::string file_;
    std::string section_;
    std::string wwn_;
};

}  // namespace ssd_op::evaluation
