#include "overlay/frame/page_builder.h"

#include "base/translate.h"

namespace vt {

namespace {

using Kind = PageRow::Kind;

struct Slider {
    const char* label;
    float OverlayConfig::*setting;
    float min, max;
    const char* unit;
    const char* hint;
};

void addSection(const PageBuilder& page, const char* title) {
    page.row({.kind = Kind::section, .label = Translate(title)});
}

void addSlider(const PageBuilder& page, OverlayConfig& overlay, const Slider& slider) {
    page.row({.kind = Kind::floatSlider,
              .label = Translate(slider.label),
              .hint = Translate(slider.hint),
              .unit = slider.unit,
              .real = &(overlay.*slider.setting),
              .min = slider.min,
              .max = slider.max});
}

void addToggle(const PageBuilder& page, const char* label, bool& flag, const char* hint) {
    page.row(
        {.kind = Kind::toggle, .label = Translate(label), .hint = Translate(hint), .flag = &flag});
}

void addPair(const PageBuilder& page, const char* label, bool& flag, const char* label2,
             bool& flag2) {
    page.row({.kind = Kind::togglePair,
              .label = Translate(label),
              .label2 = Translate(label2),
              .flag = &flag,
              .flag2 = &flag2});
}

constexpr Slider kWidth = {"Width",
                           &OverlayConfig::widthMul,
                           0.25f,
                           4.0f,
                           "x",
                           "How wide the overlay is. Dragging its edge in arrange mode does the "
                           "same."};
constexpr Slider kHeight = {"Height",
                            &OverlayConfig::heightMul,
                            0.25f,
                            4.0f,
                            "x",
                            "How tall the overlay is. Dragging its edge in arrange mode does the "
                            "same."};
constexpr Slider kTextSize = {"Text size", &OverlayConfig::textScale,
                              0.5f,        3.0f,
                              "x",         "Size of the text inside, without changing the panel."};
constexpr Slider kBackground = {"Background",
                                &OverlayConfig::bgOpacity,
                                0,
                                1,
                                "%",
                                "How solid the panel behind the content is."};
constexpr Slider kText = {"Text", &OverlayConfig::contentOpacity,        0, 1,
                          "%",    "How solid the text and graphics are."};

constexpr Slider kHeadsetSliders[] = {
    {"Distance", &OverlayConfig::vrZ, -3.0f, -0.3f, "m", "How far in front of you it floats."},
    {"Left / right", &OverlayConfig::vrX, -1.5f, 1.5f, "m", "Further right is positive."},
    {"Up / down", &OverlayConfig::vrY, -1.5f, 1.5f, "m", "Further up is positive."},
    {"Turn", &OverlayConfig::vrYaw, -90, 90, "deg", "Turns it to the left or right."},
    {"Tilt", &OverlayConfig::vrPitch, -60, 60, "deg", "Leans it back or forward."},
    {"Size", &OverlayConfig::vrScale, 0.1f, 2.0f, "m", "How wide it is."},
    {"Opacity", &OverlayConfig::vrOpacity, 0, 1, "%", "How solid it is in the headset."},
};

void addGeneral(const PageBuilder& page, OverlayConfig& overlay, int slot, bool heightResizable) {
    addSection(page, "GENERAL");
    addSlider(page, overlay, kWidth);
    if (heightResizable) addSlider(page, overlay, kHeight);
    addSlider(page, overlay, kTextSize);
    page.row({.kind = Kind::refresh, .number = &overlay.refreshHz, .slot = slot});
    addToggle(page, "Use general opacity", overlay.useGeneralOpacity,
              "Takes both opacities from the App settings instead of the two below.");
    addSlider(page, overlay, kBackground);
    addSlider(page, overlay, kText);
}

void addShowWhen(const PageBuilder& page, OverlayConfig& overlay) {
    addSection(page, "SHOW WHEN");
    addPair(page, "In car", overlay.showInCar, "Out of car", overlay.showOutOfCar);
    addPair(page, "Spotting", overlay.showSpotting, "In garage", overlay.showInGarage);
}

void addHeadset(const PageBuilder& page, OverlayConfig& overlay) {
    // Rows may outlive this call, and so must the list.
    static const char* anchors[2];
    anchors[0] = Translate("In cockpit");
    anchors[1] = Translate("Follows head");
    addSection(page, "VR HEADSET");
    addToggle(page, "Show in VR", overlay.vrEnabled, "Shows this overlay inside the headset.");
    addToggle(page, "Face me automatically", overlay.vrAutoFace,
              "Turns the panel towards you wherever you place it.");
    for (const Slider& slider : kHeadsetSliders)
        addSlider(page, overlay, slider);
    page.row({.kind = Kind::choice,
              .label = Translate("Anchor"),
              .hint = Translate("Stays at its place in the cockpit, or moves with your head."),
              .number = &overlay.vrAnchor,
              .choices = anchors,
              .choiceCount = 2});
}

void addStream(const PageBuilder& page, OverlayConfig& overlay, int slot) {
    addSection(page, "STREAM");
    page.row({.kind = Kind::stream,
              .label = Translate("Show on stream"),
              .hint = Translate("Mirror this overlay into a plain window OBS can capture."),
              .flag = &overlay.mirrorOnStream,
              .slot = slot});
}

void addStrip(const PageBuilder& page, const char* title, const char* hint, bool& visible,
              int& left, int& center, int& right) {
    const auto picker = [&](const char* label, int& field, const char* help) {
        page.row({.kind = Kind::fieldPicker,
                  .label = Translate(label),
                  .hint = Translate(help),
                  .number = &field});
    };
    addSection(page, title);
    addToggle(page, "Visible", visible, hint);
    picker("Left", left, "Which value shows at the left of the strip.");
    picker("Center", center, "Which value shows in the middle of the strip.");
    picker("Right", right, "Which value shows at the right of the strip.");
}

} // namespace

void addCommonRows(const PageBuilder& page, OverlayConfig& overlay, int slot, bool heightResizable,
                   bool supportsStrips) {
    addGeneral(page, overlay, slot, heightResizable);
    addShowWhen(page, overlay);
    addHeadset(page, overlay);
    addStream(page, overlay, slot);
    if (!supportsStrips) return;
    addStrip(page, "HEADER", "A strip above the content.", overlay.showHeader, overlay.headerLeft,
             overlay.headerCenter, overlay.headerRight);
    addStrip(page, "FOOTER", "A strip below the content.", overlay.showFooter, overlay.footerLeft,
             overlay.footerCenter, overlay.footerRight);
}

} // namespace vt
