/// Undo room: what has been done to this host and is not undone yet. Every step stands here before
/// it is taken, so that whatever ends this program, the next one knows what there may be.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/roots.h"
#include "core/store.h"

namespace host {

/// A thing that was made, or is about to be.
struct UndoEntry {
    enum class Kind {
        kDrive,       ///< name: serial number. It was taken: what is on it is ours from then on
        kPartitions,  ///< name: serial number
        kArray,       ///< name: id of the RAID group
        kPool,        ///< name: id of the pool
        kVolume,      ///< name: id of the volume
        kService      ///< name: systemd unit, stopped
    };
    Kind kind;
    std::string name;
    Json details = Json::object();  ///< whatever proves, later, that the thing is this one
};

/// Held against other processes for as long as the owner lives, so that the host's storage is
/// changed by one at a time.
class UndoList {
  public:
    explicit UndoList(const Roots& roots);

    /// Holds it without a look at what it says, for a look at drives that must disturb nobody.
    static Store hold(const Roots& roots) { return {roots, kFile}; }

    /// In the order in which the steps were taken. They are undone from the last to the first.
    const std::vector<UndoEntry>& entries() const { return entries_; }
    const UndoEntry* find(UndoEntry::Kind kind, const std::string& name) const;

    /// On the disk when it returns; the step may be taken then. Replaces an entry of that kind and
    /// name in its place.
    void add(UndoEntry entry);
    /// On the disk when it returns; only after the step is undone.
    void remove(UndoEntry::Kind kind, const std::string& name);

  private:
    static constexpr const char* kFile = "undo.json";

    void write(const std::vector<UndoEntry>& entries);

    Store store_;
    std::vector<UndoEntry> entries_;
};

}  // namespace host
