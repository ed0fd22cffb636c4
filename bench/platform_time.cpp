// The platform calls that status polls make, each with a watch around the real one. The loader
// finds these first.

#include "platform_time.h"

#include <chrono>

#include <dlfcn.h>

#include "platform/hal.h"
#include "platform/ini.h"
#include "platform/storage.h"

namespace {

bench::PlatformTime spent;

class Watch {
  public:
    explicit Watch(double bench::PlatformTime::*kind)
        : kind_(kind), start_(std::chrono::steady_clock::now()) {}
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch() {
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start_;
        spent.*kind_ += took.count();
    }

  private:
    double bench::PlatformTime::*kind_;
    std::chrono::steady_clock::time_point start_;
};

template <typename Call>
Call* real(Call*, const char* name) {
    return reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

#define TIMED(kind, call, ...)                        \
    const Watch watch(&bench::PlatformTime::kind);    \
    static auto* const original = real(&call, #call); \
    return original(__VA_ARGS__)

int Ini_Conf_Read_Lock_File(const char* name) { TIMED(settings, Ini_Conf_Read_Lock_File, name); }
int Ini_Conf_Write_Lock_File(const char* name) { TIMED(settings, Ini_Conf_Write_Lock_File, name); }
int Ini_Conf_Unlock_File(int handle) { TIMED(settings, Ini_Conf_Unlock_File, handle); }
int Ini_Conf_Get_Field(const char* file, const char* section, const char* key, char* buffer,
                       int size) {
    TIMED(settings, Ini_Conf_Get_Field, file, section, key, buffer, size);
}
int Ini_Conf_Get_Field_Int(const char* file, const char* section, const char* key, int* value,
                           int flags) {
    TIMED(settings, Ini_Conf_Get_Field_Int, file, section, key, value, flags);
}
int GetPrivateProfileString(const char* section, const char* key, const char* fallback,
                            char* buffer, int size, const char* file) {
    TIMED(settings, GetPrivateProfileString, section, key, fallback, buffer, size, file);
}
int Is_BRIX_Installed(const char* name) { TIMED(settings, Is_BRIX_Installed, name); }
int Get_Command_Result(const char* command, char* output, int size) {
    TIMED(commands, Get_Command_Result, command, output, size);
}
int Check_Default_Share_in_All_Vol(int flags) {
    TIMED(volumes, Check_Default_Share_in_All_Vol, flags);
}
int Volume_Is_Mount(int volume, char* path, int size) {
    TIMED(volumes, Volume_Is_Mount, volume, path, size);
}

bench::PlatformTime bench::seconds_in_platform() { return spent; }
