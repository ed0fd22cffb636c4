#pragma once

#include <string>

#include "base/text.h"
#include "platform/ini.h"

namespace ssd_op::evaluation {

/// Where the add-on with the test script is installed; "null" when that is not known.
inline std::string addon_directory() {
    char directory[256] = "";
    GetPrivateProfileString("Oprella", "Install_Path", "null", directory, sizeof directory,
                            "/etc/config/brix.conf");
    return std::string(base::field_text(directory));
}

}  // namespace ssd_op::evaluation
