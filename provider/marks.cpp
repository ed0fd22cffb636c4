/// Marks of a pool that is being made or removed.

#include <fstream>

#include "platform/storage.h"
#include "provider/call.h"

namespace {

using provider::arguments;
using provider::call;

int mark(const char* path, int pool_id) {
    std::ofstream file(path, std::ios::trunc);
    file << pool_id << "\n";
    return file.flush() ? 0 : -1;
}

}  // namespace

int nas_set_initializing_cv_pool(int pool_id) {
    return call("nas_set_initializing_cv_pool", arguments(pool_id),
                [&] { return mark("/tmp/cv_initializing.tmp", pool_id); });
}

int nas_set_removing_cv_pool(int pool_id) {
    return call("nas_set_removing_cv_pool", arguments(pool_id),
                [&] { return mark("/tmp/cv_removing.tmp", pool_id); });
}
