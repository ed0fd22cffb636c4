#include "core/ini.h"

#include <cerrno>

#define SI_NO_CONVERSION  // bytes stay as they are
#include <SimpleIni.h>
#include <sys/stat.h>

#include "core/failure.h"
#include "core/read.h"

namespace host {

IniText read_ini(const std::string& path) {
    constexpr size_t kMostBytes = 1 << 20;
    struct stat found {};
    if (::lstat(path.c_str(), &found) != 0 && errno == ENOENT) return {};
    const auto text = read_file(path, kMostBytes);
    CSimpleIniA file;
    if (!text || file.LoadData(*text) < 0) {
        throw Failure("The file " + path + " cannot be read.",
                      "Is it a plain file of at most 1 MiB?");
    }
    IniText content;
    CSimpleIniA::TNamesDepend sections;
    file.GetAllSections(sections);
    for (const auto& section : sections) {
        CSimpleIniA::TNamesDepend keys;
        file.GetAllKeys(section.pItem, keys);
        for (const auto& key : keys)
            content[section.pItem][key.pItem] = file.GetValue(section.pItem, key.pItem, "");
    }
    return content;
}

}  // namespace host
