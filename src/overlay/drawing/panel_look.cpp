#include "overlay/drawing/panel_look.h"

#include "overlay/drawing/drawing.h"

namespace vt {

namespace {

struct FormatRow {
    const char* family;
    int weight;
    float size;
    bool italic;
};

constexpr const char* kSans = "Inter Tight";
constexpr const char* kMono = "JetBrains Mono";
constexpr FormatRow kFormats[kPanelFormatCount] = {
    {kSans, 700, 13, false}, {kMono, 400, 9.5f, false}, {kMono, 400, 9, false},
    {kMono, 400, 12, false}, {kSans, 600, 14, false},   {kMono, 400, 9.5f, false},
    {kSans, 600, 10, false}, {kSans, 700, 17, true},    {kMono, 400, 9, false},
    {kSans, 600, 13, false}, {kMono, 400, 10, false},   {kSans, 400, 11, false},
    {kMono, 400, 9, false},  {kMono, 400, 13, false},   {kMono, 400, 9, false},
};

constexpr Color kSurface1{0.063f, 0.071f, 0.086f, 1};
constexpr Color kSurface2{0.086f, 0.098f, 0.125f, 1};
constexpr Color kSurface3{0.11f, 0.125f, 0.161f, 1};
constexpr Color kSurface4{0.137f, 0.153f, 0.196f, 1};

constexpr Color white(float alpha) {
    return {1, 1, 1, alpha};
}
constexpr Color text(float alpha) {
    return {0.961f, 0.969f, 0.98f, alpha};
}

constexpr Color kNeutral[kBrushAccent] = {
    {0.039f, 0.043f, 0.051f, 1},
    kSurface1,
    kSurface2,
    kSurface3,
    kSurface4,
    white(0.04f),
    white(0.07f),
    white(0.14f),
    white(0.22f),
    text(1),
    text(0.78f),
    text(0.55f),
    text(0.38f),
    text(0.22f),
    {0, 0.784f, 0.392f, 1},
    text(0.38f),
    {0.902f, 0.251f, 0.22f, 1},
    {0, 0, 0, 0.4f},
};

struct AccentRow {
    float r, g, b;
    std::array<float, 4> alphas;
};
constexpr AccentRow kAccents[] = {
    {1.0f, 0.29f, 0.29f, {1, 0.55f, 0.08f, 0.28f}},
    {0.42f, 0.176f, 0.357f, {1, 0.55f, 0.1f, 0.32f}},
    {1.0f, 0.784f, 0, {1, 0.55f, 0.08f, 0.3f}},
    {0.118f, 0.302f, 0.549f, {1, 0.55f, 0.1f, 0.32f}},
    {0, 0.259f, 0.145f, {1, 0.55f, 0.1f, 0.32f}},
    {0.91f, 0.929f, 0.953f, {1, 0.45f, 0.06f, 0.22f}},
};

struct PanelLook {
    std::array<TextFormatRef, kPanelFormatCount> formats;
    std::array<BrushRef, kPanelBrushCount> brushes;
    int accent = -1;
};
PanelLook look;

const AccentRow& accentRow(int index) {
    return kAccents[index >= 0 && index < 6 ? static_cast<size_t>(index) : 0];
}

Color accentColor(const AccentRow& row, size_t alpha) {
    return {row.r, row.g, row.b, row.alphas[alpha]};
}

} // namespace

void createPanelFormats(float unit) {
    for (size_t i = 0; i < kPanelFormatCount; ++i) {
        const FormatRow& row = kFormats[i];
        look.formats[i] = makeTextFormat(row.family, row.size * unit, row.weight, row.italic);
    }
}

void releasePanelFormats() {
    look.formats = {};
}

const TextFormat* panelFormat(PanelFormat role) {
    return look.formats[role].get();
}

void createPanelBrushes(int accentIndex) {
    if (!look.brushes[kBrushBackground])
        for (size_t i = 0; i < kBrushAccent; ++i)
            look.brushes[i] = solidBrush(kNeutral[i]);
    const int accent = accentIndex >= 0 && accentIndex < 6 ? accentIndex : 0;
    if (accent == look.accent) return;
    look.accent = accent;
    for (size_t i = 0; i < 4; ++i)
        look.brushes[kBrushAccent + i] = solidBrush(accentColor(accentRow(accent), i));
}

void releasePanelBrushes() {
    look.brushes = {};
    look.accent = -1;
}

const Brush* panelBrush(PanelBrush role) {
    return look.brushes[role].get();
}

BrushRef panelGradient(PanelGradient kind, float top, float bottom) {
    const AccentRow& accent = accentRow(look.accent);
    Color from = kSurface1, to = kSurface2;
    if (kind == PanelGradient::raised) from = kSurface3, to = kSurface4;
    if (kind == PanelGradient::accent) from = accentColor(accent, 0), to = accentColor(accent, 1);
    if (kind == PanelGradient::accentSoft)
        from = accentColor(accent, 3), to = accentColor(accent, 2);
    return linearGradient({0, top}, {0, bottom}, {{0, from}, {1, to}});
}

} // namespace vt
