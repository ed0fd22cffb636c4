/// Add-on packages, as the package configuration lists them.

#include <strings.h>

#include "platform/ini.h"
#include "provider/call.h"
#include "provider/ini/file.h"

namespace {

constexpr const char* kPackageConfiguration = "/etc/config/brix.conf";

/// Installed means: it has a place, and was not switched off.
bool is_installed(const char* name) {
    const provider::ini::IniFile packages(kPackageConfiguration);
    return !packages.get(name, "Install_Path").value_or("").empty() &&
           ::strcasecmp(packages.get(name, "Enable").value_or("TRUE").c_str(), "FALSE") != 0;
}

}  // namespace

int Is_BRIX_Installed(const char* name) {
    return provider::call(__func__, provider::arguments(name),
                          [&] { return name != nullptr && is_installed(name) ? 1 : 0; });
}
