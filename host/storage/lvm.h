#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/roots.h"
#include "storage/record.h"
#include "undo/undo_list.h"

namespace host {

/// LVM, as it sees nothing but arrays of ours, whatever the host's lvm.conf says. It needs no udev,
/// and keeps no copies of metadata in /etc.
class Lvm {
  public:
    /// Of those of the arrays that run.
    Lvm(const Roots& roots, const std::vector<ArrayRecord>& arrays);

    /// Fails when LVM does.
    std::string run(const std::vector<std::string>& words) const;
    /// What vgs, lvs or pvs tell, an object for each. Numbers are in bytes.
    std::vector<Json> report(const std::string& command, const std::string& fields) const;

    const std::vector<std::string>& devices() const { return devices_; }

  private:
    std::vector<std::string> devices_;
};

/// The objects of a report in JSON. Fails when it is none.
std::vector<Json> report_in(const std::string& text);

/// LVM writes all values as text. Empty, or 0, when there is none.
std::string text_in(const Json& object, const char* field);
uint64_t number_in(const Json& object, const char* field);

}  // namespace host
