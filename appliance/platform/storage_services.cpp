#include <cstdlib>
#include <string>

#include "core/call.h"
#include "core/query.h"
#include "platform/storage.h"
#include "provider/text.h"

using namespace appliance;

int Check_Default_Share_in_All_Vol(int flags) {
    return call("Check_Default_Share_in_All_Vol", arguments(flags), [] {
        return first<int>("SELECT volume_id FROM volume WHERE default_share = 1 ORDER BY volume_id")
            .value_or(-1);
    });
}

int Volume_Is_Mount(int volume_id, char* path, int size) {
    return call("Volume_Is_Mount", arguments(volume_id), [&] {
        const auto mount_point = first<std::string>(
            "SELECT path FROM volume WHERE volume_id = ? AND mounted = 1", volume_id);
        if (!mount_point) return 0;
        provider::hand_out(*mount_point, path, size);
        return 1;
    });
}

int Start_Services(void) {
    return call("Start_Services", arguments(), [] {
        int result = 0;
        for (const char* script : {"/etc/init.d/services.sh", "/etc/init.d/rsyncd.sh"})
            result |= std::system((std::string(script) + " start >/dev/null 2>&1").c_str());
        return result == 0 ? 0 : -1;
    });
}
