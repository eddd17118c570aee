// The switch in iRacing's own settings: what is found where, and what a file looks like afterwards.
#include "import/sim_logging.h"
#include "platform/file.h"
#include "support/perf_samples.h"

#include <gtest/gtest.h>

namespace vt {

namespace {

TEST(SimLogging, KeysAreFoundWhereTheSimLooks) {
    const std::string both = "irsdkEnableDisk=1\r\nirsdkAutoLogDisk=1\r\n";
    EXPECT_TRUE(telemetryLoggingOn("[Misc]\r\n" + both));
    EXPECT_TRUE(telemetryLoggingOn("[misc]\r\nIRSDKenabledisk = 1 ; on\r\nirsdkAutoLogDisk=1"));
    EXPECT_TRUE(telemetryLoggingOn("[Telemetry]\r\nother=2\r\n" + both));
    EXPECT_FALSE(telemetryLoggingOn("[Telemetry]\r\n" + both)) << "the sim never looks there";
    EXPECT_FALSE(telemetryLoggingOn("[Misc]\nirsdkEnableDisk=0\n[Other]\n" + both))
        << "[Misc] goes first";
    EXPECT_FALSE(telemetryLoggingOn(""));
}

TEST(SimLogging, OnlyWhatMustChangesIs) {
    const std::string before =
        "; mine\r\n[Misc]\r\nirsdkEnableDisk=0   ; log\r\nother=1\r\n\r\n\r\n"
        "[Telemetry]\r\nirsdkAutoLogDisk=0\r\n\r\n[Force]\r\nx=y\r\n";
    const std::string after = "; mine\r\n[Misc]\r\nirsdkEnableDisk=1   ; log\r\nother=1\r\n"
                              "irsdkAutoLogDisk=1\r\n\r\n\r\n[Force]\r\nx=y\r\n";
    EXPECT_EQ(withTelemetryLogging(before), after);
    EXPECT_EQ(withTelemetryLogging(after), after);
    EXPECT_EQ(withTelemetryLogging("[A]\nb=c"),
              "[A]\nb=c\n[Misc]\nirsdkEnableDisk=1\nirsdkAutoLogDisk=1");
}

bool nothingRuns(std::vector<std::string>& names) {
    names = {"bash"};
    return true;
}
bool simRuns(std::vector<std::string>& names) {
    names = {"iRacingSim64DX11.exe"};
    return true;
}

TEST(SimLogging, WaitsUntilTheSimIsClosed) {
    test::ScratchFolder folder("vt_logging");
    const std::string ini = folder.text() + "/iRacing/app.ini";
    makeFolders(folder.text() + "/iRacing");
    ASSERT_TRUE(writeFileAtomic(ini, "[Misc]\r\nirsdkEnableDisk=0\r\n"));
    SimLoggingPlaces places{folder.text(), folder.text(), simRuns};
    EXPECT_EQ(turnLoggingOn(places), LoggingAnswer::whenShut);
    EXPECT_FALSE(loggingPendingTick(places));
    EXPECT_FALSE(loggingIsOn(places));
    places.lister = nothingRuns;
    EXPECT_TRUE(loggingPendingTick(places));
    EXPECT_TRUE(loggingIsOn(places));
    EXPECT_FALSE(loggingPendingTick(places)) << "done once";
    std::string backup;
    ASSERT_TRUE(readFile(ini + ".vantorel-backup", backup));
    EXPECT_EQ(backup, "[Misc]\r\nirsdkEnableDisk=0\r\n");
    places.documents = folder.text() + "/nowhere";
    EXPECT_EQ(turnLoggingOn(places), LoggingAnswer::failed);
}

} // namespace

} // namespace vt
