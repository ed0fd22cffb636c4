/// Refusal room: why a drive must not be used, and the hold on one that may be. Every question is
/// asked by device number, and what cannot be answered is a reason, too.
#pragma once

#include <string>

namespace host {

struct Reason {
    enum class Kind {
        kSystemDisk,
        kMounted,
        kSwap,
        kHeld,     ///< by md, device mapper, bcache, ZFS, multipath
        kOpen,     ///< by a process or a loop device
        kContent,  ///< something is on it; the one that a wish to wipe does away with
        kDiscard,  ///< it takes none
        kReadOnly,
        kIdentity,  ///< it cannot be told from another one
        kDoubt,     ///< a question without an answer
    };

    Kind kind;
    std::string text;       ///< a clause: "partition nvme0n1p1 is mounted at /srv"
    std::string next_step;  ///< a sentence
};

}  // namespace host
