#include "storage/discard_all.h"

#include <algorithm>

#include <linux/fs.h>
#include <sys/ioctl.h>

namespace host {

void discard_all(int file, uint64_t bytes) {
    constexpr uint64_t kPiece = uint64_t{1} << 30;
    for (uint64_t from = 0; from < bytes; from += kPiece) {
        uint64_t range[2] = {from, std::min(kPiece, bytes - from)};
        if (::ioctl(file, BLKDISCARD, range) != 0) return;
    }
}

}  // namespace host
