#include "drives/partition.h"

#include "core/failure.h"
#include "core/read.h"

namespace host {

namespace {

Partition look_at(const std::string& name, const std::string& directory) {
    const auto number = device_number_in(directory);
    const auto start = read_number(directory + "/start");
    const auto sectors = read_number(directory + "/size");
    if (!number || !start || !sectors || *sectors > UINT64_MAX / kSectorBytes)
        throw Failure("The kernel does not tell all about " + directory + ".", "Try again.");
    return {name, directory, *number, *start * kSectorBytes, *sectors * kSectorBytes};
}

}  // namespace

std::optional<Partition> partition_of(const Drive& drive, int number) {
    const auto names = names_in(drive.directory);
    if (!names)
        throw Failure("The partitions of " + drive.name + " cannot be listed.", "Is it gone?");
    for (const std::string& name : *names) {
        const std::string directory = drive.directory + "/" + name;
        if (read_number(directory + "/partition") == static_cast<uint64_t>(number))
            return look_at(name, directory);
    }
    return std::nullopt;
}

}  // namespace host
