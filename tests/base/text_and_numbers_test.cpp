#include "base/format.h"
#include "base/hash.h"
#include "base/json_read.h"
#include "base/lap.h"
#include "base/pacing.h"
#include "base/stats.h"
#include "base/utf8.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <climits>
#include <limits>

using namespace vt;

TEST(Utf8, CutsOnlyBetweenCodePoints) {
    const std::string text = "aé語🏁z"; // 1, 2, 3, 4 and 1 bytes
    const size_t borders[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 11};
    for (size_t limit = 0; limit < std::size(borders); ++limit) {
        EXPECT_EQ(utf8CutLength(text, limit), borders[limit]) << limit;
        EXPECT_TRUE(utf8Valid(std::string_view(text).substr(0, borders[limit])));
    }
    EXPECT_EQ(utf8Count(text), 5u);
    EXPECT_EQ(utf8Prefix(text, 3), 6u);

    char field[6];
    copyText(field, text);
    EXPECT_STREQ(field, "aé") << "the code point that does not fit is left out whole";
    copyText(field, std::string_view("ab\0cd", 5));
    EXPECT_STREQ(field, "ab");
    copyText(field, "\xE9t\xE9"); // not UTF-8: a sim's Windows text
    EXPECT_STREQ(field, "été");
}

TEST(Utf8, RejectsWhatOnlyLooksLikeIt) {
    const struct {
        const char* bytes;
        bool valid;
    } cases[] = {
        {"plain", true},
        {"\xC3\xA9", true},
        {"\xF0\x9F\x8F\x81", true},
        {"\xC0\xAF", false}, // overlong
        {"\xE0\x80\xAF", false},
        {"\xED\xA0\x80", false},     // surrogate
        {"\xF4\x90\x80\x80", false}, // above U+10FFFF
        {"\x80", false},
        {"\xE8\xAA", false}, // cut short
    };
    for (const auto& c : cases) {
        EXPECT_EQ(utf8Valid(c.bytes), c.valid);
        EXPECT_TRUE(utf8Valid(utf8Repaired(c.bytes)));
    }
}

TEST(Windows1252, MapsItsOwnSignsAndTheUndefinedOnes) {
    EXPECT_EQ(windows1252ToUtf8("\x80\x99\xFC"), "€™ü");
    EXPECT_EQ(windows1252ToUtf8("\x81"), "\xC2\x81");
    EXPECT_EQ(foreignToUtf8("Müller"), "Müller");
    EXPECT_EQ(foreignToUtf8("M\xFCller"), "Müller");
}

TEST(LapTimes, RoundUpIntoTheNextMinute) {
    const struct {
        double seconds;
        const char* text;
        const char* tenths;
    } cases[] = {
        {91.6, "1:31.600", "1:31.6"},
        {59.9996, "1:00.000", "1:00.0"},
        {59.96, "0:59.960", "1:00.0"},
        {3723.45, "62:03.450", "62:03.5"},
        {0, "", ""},
        {-1, "", ""},
        {std::numeric_limits<double>::quiet_NaN(), "", ""},
        {std::numeric_limits<double>::infinity(), "", ""},
    };
    char text[32];
    for (const auto& c : cases) {
        formatLapTime(text, sizeof text, c.seconds);
        EXPECT_STREQ(text, c.text);
        formatLapTimeTenths(text, sizeof text, c.seconds);
        EXPECT_STREQ(text, c.tenths);
    }
    formatDuration(text, sizeof text, 3599.9);
    EXPECT_STREQ(text, "59:59");
    formatDuration(text, sizeof text, 3600);
    EXPECT_STREQ(text, "1:00:00");
    char small[5];
    EXPECT_EQ(formatText(small, sizeof small, "%d", 1234567), 4);
    EXPECT_STREQ(small, "1234");
}

