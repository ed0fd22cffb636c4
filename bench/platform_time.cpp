// The platform calls that opening the database makes, each with a watch around the real one. The
// loader finds these first.

#include "platform_time.h"

#include <chrono>
#include <cstdarg>

#include <dlfcn.h>

#include "platform/ini.h"
#include "platform/naslog.h"
#include "platform/storage.h"

namespace {

std::chrono::steady_clock::duration spent{};

class Watch {
  public:
    Watch() : start_(std::chrono::steady_clock::now()) {}
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch() { spent += std::chrono::steady_clock::now() - start_; }

  private:
    std::chrono::steady_clock::time_point start_;
};

template <typename Call>
Call* real(Call*, const char* name) {
    return reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

#define TIMED(call, ...)                              \
    const Watch watch;                                \
    static auto* const original = real(&call, #call); \
    return original(__VA_ARGS__)

int Ini_Conf_Write_Lock_File(const char* name) { TIMED(Ini_Conf_Write_Lock_File, name); }
int Ini_Conf_Unlock_File(int handle) { TIMED(Ini_Conf_Unlock_File, handle); }
int Check_Default_Share_in_All_Vol(int flags) { TIMED(Check_Default_Share_in_All_Vol, flags); }
int Volume_Is_Mount(int volume, char* path, int size) {
    TIMED(Volume_Is_Mount, volume, path, size);
}

double bench::seconds_in_platform() { return std::chrono::duration<double>(spent).count(); }
