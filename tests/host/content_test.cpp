#include "refusal/content.h"

#include <fcntl.h>

#include "core/tool.h"
#include "host_tree.h"
#include "shared/descriptor.h"

namespace host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Content : public HostTree {
  protected:
    Content() {
        put("image", "");
        std::filesystem::resize_file(image_, kBytes);
    }
    ssd_op::shared::Descriptor open() const {
        return ssd_op::shared::Descriptor(::open(image_.c_str(), O_RDONLY | O_CLOEXEC));
    }
    std::vector<std::string> found() const {
        std::vector<std::string> texts;
        for (const Signature& signature : signatures_in(open().get()))
            texts.push_back(signature.text());
        return texts;
    }
    void write(uint64_t offset, std::string_view bytes) {
        std::fstream file(image_, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(offset))
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    static constexpr uint64_t kBytes = 16 << 20;
    const std::string image_ = base_ + "/image";
};

TEST_F(Content, IsFoundWhateverItIs) {
    EXPECT_THAT(found(), IsEmpty());
    EXPECT_FALSE(holds_data(open().get(), kBytes));
    write(kBytes - 1, "x");
    EXPECT_THAT(found(), IsEmpty());
    EXPECT_TRUE(holds_data(open().get(), kBytes));

    ASSERT_EQ(run_tool({"mkfs.ext4", "-q", "-L", "a\x1b b", image_}).status, 0);
    EXPECT_THAT(found(), ElementsAre("ext4 \"a\\x1b b\""));
    ASSERT_EQ(run_tool({"mkswap", "-f", image_}).status, 0);
    EXPECT_THAT(found(), ElementsAre("swap"));
    EXPECT_THROW(signatures_in(-1), Failure);
}

TEST_F(Content, OfAnArrayIsFoundAtItsEndBesideOthers) {
    // A superblock of md, version 1.0, as far as it tells itself.
    constexpr uint64_t kPlace = kBytes - 8192;
    ASSERT_EQ(run_tool({"mkfs.ext4", "-q", image_, "8M"}).status, 0);
    write(kPlace, std::string("\xfc\x4e\x2b\xa9\x01\0\0\0", 8));
    write(kPlace + 144, std::string("\xf0\x7f\0\0\0\0\0\0", 8));  // its own sector, 32752
    EXPECT_THAT(found(), ElementsAre("linux_raid_member", "ext4"));
}

TEST_F(Content, IsFoundInPartitionsThatTheKernelHasNotRead) {
    constexpr const char* kGuid = "6F1E3B5A-0000-4000-8000-000000000001";
    std::filesystem::resize_file(image_, 96 << 20);  // no smaller pool is believed
    ASSERT_EQ(run_tool({"sfdisk", "-q", image_},
                       {.input = fmt::format("label: gpt\nlabel-id: {}\nstart=1M, size=4M\n"
                                             "start=8M, size=72M\n",
                                             kGuid)})
                  .status,
              0);
    EXPECT_THAT(found(), ElementsAre("gpt"));
    ASSERT_EQ(
        run_tool({"mkfs.ext4", "-q", "-L", "data", "-E", "offset=1048576", image_, "4M"}).status,
        0);
    for (uint64_t block = 0; block < 8; ++block)  // of a ZFS label, what tells that it is one
        write((8 << 20) + (128 << 10) + (block << 10), std::string("\x0c\xb1\xba\0\0\0\0\0", 8));
    EXPECT_THAT(found(),
                ElementsAre("gpt", "partition 1: ext4 \"data\"", "partition 2: zfs_member"));
    const auto signatures = signatures_in(open().get());
    EXPECT_TRUE(signatures.at(2).is_of_shared_storage());

    EXPECT_EQ(not_ours(signatures, kGuid).size(), 2u);
    EXPECT_EQ(not_ours(signatures, "").size(), 3u);
    std::vector<Signature> in_array{signatures[0], {.type = "LVM2_member", .partition = 3}};
    EXPECT_THAT(not_ours(in_array, kGuid), IsEmpty());
    in_array[0].table = "another";
    EXPECT_EQ(not_ours(in_array, kGuid).size(), 2u);
}

}  // namespace
}  // namespace host
