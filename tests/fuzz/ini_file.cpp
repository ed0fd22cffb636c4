// The appliance's ini files: section, key and value to write, a line each, and the file.

#include "fuzz/target.h"
#include "provider/ini/file.h"
#include "support/files.h"

using provider::ini::IniFile;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* kFile = "/tmp/fuzz.ini";
    std::string_view rest = fuzz::text_of(data, size);
    const std::string section = fuzz::take_line(rest);
    const std::string key = fuzz::take_line(rest);
    const std::string value = fuzz::take_line(rest);
    support::write_file(kFile, std::string(rest));

    IniFile file(kFile);
    fuzz::require(file.exists(), "whatever it holds, a file can be read");
    file.get(section.c_str(), key.c_str());
    if (!file.set(section.c_str(), key.c_str(), value) || !file.save()) return 0;
    IniFile again(kFile);
    fuzz::require(again.get(section.c_str(), key.c_str()) == value,
                  "a value comes back as it was written");
    again.remove(section.c_str());
    fuzz::require(again.save() && !IniFile(kFile).get(section.c_str(), key.c_str()),
                  "a section that is removed is gone");
    return 0;
}
