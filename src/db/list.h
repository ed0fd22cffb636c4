#pragma once

#include "base/owners.h"
#include "base/trace.h"

namespace ssd_op::db {

/// A list in the making: appends zero-filled nodes at the tail.
template <typename Node>
class List {
  public:
    explicit List(Node*& head) : tail_(&head) { head = nullptr; }

    /// The new node; null, after the message, when memory is short.
    Node* append(base::Caller caller) {
        *tail_ = base::make_zeroed<Node>().release();
        if (*tail_ == nullptr) {
            base::trace_out_of_memory(caller);
            return nullptr;
        }
        Node* node = *tail_;
        tail_ = &node->next;
        return node;
    }

  private:
    Node** tail_;
};

}  // namespace ssd_op::db
