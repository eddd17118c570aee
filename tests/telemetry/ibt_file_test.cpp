#include "telemetry/ibt/ibt_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace vt {
namespace {

const std::string kReal = VT_SOURCE_DIR "/../shared/realdata/ibt/spielberg_6s.ibt";

class IbtFileTest : public testing::Test {
protected:
    std::string path_ =
        std::filesystem::temp_directory_path() / ("vt_ibt_" + std::to_string(getpid()) + ".ibt");
    std::vector<uint8_t> bytes_;
    IrHeader head_;

    void SetUp() override {
        // Two variables, ten records of 12 bytes, a text.
        head_.tickRate = 60;
        head_.numVars = 2;
        head_.varHeaderOffset = 144;
        head_.sessionInfoOffset = 144 + 2 * 144;
        head_.sessionInfoLen = 20;
        head_.numBuf = 1;
        head_.bufLen = 12;
        head_.varBuf[0].bufOffset = head_.sessionInfoOffset + 20;
        bytes_.resize(static_cast<size_t>(head_.varBuf[0].bufOffset) + 10 * 12 + 5);
        IrVarHeader time{kIrDouble, 0, 1, 0, "SessionTime", ""};
        IrVarHeader lap{kIrInt, 8, 1, 0, "Lap", ""};
        std::memcpy(&bytes_[144], &time, sizeof time);
        std::memcpy(&bytes_[288], &lap, sizeof lap);
        std::memcpy(&bytes_[static_cast<size_t>(head_.sessionInfoOffset)], "Gr\xFCn", 4);
        const int32_t laps = 7;
        std::memcpy(&bytes_[136], &laps, 4);
        for (int i = 0; i < 10; ++i) {
            const double seconds = 100 + i;
            const int32_t number = i / 4;
            uint8_t* record = &bytes_[static_cast<size_t>(head_.varBuf[0].bufOffset + i * 12)];
            std::memcpy(record, &seconds, 8);
            std::memcpy(record + 8, &number, 4);
        }
    }
    void TearDown() override { std::filesystem::remove(path_); }

    void write(size_t length = SIZE_MAX) {
        std::memcpy(bytes_.data(), &head_, sizeof head_);
        std::ofstream file(path_, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes_.data()),
                   static_cast<std::streamsize>(std::min(length, bytes_.size())));
    }
};

TEST_F(IbtFileTest, RecordsInAnyOrder) {
    write();
    IbtFile file;
    ASSERT_TRUE(file.open(path_));
    EXPECT_EQ(file.header().sampleCount, 10) << "a half record at the end is none";
    EXPECT_EQ(file.header().sessionLapCount, 7);
    EXPECT_EQ(file.header().sessionText, "Grün");
    for (const int i : {0, 9, 4})
        EXPECT_DOUBLE_EQ(file.sample(i).number("SessionTime"), 100 + i);
    EXPECT_EQ(file.sample(9).integer("Lap"), 2);
    EXPECT_EQ(file.sample(10).integer("Lap", -5), -5);
    EXPECT_EQ(file.sample(-1).integer("Lap", -5), -5);
    EXPECT_FALSE(file.damaged());
    const int64_t changed = file.header().modifiedNs;
    EXPECT_TRUE(file.busy(changed + 1'000'000'000));
    EXPECT_FALSE(file.busy(changed + 60'000'000'000));
    std::ofstream writer(path_, std::ios::app);
    EXPECT_TRUE(file.busy(changed + 60'000'000'000)) << "a program holds it open";
}

TEST_F(IbtFileTest, WhatIsNoTelemetryFileIsRefused) {
    for (const size_t length : {0ul, 111ul, 300ul, 450ul}) {
        write(length);
        IbtHeader header;
        EXPECT_FALSE(ibtReadHeader(path_, header)) << length;
    }
    const IrHeader good = head_;
    const auto refused = [&](auto change) {
        head_ = good;
        change(head_);
        write();
        IbtFile file;
        return !file.open(path_);
    };
    EXPECT_TRUE(refused([](IrHeader& h) { h.numBuf = 0; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.numBuf = 5; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.bufLen = 0; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.numVars = 100001; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.numVars = 400; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.varHeaderOffset = 100; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.varBuf[0].bufOffset = 100; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.varBuf[0].bufOffset = 1 << 30; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.sessionInfoLen = INT32_MAX; }));
    EXPECT_TRUE(refused([](IrHeader& h) { h.sessionInfoOffset = -4; }));
    EXPECT_FALSE(refused([](IrHeader& h) { h.bufLen = 1; })) << "odd, but readable";
    IbtFile folder;
    EXPECT_FALSE(folder.open(std::filesystem::temp_directory_path()));
}

TEST_F(IbtFileTest, AFileThatIsCutWhileItIsReadGivesNothing) {
    write();
    IbtFile file;
    ASSERT_TRUE(file.open(path_));
    std::filesystem::resize_file(path_, 500);
    EXPECT_DOUBLE_EQ(file.sample(9).number("SessionTime", -1), -1);
    EXPECT_TRUE(file.damaged());
}

TEST(IbtRecording, ARealFile) {
    if (!std::filesystem::exists(kReal)) GTEST_SKIP() << "no recording at " << kReal;
    IbtFile file;
    ASSERT_TRUE(file.open(kReal));
    EXPECT_EQ(file.header().sampleCount, 390);
    EXPECT_EQ(file.header().bufLen, 1072);
    EXPECT_EQ(file.header().tickRate, 60);
    EXPECT_EQ(file.vars().size(), 276u);
    EXPECT_NE(file.header().sessionText.find("TrackDisplayName:"), std::string::npos);
    double last = 0;
    for (int i = 0; i < file.header().sampleCount; ++i) {
        const double now = file.sample(i).number("SessionTime");
        if (i > 0) {
            EXPECT_NEAR(now - last, 1.0 / 60, 0.002);
        }
        last = now;
    }
}

} // namespace
} // namespace vt
