// A drive's file: a header of fixed size, then the lists that the header announces. The whole is
// written anew and renamed into place; it is little-endian as every machine this runs on.
#include <bit>
#include <cstring>
#include <fstream>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include "flash/drive.h"

namespace appliance::flash {

namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::uint64_t kMagic = 0x6873616c66707061;  // "appflash"
constexpr std::uint32_t kVersion = 2;

struct Header {
    std::uint64_t magic = kMagic;
    std::uint32_t version = kVersion;
    std::uint32_t throttled = 0;
    std::uint64_t checksum = 0;  ///< of the header with this field 0, then of the lists
    std::uint64_t nominal_bytes = 0;
    double factory_spare_percent = 0.0;
    std::uint64_t seed = 0;
    std::uint64_t random_state = 0;
    std::uint64_t carried_bytes = 0;
    double temperature = 0.0;
    double recent_copies = 0.0;
    Counters counters;
    std::uint32_t blocks = 0;
    std::uint32_t logical_pages = 0;
    Ftl::OpenBlock host, copies;
    std::uint32_t physical_count = 0;
    std::uint32_t closed_count = 0;
    std::uint32_t empty_count = 0;
    std::uint32_t reserved = 0;
};
static_assert(std::has_unique_object_representations_v<Counters> && sizeof(Header) == 152);

/// FNV-1a over words, with a rotation that spreads their upper bits.
class Checksum {
  public:
    void add(std::span<const std::uint32_t> words) {
        for (const std::uint32_t word : words) {
            sum_ = std::rotl((sum_ ^ word) * 0x100000001b3u, 29);
        }
    }
    void add(const Header& header) {
        std::uint32_t words[sizeof header / sizeof(std::uint32_t)];
        std::memcpy(words, &header, sizeof header);
        add(words);
    }
    std::uint64_t value() const { return sum_; }

  private:
    std::uint64_t sum_ = 0xcbf29ce484222325u;
};

std::uint64_t checksum_of(Header header, const Ftl::Image& image) {
    header.checksum = 0;
    Checksum sum;
    sum.add(header);
    sum.add(image.physical);
    sum.add(image.closed);
    sum.add(image.empty);
    return sum.value();
}

void write_list(std::ostream& out, const std::vector<std::uint32_t>& list) {
    out.write(reinterpret_cast<const char*>(list.data()),
              static_cast<std::streamsize>(list.size() * sizeof list[0]));
}

std::vector<std::uint32_t> read_list(std::istream& in, std::uint32_t count) {
    std::vector<std::uint32_t> list(count);
    in.read(reinterpret_cast<char*>(list.data()),
            static_cast<std::streamsize>(list.size() * sizeof list[0]));
    return list;
}

std::uint64_t size_announced_by(const Header& header) {
    return sizeof header +
           (std::uint64_t{header.physical_count} + header.closed_count + header.empty_count) *
               sizeof(std::uint32_t);
}

/// Takes a half-written file away unless it became the drive's.
struct TemporaryFile {
    std::filesystem::path path;
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
};

}  // namespace

void Drive::save(const std::filesystem::path& path) const {
    const Ftl::Image image = ftl_.image();
    Header header;
    header.throttled = throttled_ ? 1 : 0;
    header.nominal_bytes = geometry_.nominal_bytes;
    header.factory_spare_percent = geometry_.factory_spare_percent;
    header.seed = geometry_.seed;
    header.random_state = random_.state();
    header.carried_bytes = carried_bytes_;
    header.temperature = temperature_;
    header.recent_copies = image.recent_copies;
    header.counters = image.counters;
    header.blocks = geometry_.blocks;
    header.logical_pages = image.logical_pages;
    header.host = image.host;
    header.copies = image.copies;
    header.physical_count = static_cast<std::uint32_t>(image.physical.size());
    header.closed_count = static_cast<std::uint32_t>(image.closed.size());
    header.empty_count = static_cast<std::uint32_t>(image.empty.size());
    header.checksum = checksum_of(header, image);

    const TemporaryFile temporary{path.string() + "." + std::to_string(getpid()) + ".tmp"};
    std::ofstream out(temporary.path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(&header), sizeof header);
    write_list(out, image.physical);
    write_list(out, image.closed);
    write_list(out, image.empty);
    out.close();
    if (!out) {
        throw std::filesystem::filesystem_error("cannot save a drive", path,
                                                std::make_error_code(std::errc::io_error));
    }
    std::filesystem::rename(temporary.path, path);
}

Drive Drive::load(const std::filesystem::path& path) {
    const auto damaged = [&](const std::string& why) {
        return DamagedDrive("drive file " + path.string() + ": " + why);
    };
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) throw damaged("cannot be opened");
    const auto size = static_cast<std::uint64_t>(in.tellg());
    in.seekg(0);

    Header header;
    if (size < sizeof header) throw damaged("is too short");
    in.read(reinterpret_cast<char*>(&header), sizeof header);
    if (header.magic != kMagic) throw damaged("is not a drive's");
    if (header.version != kVersion) {
        throw damaged("is of version " + std::to_string(header.version) +
                      ", and this build knows version " + std::to_string(kVersion) +
                      "; a new appliance has new drives");
    }
    if (size != size_announced_by(header)) throw damaged("has the wrong size");

    Ftl::Image image;
    image.logical_pages = header.logical_pages;
    image.physical = read_list(in, header.physical_count);
    image.closed = read_list(in, header.closed_count);
    image.empty = read_list(in, header.empty_count);
    image.host = header.host;
    image.copies = header.copies;
    image.recent_copies = header.recent_copies;
    image.counters = header.counters;
    if (!in) throw damaged("cannot be read");
    if (checksum_of(header, image) != header.checksum) throw damaged("fails its checksum");

    if (header.nominal_bytes < kUnitBytes) throw damaged("has no capacity");
    try {
        const Geometry geometry{header.nominal_bytes, header.factory_spare_percent, header.seed,
                                header.blocks};
        Drive drive(geometry, Ftl(std::move(image)), Random(header.random_state));
        drive.carried_bytes_ = header.carried_bytes;
        drive.temperature_ = header.temperature;
        drive.throttled_ = header.throttled != 0;
        return drive;
    } catch (const std::invalid_argument& contradiction) {
        throw damaged(contradiction.what());
    }
}

}  // namespace appliance::flash
