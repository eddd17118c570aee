#include "overlay/drawing/panel_look.h"

#include <gtest/gtest.h>

using namespace vt;

TEST(PanelLook, AccentIsRemadeOnlyWhenAnotherIsAsked) {
    releasePanelBrushes();
    EXPECT_EQ(panelBrush(kBrushText), nullptr);
    createPanelBrushes(3);
    const Brush* text = panelBrush(kBrushText);
    const Brush* accent = panelBrush(kBrushAccent);
    ASSERT_TRUE(text && accent && panelBrush(kBrushAccentEdge));
    createPanelBrushes(3);
    EXPECT_EQ(panelBrush(kBrushAccent), accent);
    createPanelBrushes(99); // counts as 0
    EXPECT_NE(panelBrush(kBrushAccent), nullptr);
    EXPECT_EQ(panelBrush(kBrushText), text) << "the neutral ones stay";
    releasePanelBrushes();
    EXPECT_EQ(panelBrush(kBrushAccent), nullptr);
}

TEST(PanelLook, EveryRoleHasItsFormat) {
    createPanelFormats(1.5f);
    for (int role = 0; role < kPanelFormatCount; ++role)
        ASSERT_NE(panelFormat(static_cast<PanelFormat>(role)), nullptr) << role;
    EXPECT_TRUE(panelFormat(kFormatTitle)->italic);
    EXPECT_EQ(panelFormat(kFormatTitle)->weight, 700);
    EXPECT_FLOAT_EQ(panelFormat(kFormatLargeValue)->size, 19.5f);
    releasePanelFormats();
    EXPECT_EQ(panelFormat(kFormatTitle), nullptr);
}
