/// Shared room: what the library, the command line and the simulated appliance all include. It may
/// use the interface and the platform's declarations only; only programs link anything of it, their
/// command line.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <span>
#include <type_traits>
#include <utility>

#include "ssd_op.h"

namespace ssd_op::shared {

/// The nodes of a list that hangs together by `next`, from `head` on; none when that is null.
template <typename Node>
class Nodes {
  public:
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::remove_const_t<Node>;
        using difference_type = std::ptrdiff_t;
        using pointer = Node*;
        using reference = Node&;

        explicit Iterator(Node* node = nullptr) : node_(node) {}
        Node& operator*() const { return *node_; }
        Iterator& operator++() {
            node_ = node_->next;
            return *this;
        }
        Iterator operator++(int) {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator&) const = default;

      private:
        Node* node_;
    };

    explicit Nodes(Node* head) : head_(head) {}
    Iterator begin() const { return Iterator(head_); }
    Iterator end() const { return Iterator(); }

  private:
    Node* head_;
};

/// Of any list of the interface: a page of records, a runtime report, samples.
template <typename Node>
Nodes<Node> nodes(Node* head) {
    return Nodes<Node>(head);
}

inline Nodes<const ssd_op_db_raid_conf> groups(const ssd_op_db_record& record) {
    return Nodes<const ssd_op_db_raid_conf>(record.raid_conf);
}
inline Nodes<ssd_op_db_raid_conf> groups(ssd_op_db_record& record) {
    return Nodes<ssd_op_db_raid_conf>(record.raid_conf);
}

/// The drives of a group, never beyond its array whatever its count says.
inline std::span<const ssd_op_db_ssd_dev> drives(const ssd_op_db_raid_conf& group) {
    return {group.ssd_drives,
            static_cast<size_t>(std::clamp(group.ssd_drive_num, 0, SSD_OP_MAX_DRIVES))};
}
inline std::span<ssd_op_db_ssd_dev> drives(ssd_op_db_raid_conf& group) {
    return {group.ssd_drives, drives(std::as_const(group)).size()};
}

/// How many of a record's ratios have results, never more than its arrays hold.
inline int result_count(const ssd_op_db_record& record) {
    return std::clamp(record.count, 0, SSD_OP_MAX_RATIOS);
}

}  // namespace ssd_op::shared
