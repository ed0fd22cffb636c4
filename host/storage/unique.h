/// Storage room: partition tables, arrays, pools and volumes on drives that were taken. Each is
/// noted in the undo list before it is made, with what proves later that it is ours, and nothing
/// is undone that this does not prove.
#pragma once

#include <string>

namespace host {

// Names that nobody has chosen before, so that they are known before the thing is there.

std::string new_guid();     ///< as in partition tables: 2F6A...-....-....-....-............
std::string new_md_uuid();  ///< as mdadm writes it: 2f6a0911:...:...:...
std::string new_lvm_tag();  ///< ssd_op_...

}  // namespace host
