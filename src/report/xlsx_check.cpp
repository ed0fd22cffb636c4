#include "report/xlsx_check.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include <minizip/unzip.h>

namespace ssd_op::report {

namespace {

struct CloseArchive {
    void operator()(void* archive) const { unzClose(archive); }
};
using Archive = std::unique_ptr<void, CloseArchive>;

constexpr std::string_view kSheet = "xl/worksheets/sheet1.xml";
constexpr std::string_view kCell = "<c r=";

/// What has been read of a part, piece by piece.
class Part {
  public:
    /// `data` begins with the last bytes of the data before it, as carried() gives them.
    void read(std::string_view data) {
        for (size_t at = data.find(kCell); at != data.npos; at = data.find(kCell, at + 1)) ++cells_;
        const size_t end = data.find_last_not_of('\n');
        if (end != data.npos) last_ = data[end];
    }
    uint64_t cells() const { return cells_; }
    bool has_end() const { return last_ == '>'; }

  private:
    uint64_t cells_ = 0;
    char last_ = 0;
};

/// Reads the archive's current part. False when it is damaged.
bool read_part(unzFile archive, Part& part) {
    if (unzOpenCurrentFile(archive) != UNZ_OK) return false;
    static constexpr size_t kCarried = kCell.size() - 1;
    std::array<char, 1 << 15> buffer;
    size_t carried = 0;
    int read = 0;
    while ((read = unzReadCurrentFile(archive, buffer.data() + carried,
                                      static_cast<unsigned>(buffer.size() - carried))) > 0) {
        const std::string_view data(buffer.data(), carried + static_cast<size_t>(read));
        part.read(data);
        carried = std::min(kCarried, data.size());
        std::copy(data.end() - carried, data.end(), buffer.begin());
    }
    // Closing compares the part's checksum.
    return unzCloseCurrentFile(archive) == UNZ_OK && read == 0;
}

std::string part_name(unzFile archive) {
    std::array<char, 256> name{};
    unz_file_info info;
    unzGetCurrentFileInfo(archive, &info, name.data(), name.size() - 1, nullptr, 0, nullptr, 0);
    return name.data();
}

}  // namespace

bool workbook_is_whole(const char* path, uint64_t cells) {
    const Archive archive(unzOpen(path));
    if (!archive) return false;
    uint64_t found = 0;
    int next = unzGoToFirstFile(archive.get());
    for (; next == UNZ_OK; next = unzGoToNextFile(archive.get())) {
        Part part;
        if (!read_part(archive.get(), part) || !part.has_end()) return false;
        if (part_name(archive.get()) == kSheet) found = part.cells();
    }
    return next == UNZ_END_OF_LIST_OF_FILE && found == cells;
}

}  // namespace ssd_op::report
