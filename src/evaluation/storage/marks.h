#pragma once

#include <cstdlib>

#include <unistd.h>

#include "base/plain_file.h"
#include "platform/storage.h"

namespace ssd_op::evaluation {

/// Keeps background rebuilds slow while storage is made or removed.
class SpeedDown {
  public:
    SpeedDown() {
        RAID_Force_Speed_Down_Generate_UID(::getpid(), uid_, sizeof uid_);
        RAID_Force_Speed_Down_Add(uid_);
    }
    SpeedDown(const SpeedDown&) = delete;
    SpeedDown& operator=(const SpeedDown&) = delete;
    ~SpeedDown() { RAID_Force_Speed_Down_Remove(uid_); }

  private:
    char uid_[64] = {};
};

constexpr const char* kInitializingMark = "/tmp/cv_initializing.tmp";

/// The platform's mark of a pool that is being made.
class InitializingMark {
  public:
    explicit InitializingMark(int pool_id) { move_to(pool_id); }
    InitializingMark(const InitializingMark&) = delete;
    InitializingMark& operator=(const InitializingMark&) = delete;
    ~InitializingMark() { ::unlink(kInitializingMark); }
    void move_to(int pool_id) { nas_set_initializing_cv_pool(pool_id); }
};

/// Takes the mark away that a dead driver has left, when it names this pool.
inline void forget_initializing(int pool_id) {
    const base::Descriptor file = base::open_plain_file(kInitializingMark);
    char text[16] = "";
    if (!file || ::read(file.get(), text, sizeof text - 1) < 1) return;
    if (std::strtol(text, nullptr, 10) == pool_id) ::unlink(kInitializingMark);
}

/// The platform's mark of a pool that is being removed.
class RemovingMark {
  public:
    explicit RemovingMark(int pool_id) { nas_set_removing_cv_pool(pool_id); }
    RemovingMark(const RemovingMark&) = delete;
    RemovingMark& operator=(const RemovingMark&) = delete;
    ~RemovingMark() { ::unlink("/tmp/cv_removing.tmp"); }
};

}  // namespace ssd_op::evaluation
