// The flash of one drive: against theory, and as a file.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "flash/closed_form.h"
#include "flash/drive.h"

namespace {

using namespace appliance::flash;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::uint64_t kDriveBytes = 128'000'000'000;

TEST(FlashTranslation, AmplifiesWritesAsTheClosedFormSays) {
    constexpr std::uint32_t kBlocks = 1024;
    for (const double ratio : {1.07, 1.12, 1.2, 1.28, 1.4, 1.6, 2.0}) {
        const auto pages = static_cast<std::uint32_t>(kBlocks * Ftl::kPagesPerBlock / ratio);
        Ftl ftl(pages, kBlocks);
        Random random(7);
        ftl.write_sequential(0, pages);
        ftl.write_random(0, pages, pages * 3ull / 2, random);
        const Counters before = ftl.counters();
        ftl.write_random(0, pages, pages, random);
        const double measured = (ftl.counters() - before).write_amplification();
        EXPECT_NEAR(measured / expected_write_amplification(ratio), 1.0, 0.02) << "a = " << ratio;
        EXPECT_NEAR(ftl.recent_write_amplification() / measured, 1.0, 0.05) << "a = " << ratio;
    }
    EXPECT_NEAR(expected_write_amplification(1.2), 3.188, 0.001);
    EXPECT_NEAR(expected_write_amplification(1.2, 1'000'000), 3.188, 0.001);
}

TEST(FlashTranslation, RecoversInSequence) {
    constexpr std::uint32_t kBlocks = 1024;
    for (const double ratio : {1.07, 1.2, 1.6}) {
        const auto pages = static_cast<std::uint32_t>(kBlocks * Ftl::kPagesPerBlock / ratio);
        Ftl ftl(pages, kBlocks);
        Random random(7);
        ftl.write_sequential(0, pages);
        ftl.write_random(0, pages, pages * 2ull, random);
        const double steady = ftl.recent_write_amplification();
        std::vector<double> passes;
        for (int pass = 0; pass < 3; ++pass) {
            const Counters before = ftl.counters();
            ftl.write_sequential(0, pages);
            passes.push_back((ftl.counters() - before).write_amplification());
        }
        EXPECT_TRUE(1.1 < passes[0] && passes[0] < steady) << "a = " << ratio;
        EXPECT_LT(passes[1], 1.001) << "a = " << ratio;
        EXPECT_EQ(passes[2], 1.0) << "a = " << ratio;
    }
}

TEST(FlashTranslation, FindsRoomWhenEverythingIsMapped) {
    for (const std::uint32_t blocks : {3u, 8u}) {
        const std::uint32_t pages = Ftl::most_logical_pages(blocks);
        Ftl ftl(pages, blocks);
        Random random(1);
        ftl.write_sequential(0, pages);
        ftl.write_random(0, pages, 20'000, random);
        ftl.write_sequential(0, pages);
        EXPECT_EQ(ftl.mapped_pages(), pages);
        EXPECT_THROW(Ftl(pages + 1, blocks), std::invalid_argument);
    }
    EXPECT_THROW(Ftl(1, 2), std::invalid_argument);
}

TEST(FlashTranslation, KeepsEveryPageThatIsNotDiscarded) {
    constexpr std::uint32_t kPages = 3000;
    Ftl ftl(kPages, 16);
    Random random(3);
    std::vector<bool> mapped(kPages, false);
    for (int i = 0; i < 50'000; ++i) {
        const std::uint32_t first = random.below(kPages - 40);
        const bool trim = random.below(20) == 0;
        const std::uint32_t count = trim ? random.below(40) : 1;
        trim ? ftl.trim(first, count) : ftl.write(first);
        std::fill_n(mapped.begin() + first, count, !trim);
    }
    std::vector<bool> found(kPages, false);
    for (const std::uint32_t page : ftl.image().physical) {
        if (page != Ftl::kNone) found[page] = true;
    }
    EXPECT_EQ(found, mapped);
    EXPECT_EQ(ftl.mapped_pages(), std::count(mapped.begin(), mapped.end(), true));
    const Ftl loaded(ftl.image());
    for (std::uint32_t first = 0; first < kPages; first += 77) {
        const std::uint32_t count = std::min(kPages - first, 3 * first % 500);
        const auto expected =
            std::count(mapped.begin() + first, mapped.begin() + first + count, true);
        EXPECT_EQ(ftl.mapped_pages(first, count), expected) << first;
        EXPECT_EQ(loaded.mapped_pages(first, count), expected) << first;
    }
}

TEST(FlashTranslation, RefusesAnImageThatContradictsItself) {
    Ftl ftl(3000, 16);
    Random random(1);
    ftl.write_sequential(0, 3000);
    ftl.write_random(0, 3000, 5000, random);
    const Ftl::Image good = ftl.image();
    EXPECT_NO_THROW(Ftl{good});

    const std::vector<std::function<void(Ftl::Image&)>> damages = {
        [](auto& image) { image.logical_pages = 0; },
        [](auto& image) { image.logical_pages = Ftl::kNone; },
        [](auto& image) { image.physical.pop_back(); },
        [](auto& image) { image.physical.clear(); },
        [](auto& image) { image.physical[5] = 3000; },
        [](auto& image) { image.physical[5] = image.physical[6] = 1; },
        [](auto& image) { image.closed.pop_back(); },
        [](auto& image) { image.closed[0] = image.closed[1]; },
        [](auto& image) { image.closed[0] = 16; },
        [](auto& image) { image.empty.clear(); },
        [](auto& image) { std::swap(image.empty[0], image.closed.back()); },
        [](auto& image) { image.host.block = 16; },
        [](auto& image) { image.host.block = image.copies.block; },
        [](auto& image) { image.host.fill = Ftl::kPagesPerBlock + 1; },
        [](auto& image) { image.host.fill = 0; },
        [](auto& image) { image.copies.fill = 0; },
        [](auto& image) { image.copies.block = Ftl::kNone; },
        [](auto& image) { image.recent_copies = Ftl::kPagesPerBlock; },
    };
    for (std::size_t i = 0; i < damages.size(); ++i) {
        Ftl::Image image = good;
        damages[i](image);
        EXPECT_THROW(Ftl{image}, std::invalid_argument) << "damage " << i;
    }
}

TEST(Drive, DiscardsWhatLiesWhollyInsideAndWritesNeighboursOnce) {
    Drive drive({.nominal_bytes = kDriveBytes});
    const auto page = static_cast<std::uint64_t>(drive.page_bytes()) + 1;
    for (std::uint64_t at = 0; at < kDriveBytes; at += kDriveBytes / 1000 + 7) {
        drive.write_sequential({at, kDriveBytes / 1000 + 7});
    }
    EXPECT_DOUBLE_EQ(drive.mapped_share(), 1.0);
    EXPECT_EQ(drive.counters().copied_pages, 0u);
    const std::uint64_t pages = drive.counters().host_pages;

    drive.discard({1, page});  // touches two pages, covers none
    drive.discard({kDriveBytes, UINT64_MAX});
    EXPECT_EQ(drive.counters().trimmed_pages, 0u);
    drive.discard({1, 2 * page});
    EXPECT_EQ(drive.counters().trimmed_pages, 1u);
    drive.discard({0, UINT64_MAX});
    EXPECT_EQ(drive.counters().trimmed_pages, pages);
    EXPECT_DOUBLE_EQ(drive.mapped_share(), 0.0);

    for (int i = 0; i < 1000; ++i) drive.write_random({5, 100}, page / 100 + 1);
    EXPECT_EQ(drive.counters().host_pages, pages + 10);  // parts of pages add up
    EXPECT_NEAR(drive.mapped_share() * static_cast<double>(pages), 1.0, 1e-6);
}

TEST(Drive, MakesNoneOfImpossibleSize) {
    EXPECT_THROW(Drive({.nominal_bytes = 0}), std::invalid_argument);
    EXPECT_THROW(Drive({.nominal_bytes = kDriveBytes, .factory_spare_percent = -1}),
                 std::invalid_argument);
    EXPECT_THROW(Drive({.nominal_bytes = kDriveBytes, .blocks = 2}), std::invalid_argument);
    Drive without_spare({.nominal_bytes = kDriveBytes, .factory_spare_percent = 0});
    without_spare.write_sequential({0, kDriveBytes});
    without_spare.write_random({0, kDriveBytes}, kDriveBytes / 50);
    EXPECT_GT(without_spare.counters().write_amplification(), 1.0);
}

class DriveFile : public testing::Test {
  protected:
    void SetUp() override {
        char directory[] = "/tmp/flash_test.XXXXXX";
        ASSERT_NE(mkdtemp(directory), nullptr);
        directory_ = directory;
        path_ = directory_ / "1.flash";
    }
    void TearDown() override { std::filesystem::remove_all(directory_); }

    std::string content() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::string complaint(const std::string& content) const {
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << content;
        try {
            Drive::load(path_);
        } catch (const DamagedDrive& damage) {
            return damage.what();
        }
        return "none";
    }

    std::filesystem::path directory_, path_;
};

Drive used_drive(std::uint64_t seed) {
    Drive drive({.nominal_bytes = kDriveBytes, .seed = seed, .blocks = 64});
    drive.write_sequential({0, kDriveBytes});
    drive.write_random({0, kDriveBytes}, kDriveBytes + 4096);
    drive.discard({kDriveBytes / 2, kDriveBytes / 8});
    drive.spend(100, 1.0);
    return drive;
}

TEST_F(DriveFile, LetsADriveGoOnAsIfNothingHadHappened) {
    Drive kept = used_drive(5);
    kept.save(path_);
    Drive loaded = Drive::load(path_);
    EXPECT_EQ(loaded.temperature(), kept.temperature());
    for (Drive* drive : {&kept, &loaded}) drive->write_random({0, kDriveBytes}, 2 * kDriveBytes);
    EXPECT_EQ(kept.counters(), loaded.counters());
    EXPECT_EQ(kept.mapped_share(), loaded.mapped_share());
    EXPECT_EQ(kept.recent_write_amplification(), loaded.recent_write_amplification());
    EXPECT_EQ(used_drive(5).counters(), used_drive(5).counters());
    EXPECT_NE(used_drive(5).counters(), used_drive(6).counters());

    kept.save(path_);
    const std::string first = content();
    loaded.save(path_);
    EXPECT_EQ(first, content());
    EXPECT_THAT(
        std::vector<std::filesystem::path>(std::filesystem::directory_iterator(directory_), {}),
        ElementsAre(path_));
    EXPECT_THROW(kept.save(directory_ / "missing" / "1.flash"), std::filesystem::filesystem_error);
}

TEST_F(DriveFile, ReportsDamage) {
    EXPECT_THROW(Drive::load(path_), DamagedDrive);
    used_drive(5).save(path_);
    const std::string good = content();
    ASSERT_EQ(complaint(good), "none");

    EXPECT_THAT(complaint(""), HasSubstr("too short"));
    EXPECT_THAT(complaint(good.substr(0, 100)), HasSubstr("too short"));
    EXPECT_THAT(complaint(good.substr(0, good.size() - 1)), HasSubstr("wrong size"));
    EXPECT_THAT(complaint(good.substr(0, good.size() / 2)), HasSubstr("wrong size"));
    EXPECT_THAT(complaint(good + "x"), HasSubstr("wrong size"));
    EXPECT_THAT(complaint(std::string(good.size(), 'x')), HasSubstr("not a drive's"));
    std::string earlier = good;
    earlier[8] = 1;
    EXPECT_THAT(complaint(earlier), HasSubstr("is of version 1, and this build knows version 2"));
    for (std::size_t at = 0; at < good.size(); at += good.size() / 97) {
        std::string flipped = good;
        flipped[at] = static_cast<char>(flipped[at] ^ 0x10);
        EXPECT_NE(complaint(flipped), "none") << "byte " << at;
    }
}

}  // namespace
