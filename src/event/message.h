#pragma once

#include <string>
#include <vector>

#include "platform/naslog.h"

namespace ssd_op::event {

constexpr int kMessageSize = 2048;  // of a buffer for a filled message

/// What fills a message's placeholders {0}, {1}, ...
using Arguments = std::vector<std::string>;

/// The table's entry; nothing when there is no entry of that number.
const NASLOG_MESSAGE* table_entry(long number);

/// Fills `text` into `output`, a buffer of `size` bytes, cutting what is too long. `arguments` is a
/// list of texts that ends in NULL; at most 64 are used. Placeholders are looked for in the order
/// of the arguments, each behind the one before. An argument "%V001%" stands for the text of the
/// table's entry 1, cut to 255 characters; nothing else in a text or an argument is interpreted.
/// 0; -1 without a buffer.
int ssd_op_fill_message(char* output, int size, const char* text, const char* const* arguments);

}  // namespace ssd_op::event
