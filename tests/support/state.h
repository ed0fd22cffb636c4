#pragma once

#include <string>

#include "core/blueprint.h"
#include "platform/ini.h"

namespace support {

inline constexpr const char* kRuntimeInfo = "/etc/.sm_v2_ssd_op_runtime_info";

inline std::string addon_conf() { return std::string(appliance::kAddonPath) + "/ssd_opr.conf"; }

/// A key of record 1's section; "absent" when there is none.
inline std::string stored(const std::string& file, const char* key,
                          const char* section = "Record_1") {
    char text[1024] = {};
    return Ini_Conf_Get_Field(file.c_str(), section, key, text, sizeof text) < 0 ? "absent" : text;
}

}  // namespace support
