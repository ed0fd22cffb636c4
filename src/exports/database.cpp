// Where the database lies, and its version.

#include "base/text.h"
#include "db/location.h"
#include "db/version.h"
#include "exports/answer.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

int SSD_OP_DB_Get_Location_Usage(int location, unsigned long long* used_kb,
                                 unsigned long long* avail_kb) {
    if (used_kb == nullptr || avail_kb == nullptr) return parameter_error(__func__);
    db::Usage usage;
    const int result = base::guarded(__func__, -1, [&] { return db::read_usage(location, usage); });
    *used_kb = usage.used;
    *avail_kb = usage.available;
    return result;
}

int SSD_OP_DB_Get_Location(int* location, char* path, int path_size) {
    if (location == nullptr || (path != nullptr && path_size <= 0))
        return parameter_error(__func__);
    if (path == nullptr) return db::locate(*location, nullptr);
    std::string found;
    const int result = db::locate(*location, &found);
    base::copy_text(path, static_cast<size_t>(path_size), found);
    return result;
}

int SSD_OP_DB_Get_Size(unsigned long long* size_kb) {
    return size_kb == nullptr ? parameter_error(__func__) : db::read_size(*size_kb);
}

int SSD_OP_DB_Set_Location(int location) { return db::set_location(location); }

int SSD_OP_DB_Version_Upgrade() {
    return base::guarded(__func__, -1, [] { return answer(db::upgrade()); });
}

int SSD_OP_DB_Version_Downgrade(int version) {
    return base::guarded(__func__, -1, [&] { return answer(db::downgrade(version)); });
}