TEST(Hash, IsTheWellKnownOne) {
    EXPECT_EQ(fnv1a32(""), 0x811C9DC5u);
    EXPECT_EQ(fnv1a32("a"), 0xE40C292Cu);
    EXPECT_EQ(fnv1a64("foobar"), 0x85944171F73967E8ull);
    Fnv64 split, joined;
    split.text("ab");
    split.text("c");
    joined.text("a");
    joined.text("bc");
    EXPECT_NE(split.value, joined.value);
    Fnv64 a, b;
    a.scaled(1.2344, 1000);
    b.scaled(1.2341, 1000);
    EXPECT_EQ(a.value, b.value);
    Fnv64 nan, big;
    nan.scaled(std::numeric_limits<double>::quiet_NaN(), 10);
    big.scaled(1e300, 10);
    EXPECT_EQ(nan.value, big.value);
}

TEST(Lap, WrapsTheShortWayRound) {
    EXPECT_NEAR(wrapHalfLap(0.98 - 0.02), -0.04, 1e-12);
    EXPECT_NEAR(wrapHalfLap(0.02 - 0.98), 0.04, 1e-12);
    EXPECT_NEAR(forwardLap(0.95, 0.05), 0.1, 1e-12);
    EXPECT_NEAR(wrapLapTime(85.0, 90.0), -5, 1e-9);
    EXPECT_EQ(wrapLapTime(85.0, 0.5), 85);
    EXPECT_EQ(wrapHalfLap(std::numeric_limits<double>::infinity()), 0);
}

TEST(Pacing, KeepsItsGridAndDoesNotCatchUp) {
    constexpr int64_t second = 1000;
    int64_t next = 0;
    EXPECT_TRUE(paceDue(next, 10, 8, 5000, second)) << "the first turn is at once";
    EXPECT_FALSE(paceDue(next, 10, 8, 5091, second));
    EXPECT_TRUE(paceDue(next, 10, 8, 5092, second)) << "early within the slack";
    EXPECT_FALSE(paceDue(next, 10, 8, 5190, second));
    EXPECT_TRUE(paceDue(next, 10, 8, 5195, second)) << "the grid did not move with the early turn";
    EXPECT_TRUE(paceDue(next, 10, 8, 9000, second));
    EXPECT_FALSE(paceDue(next, 10, 8, 9001, second)) << "missed turns are not made up";
    EXPECT_TRUE(paceDue(next, 10, 8, 9092, second)) << "late by more than a turn: a new grid";

    EXPECT_EQ(nextDeadline(100, 33, 120), 133);
    EXPECT_EQ(nextDeadline(100, 33, 133), 166);
    EXPECT_EQ(nextDeadline(100, 33, 500), 533);
}

TEST(Median, OfOddEvenAndNone) {
    double odd[] = {9, 1, 5}, even[] = {4, 1, 9, 2};
    EXPECT_EQ(medianInPlace(odd, 3), 5);
    EXPECT_EQ(medianInPlace(even, 4), 3);
    EXPECT_EQ(medianInPlace(even, 0), 0);
}

TEST(JsonRead, NeverThrowsAndNeverOverflows) {
    nlohmann::json o;
    ASSERT_TRUE(
        parseJson(R"({"big":1e300,"low":-1e300,"half":2.9,"neg":-2.9,"u":18446744073709551615,
                              "text":"7","yes":true,"null":null,"list":[1]})",
                  o));
    EXPECT_EQ(readInt(o, "big", 5), INT_MAX);
    EXPECT_EQ(readInt(o, "low", 5), INT_MIN);
    EXPECT_EQ(readInt(o, "u", 5), INT_MAX);
    EXPECT_EQ(readInt(o, "half", 5), 2);
    EXPECT_EQ(readInt(o, "neg", 5), -2);
    for (const char* key : {"text", "yes", "null", "list", "absent"})
        EXPECT_EQ(readInt(o, key, 5), 5) << key;
    EXPECT_EQ(readFloat(o, "big", 1.5f), 1.5f) << "no float holds it";
    EXPECT_EQ(readBool(o, "half", true), true);
    EXPECT_EQ(readString(o, "half", "x"), "x");
    EXPECT_EQ(readInt(o["list"], "half", 5), 5) << "the parent is no object";
    EXPECT_FALSE(parseJson("{\"a\":1", o));
    EXPECT_FALSE(parseJson("{} {}", o));
    EXPECT_TRUE(o.is_null());
    const std::string text = dumpJson({{"a", "\xFF"}});
    EXPECT_TRUE(utf8Valid(text));
}
