/// Fields of ini files.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "platform/ini.h"
#include "provider/call.h"
#include "provider/ini/file.h"

namespace {

using provider::arguments;
using provider::ini::IniFile;

constexpr int kFailure = -1;

/// Copies as much as fits and returns how much that was.
int copy_out(const std::string& text, char* buffer, int size) {
    const size_t length = std::min(text.size(), static_cast<size_t>(size) - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<int>(length);
}

bool any_null(std::initializer_list<const void*> pointers) {
    return std::ranges::find(pointers, nullptr) != pointers.end();
}

int write_field(const char* file, const char* section, const char* key, const std::string& value) {
    IniFile ini(file);
    return ini.set(section, key, value) && ini.save() ? 0 : kFailure;
}

}  // namespace

int Ini_Conf_Get_Field(const char* file, const char* section, const char* key, char* buffer,
                       int size) {
    return provider::call(__func__, arguments(file, section, key), [&] {
        if (any_null({file, section, key, buffer}) || size < 1) return kFailure;
        const auto value = IniFile(file).get(section, key);
        return value ? copy_out(*value, buffer, size) : kFailure;
    });
}

int Ini_Conf_Set_Field(const char* file, const char* section, const char* key, const char* value) {
    return provider::call(__func__, arguments(file, section, key, value), [&] {
        if (any_null({file, section, key, value})) return kFailure;
        return write_field(file, section, key, value);
    });
}

int Ini_Conf_Get_Field_Int(const char* file, const char* section, const char* key, int* value,
                           int flags) {
    return provider::call(__func__, arguments(file, section, key, flags), [&] {
        if (any_null({file, section, key, value})) return kFailure;
        const auto text = IniFile(file).get(section, key);
        if (!text) return kFailure;
        char* end = nullptr;
        const long number = std::strtol(text->c_str(), &end, 10);
        if (end == text->c_str()) return kFailure;
        *value = static_cast<int>(number);
        return 0;
    });
}

int Ini_Conf_Set_Field_Int(const char* file, const char* section, const char* key, int value,
                           int flags) {
    return provider::call(__func__, arguments(file, section, key, value, flags), [&] {
        if (any_null({file, section, key})) return kFailure;
        return write_field(file, section, key, std::to_string(value));
    });
}

int Ini_Conf_Remove_Section(const char* file, const char* section) {
    return provider::call(__func__, arguments(file, section), [&] {
        if (any_null({file, section})) return kFailure;
        IniFile ini(file);
        if (!ini.exists()) return kFailure;
        ini.remove(section);
        return ini.save() ? 0 : kFailure;
    });
}

int GetPrivateProfileString(const char* section, const char* key, const char* fallback,
                            char* buffer, int size, const char* file) {
    return provider::call(__func__, arguments(section, key, fallback, file), [&] {
        if (buffer == nullptr || size < 1) return 0;
        std::string value = fallback == nullptr ? "" : fallback;
        if (!any_null({section, key, file}))
            value = IniFile(file).get(section, key).value_or(value);
        return copy_out(value, buffer, size);
    });
}
