/// ssd-op: how much over-provisioning do these SSDs need? The command line of libssd_op.
///
/// It needs the libraries of the platform, and without them the loader would end it with a line
/// that helps nobody. So all that needs them is a module, and its absence can be told in words.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <linux/limits.h>
#include <unistd.h>

#include "host_way.h"

namespace {

using CommandLine = int (*)(int, char**);

/// Of this program, with a slash: what belongs to it lies beside it, so that all may be moved
/// together.
std::string directory_of_program() {
    char program[PATH_MAX] = "";
    const ssize_t size = ::readlink("/proc/self/exe", program, sizeof program);
    const std::string path(program, size > 0 ? static_cast<size_t>(size) : 0);
    return path.substr(0, path.rfind('/') + 1);
}

int tell_missing(const char* what) {
    std::fprintf(
        stderr,
        "ssd-op: It cannot run here: %s.\n"
        "It runs on the appliance, which has libraries of its own; on the drives of this host: "
        "ssd-op --host ...; or in a simulated appliance: "
        "ssd-op-appliance ssd-op ..., of the package of that name; from a build, "
        "appliance/enter ssd-op ...\n",
        what);
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string directory = directory_of_program();
    if (const int code = take_host_way(directory, argc, argv); code >= 0) return code;
    void* const module = ::dlopen((directory + "../lib/ssd-op/commands.so").c_str(), RTLD_NOW);
    if (module == nullptr) return tell_missing(::dlerror());
    const auto run = reinterpret_cast<CommandLine>(::dlsym(module, "ssd_op_command_line"));
    return run != nullptr ? run(argc, argv) : tell_missing(::dlerror());
}
