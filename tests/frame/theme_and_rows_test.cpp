#include "overlay/frame/page_builder.h"
#include "overlay/frame/theme.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace vt;

TEST(Themes, indexAndOverride) {
    EXPECT_STREQ(overlayTheme(3).name, "Smoked Glass");
    EXPECT_STREQ(overlayTheme(4).name, "Apex Red");
    EXPECT_STREQ(overlayTheme(-1).name, "Apex Red");
    setDrawTheme(2);
    EXPECT_EQ(themeCornerRadius(), 10);
    EXPECT_EQ(themePalette().accent, (Color{0.227f, 0.875f, 0.486f, 1}));
    setDrawTheme(9);
    EXPECT_EQ(drawTheme(), 0);

    AppConfig config;
    config.overlayThemeV2 = 2;
    config.overlayThemeOverride[kSlotFuel] = 3;
    config.overlayThemeOverride[kSlotDash] = 0;
    EXPECT_EQ(effectiveTheme(config, kSlotFuel), 3);
    EXPECT_EQ(effectiveTheme(config, kSlotDash), 0);
    EXPECT_EQ(effectiveTheme(config, kSlotRelative), 2);
    EXPECT_EQ(effectiveTheme(config, -1), 2);
    EXPECT_EQ(effectiveTheme(config, kSlotCount), 2);
}

TEST(Themes, packedColours) {
    EXPECT_EQ(accentColour(6), accentColour(0));
    EXPECT_EQ(colourFromRgb(0xFF8000), (Color{1, 128 / 255.0f, 0, 1}));
    // Chips are stored blue first.
    const Color iracing = simChipColour(0);
    EXPECT_EQ(iracing,
              colourFromRgb((4886745 & 0xFF) << 16 | (4886745 & 0xFF00) | (4886745 >> 16 & 0xFF)));
    EXPECT_GT(iracing.r, iracing.b);
}

TEST(Themes, alertPulse) {
    EXPECT_EQ(alertPulse(2, false, 500), 1);
    EXPECT_EQ(alertPulse(1, true, 250), 1);
    EXPECT_FLOAT_EQ(alertPulse(2, true, 7000), 0.55f);
    EXPECT_FLOAT_EQ(alertPulse(2, true, 7500), 1.0f);
    EXPECT_FLOAT_EQ(alertPulse(2, true, 7250), 0.775f);
    EXPECT_FLOAT_EQ(alertPulse(2, true, 7750), 0.775f);
}

namespace {

std::string labels(const std::vector<PageRow>& rows) {
    std::string out;
    for (const PageRow& row : rows)
        out += std::string(row.label) + (*row.label2 ? "+" : "") + row.label2 + ";";
    return out;
}

std::vector<PageRow> commonRows(OverlayConfig& overlay, bool height, bool strips) {
    std::vector<PageRow> rows;
    const PageBuilder page{&rows, [](void* user, const PageRow& row) {
                               static_cast<std::vector<PageRow>*>(user)->push_back(row);
                           }};
    addCommonRows(page, overlay, kSlotRelative, height, strips);
    return rows;
}

} // namespace

TEST(PageRows, fixedOrder) {
    OverlayConfig overlay;
    const std::string start =
        "GENERAL;Width;Height;Text size;;Use general opacity;Background;Text;";
    const std::string middle =
        "SHOW WHEN;In car+Out of car;Spotting+In garage;VR HEADSET;Show in VR;Face me "
        "automatically;Distance;Left / right;Up / down;Turn;Tilt;Size;Opacity;Anchor;STREAM;Show "
        "on stream;";
    const std::string strips = "HEADER;Visible;Left;Center;Right;FOOTER;Visible;Left;Center;Right;";
    EXPECT_EQ(labels(commonRows(overlay, true, true)), start + middle + strips);
    EXPECT_EQ(labels(commonRows(overlay, true, false)), start + middle);
    EXPECT_EQ(labels(commonRows(overlay, false, false)).find("Height"), std::string::npos);
}

// Each row must write into its own setting: set everything through the rows, and read it back.
TEST(PageRows, rowsWriteTheirOwnSettings) {
    OverlayConfig o;
    float real = 0.25f;
    int number = 100;
    for (PageRow& row : commonRows(o, true, true)) {
        if (row.flag) *row.flag = !*row.flag;
        if (row.flag2) *row.flag2 = !*row.flag2;
        if (row.real) {
            EXPECT_LT(row.min, row.max) << row.label;
            EXPECT_STRNE(row.unit, "") << row.label;
            *row.real = real += 0.25f;
        }
        if (row.number) *row.number = number++;
        if (row.kind == PageRow::Kind::refresh) {
            EXPECT_EQ(row.slot, kSlotRelative);
        }
    }
    const OverlayConfig was;
    EXPECT_EQ(
        (std::vector<float>{o.widthMul, o.heightMul, o.textScale, o.bgOpacity, o.contentOpacity,
                            o.vrZ, o.vrX, o.vrY, o.vrYaw, o.vrPitch, o.vrScale, o.vrOpacity}),
        (std::vector<float>{0.5f, 0.75f, 1, 1.25f, 1.5f, 1.75f, 2, 2.25f, 2.5f, 2.75f, 3, 3.25f}));
    EXPECT_EQ((std::vector<int>{o.refreshHz, o.vrAnchor, o.headerLeft, o.headerCenter,
                                o.headerRight, o.footerLeft, o.footerCenter, o.footerRight}),
              (std::vector<int>{100, 101, 102, 103, 104, 105, 106, 107}));
    EXPECT_TRUE(o.useGeneralOpacity != was.useGeneralOpacity && o.showInCar != was.showInCar &&
                o.showOutOfCar != was.showOutOfCar && o.showSpotting != was.showSpotting &&
                o.showInGarage != was.showInGarage && o.vrEnabled != was.vrEnabled &&
                o.vrAutoFace != was.vrAutoFace && o.mirrorOnStream != was.mirrorOnStream &&
                o.showHeader != was.showHeader && o.showFooter != was.showFooter);
    EXPECT_EQ(o.enabled, was.enabled);
    EXPECT_EQ(o.locked, was.locked);
}
