#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "core/roots.h"
#include "shared/descriptor.h"

namespace host {

using Json = nlohmann::json;

/// A small JSON file in the state directory, held against other processes for as long as the owner
/// lives. What cannot be read is never taken for empty, and so never written over.
class Store {
  public:
    /// @param name of the file, for example slots.json
    Store(const Roots& roots, const std::string& name);

    /// The value `nothing` when the file is not there yet.
    Json read(const Json& nothing) const;
    /// After a crash at any moment the file is the old one or the new one, whole.
    void write(const Json& value);
    const std::string& path() const { return path_; }
    /// From now on tools that are started hold the store, too: should this process be killed, the
    /// next one waits until what it has started has ended.
    void let_tools_hold_it();

  private:
    std::string directory_;
    std::string path_;
    ssd_op::shared::Descriptor lock_;
};

/// JSON that somebody else has written: none when it is none, or nests deeper than anything sane.
Json parse_foreign(const std::string& text);

}  // namespace host
