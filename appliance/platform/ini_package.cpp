/// Add-on packages, as the package configuration lists them.

#include <strings.h>

#include "core/call.h"
#include "ini_file.h"
#include "platform/ini.h"

namespace {

constexpr const char* kPackageConfiguration = "/etc/config/brix.conf";

/// Installed means: it has a place, and was not switched off.
bool is_installed(const char* name) {
    const appliance::ini::IniFile packages(kPackageConfiguration);
    return !packages.get(name, "Install_Path").value_or("").empty() &&
           ::strcasecmp(packages.get(name, "Enable").value_or("TRUE").c_str(), "FALSE") != 0;
}

}  // namespace

int Is_BRIX_Installed(const char* name) {
    return appliance::call(__func__, appliance::arguments(name),
                           [&] { return name != nullptr && is_installed(name) ? 1 : 0; });
}
