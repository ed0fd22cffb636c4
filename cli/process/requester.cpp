#include "process/requester.h"

#include <cstring>

#include <pwd.h>
#include <unistd.h>

namespace cli {

ssd_op_requester this_user() {
    ssd_op_requester requester{};
    const passwd* user = ::getpwuid(::getuid());
    const char* name = user != nullptr ? user->pw_name : "unknown";
    std::strncpy(requester.user, name, sizeof requester.user - 1);
    std::strncpy(requester.address, "localhost", sizeof requester.address - 1);
    return requester;
}

}  // namespace cli
