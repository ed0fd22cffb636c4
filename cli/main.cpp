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

namespace {

using CommandLine = int (*)(int, char**);

/// Beside the program, so that both may be moved together.
std::string module_path() {
    char program[PATH_MAX] = "";
    const ssize_t size = ::readlink("/proc/self/exe", program, sizeof program);
    const std::string path(program, size > 0 ? static_cast<size_t>(size) : 0);
    return path.substr(0, path.rfind('/') + 1) + "../lib/ssd-op/commands.so";
}

int tell_missing(const char* what) {
    std::fprintf(stderr,
                 "ssd-op: It cannot run here: %s.\n"
                 "It runs on the appliance, which has libraries of its own, or in a simulated one: "
                 "ssd-op-appliance ssd-op ..., of the package of that name; from a build, "
                 "appliance/enter ssd-op ...\n",
                 what);
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    void* const module = ::dlopen(module_path().c_str(), RTLD_NOW);
    if (module == nullptr) return tell_missing(::dlerror());
    const auto run = reinterpret_cast<CommandLine>(::dlsym(module, "ssd_op_command_line"));
    return run != nullptr ? run(argc, argv) : tell_missing(::dlerror());
}
