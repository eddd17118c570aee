#include "platform/process_list.h"
#include "support/child_process.h"
#include "support/eventually.h"
#include "telemetry/process_scan.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>

using namespace vt;

namespace {

int listings = 0;

bool listOne(std::vector<std::string>& names) {
    ++listings;
    names = {"wrc.exe"};
    return true;
}
bool listNothing(std::vector<std::string>& names) {
    ++listings;
    names.clear();
    return true;
}
bool fail(std::vector<std::string>&) {
    ++listings;
    return false;
}

} // namespace

TEST(ProcessScan, TellsSimulatorsByTheirPrograms) {
    const struct {
        std::vector<std::string> names;
        std::atomic<uint32_t> ProcessScan::*result;
        uint32_t expected;
    } cases[] = {
        {{"init", "VANTOREL.exe"}, &ProcessScan::siblingRunning, 1},
        {{"telemetry_test.exe"}, &ProcessScan::siblingRunning, 1},
        {{"Vantorel.exe.bak", "Vantorel"}, &ProcessScan::siblingRunning, 0},
        {{"F1_25.exe"}, &ProcessScan::f1Running, 1},
        {{"f1_2"}, &ProcessScan::f1Running, 1},
        {{"F1_19.exe", "xF1_25.exe"}, &ProcessScan::f1Running, 0},
        {{"assettocorsaevo-Win64.exe"}, &ProcessScan::acEvoRunning, 1},
        {{"dirtrally2.exe"}, &ProcessScan::dirtRally2Running, 1},
        {{"dirtrally.exe"}, &ProcessScan::dirtRally2Running, 0},
        {{"WRC.exe"}, &ProcessScan::wrcRunning, 1},
        {{"BeamNG.drive.x64.exe"}, &ProcessScan::beamNgRunning, 1},
        {{"BeamNG.drive.exe"}, &ProcessScan::beamNgRunning, 1},
        {{}, &ProcessScan::beamNgRunning, 0},
    };
    ProcessScan scan;
    for (const auto& c : cases) {
        applyProcessNames(scan, c.names);
        EXPECT_EQ((scan.*c.result).load(), c.expected)
            << (c.names.empty() ? "nothing" : c.names[0]);
    }
}

TEST(ProcessScan, TellsTheFamilyOnlyWhenOneKindRuns) {
    const struct {
        std::vector<std::string> names;
        int32_t kind;
    } cases[] = {
        {{"AC2-Win64-Shipping.exe"}, kSimAcc},
        {{"acs.exe"}, kSimAc},
        {{"ACS_X86.EXE"}, kSimAc},
        {{"acs.exe", "acs_x86.exe"}, kSimAc},
        {{"acr.exe", "bash"}, kSimAcRally},
        {{"acs.exe", "acr.exe"}, kSimNone},
        {{"acr.exe", "AC2-Win64-Shipping.exe", "acs.exe"}, kSimNone},
        {{"acs"}, kSimNone},
        {{}, kSimNone},
    };
    ProcessScan scan;
    for (const auto& c : cases) {
        applyProcessNames(scan, c.names);
        EXPECT_EQ(scan.acFamilyKind.load(), c.kind) << (c.names.empty() ? "nothing" : c.names[0]);
    }
}

TEST(ProcessScan, LooksAtMostEveryThreeSecondsAndKeepsWhatItKnows) {
    ProcessScan scan;
    listings = 0;
    processScan(scan, 0, listOne); // a clock that has just started
    EXPECT_EQ(listings, 1);
    EXPECT_EQ(scan.wrcRunning.load(), 1u);
    processScan(scan, 2999, listNothing);
    EXPECT_EQ(listings, 1);
    processScan(scan, 5000, fail);
    EXPECT_EQ(scan.wrcRunning.load(), 1u) << "no list says nothing about what runs";
    processScan(scan, 7999, listNothing);
    EXPECT_EQ(listings, 2) << "a failed look counts as one";
    processScan(scan, 8000, listNothing);
    EXPECT_EQ(scan.wrcRunning.load(), 0u);

    scan.scanning = 1; // another thread is at it
    processScan(scan, 20000, listOne);
    EXPECT_EQ(listings, 3);
}

TEST(ProcessScan, FindsRealProcessesByTheirFullName) {
    const std::filesystem::path sleep = "/bin/sleep";
    if (!std::filesystem::exists(sleep)) GTEST_SKIP() << "no /bin/sleep to run under other names";
    char folder[] = "/tmp/vt_scan_XXXXXX";
    ASSERT_TRUE(mkdtemp(folder));
    // Longer than the 15 bytes that the kernel keeps of a command's name.
    const std::string program = std::string(folder) + "/AC2-Win64-Shipping.exe";
    std::filesystem::copy_file(sleep, program);
    ProcessScan scan;
    {
        vt::test::ChildProcess child({program, "600"});
        EXPECT_TRUE(vt::test::eventually([&, now = 10000u]() mutable {
            processScan(scan, now += 3000, listProcessNames);
            return scan.acFamilyKind == kSimAcc;
        }));
    }
    processScan(scan, 1'000'000'000, listProcessNames);
    EXPECT_EQ(scan.acFamilyKind.load(), kSimNone);
    std::filesystem::remove_all(folder);
}
