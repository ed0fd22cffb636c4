#include "undo/undo_list.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "core/failure.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

constexpr std::array<std::pair<Kind, std::string_view>, 6> kNames{
    {{Kind::kDrive, "drive"},
     {Kind::kPartitions, "partitions"},
     {Kind::kArray, "array"},
     {Kind::kPool, "pool"},
     {Kind::kVolume, "volume"},
     {Kind::kService, "service"}}};

Json to_json(const UndoEntry& entry) {
    const auto* const named = std::find_if(
        kNames.begin(), kNames.end(), [&](const auto& one) { return one.first == entry.kind; });
    return {{"kind", named->second}, {"name", entry.name}, {"details", entry.details}};
}

UndoEntry from_json(const Json& json, const std::string& file) {
    try {
        const auto kind = json.at("kind").get<std::string>();
        const auto* const named = std::find_if(kNames.begin(), kNames.end(),
                                               [&](const auto& one) { return one.second == kind; });
        UndoEntry entry{Kind::kDrive, json.at("name"), json.at("details")};
        if (named != kNames.end() && !entry.name.empty() && entry.details.is_object()) {
            entry.kind = named->first;
            return entry;
        }
    } catch (const Json::exception&) {
        // Half of an entry undoes nothing.
    }
    throw Failure("The list of what is to be undone, " + file + ", is damaged.",
                  "Restore it from a backup, or take down by hand what it names.");
}

}  // namespace

UndoList::UndoList(const Roots& roots) : store_(roots, kFile) {
    store_.let_tools_hold_it();
    for (const Json& json : store_.read(Json::array()))
        entries_.push_back(from_json(json, store_.path()));
}

const UndoEntry* UndoList::find(Kind kind, const std::string& name) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const UndoEntry& entry) {
        return entry.kind == kind && entry.name == name;
    });
    return found != entries_.end() ? &*found : nullptr;
}

void UndoList::add(UndoEntry entry) {
    std::vector<UndoEntry> changed = entries_;
    const auto known = std::find_if(changed.begin(), changed.end(), [&](const UndoEntry& one) {
        return one.kind == entry.kind && one.name == entry.name;
    });
    if (known != changed.end())
        *known = std::move(entry);
    else
        changed.push_back(std::move(entry));
    write(changed);
    entries_ = std::move(changed);
}

void UndoList::remove(Kind kind, const std::string& name) {
    std::vector<UndoEntry> changed = entries_;
    std::erase_if(changed,
                  [&](const UndoEntry& entry) { return entry.kind == kind && entry.name == name; });
    write(changed);
    entries_ = std::move(changed);
}

void UndoList::write(const std::vector<UndoEntry>& entries) {
    Json json = Json::array();
    for (const UndoEntry& entry : entries) json.push_back(to_json(entry));
    store_.write(json);
}

}  // namespace host
