#pragma once

#include <optional>

#include "core/roots.h"
#include "drives/drive.h"
#include "shared/descriptor.h"

namespace host {

struct Wish;
struct Examination;

/// A drive that nothing spoke against, and that the kernel gives to nobody else who asks for it
/// alone (mount, swapon, md, device mapper) for as long as the owner lives. There is no other way
/// to get one than an examination.
class HeldDrive {
  public:
    const Drive& drive() const { return drive_; }

    /// Fails when it is not the drive any more that was examined, or is gone.
    void check() const;

    /// For one destructive step: the drive is checked first, and what is opened is the drive that
    /// is held, whatever its name leads to by now.
    ssd_op::shared::Descriptor open_for_writing() const;

    /// Has the kernel forget the partitions that it knows, and find those that there are now.
    void read_partitions_again() const;

  private:
    HeldDrive(const Roots& roots, Drive drive, ssd_op::shared::Descriptor file);
    /// None when somebody else holds it.
    static std::optional<HeldDrive> take(const Roots& roots, const Drive& drive);
    friend Examination examine(const Roots& roots, const Drive& drive, const Wish& wish);

    Roots roots_;
    Drive drive_;
    ssd_op::shared::Descriptor file_;
};

}  // namespace host
