// Templates of messages: a byte for the buffer's size, the template, and an argument in each line
// that follows.

#include "event/message.h"

#include <cstring>
#include <vector>

#include "fuzz/target.h"

using namespace ssd_op::event;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    std::string_view rest = fuzz::text_of(data + 1, size - 1);
    const std::string text = fuzz::take_line(rest);
    Arguments arguments;
    while (!rest.empty()) arguments.push_back(fuzz::take_line(rest));
    std::vector<const char*> list;
    for (const std::string& argument : arguments) list.push_back(argument.c_str());
    list.push_back(nullptr);

    std::vector<char> output(size_t{data[0]} * 8, 'x');
    const int capacity = static_cast<int>(output.size());
    const int result = ssd_op_fill_message(output.data(), capacity, text.c_str(), list.data());
    fuzz::require(result == (output.empty() ? -1 : 0), "only a missing buffer is a failure");
    if (output.empty()) return 0;
    const size_t length = ::strnlen(output.data(), output.size());
    fuzz::require(length < output.size(), "a message ends within its buffer");
    size_t most = text.size();
    for (const std::string& argument : arguments) most += std::max<size_t>(argument.size(), 255);
    fuzz::require(length <= most, "an argument is put in once");
    return 0;
}
