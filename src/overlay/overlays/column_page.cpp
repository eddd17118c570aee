// The columns on the settings page: a switch each, and the options of those that have some.
#include "base/translate.h"
#include "overlay/overlays/list_overlay.h"

#include <array>
#include <iterator>

namespace vt {

namespace {

using Kind = PageRow::Kind;

struct OptionRow {
    int column;
    Kind kind;
    const char* label;
    bool ColumnOptions::*flag = nullptr;
    int ColumnOptions::*number = nullptr;
    float ColumnOptions::*real = nullptr;
    const char* const* choices = nullptr;
    int choiceCount = 0;
    float min = 0, max = 0;
    const char* unit = "";
};

constexpr const char* kLicenceModes[] = {"A 3.50", "A", "3.50"};
constexpr const char* kIntervalColours[] = {"Direction", "Threat", "Off"};
constexpr const char* kNameModes[] = {"Full", "F. Last", "Surname", "ABV", "First"};
constexpr const char* kCompoundStyles[] = {"Tyre", "Text"};
constexpr const char* kClassStyles[] = {"Spine", "Row tint"};
constexpr const char* kBrandStyles[] = {"Text", "Logo", "Both"};
constexpr const char* kApexMarks[] = {"Logos", "Letters"};
constexpr const char* kAgeModes[] = {"Laps", "NEW / OK / OLD"};

OptionRow toggle(int column, const char* label, bool ColumnOptions::*flag) {
    OptionRow row{column, Kind::toggle, label};
    row.flag = flag;
    return row;
}

template <size_t N>
OptionRow choice(int column, const char* label, int ColumnOptions::*number,
                 const char* const (&names)[N]) {
    OptionRow row{column, Kind::choice, label};
    row.number = number;
    row.choices = names;
    row.choiceCount = static_cast<int>(N);
    return row;
}

OptionRow slider(int column, const char* label, int ColumnOptions::*number, float min, float max,
                 const char* unit) {
    OptionRow row{column, Kind::intSlider, label};
    row.number = number;
    row.min = min;
    row.max = max;
    row.unit = unit;
    return row;
}

OptionRow battleRange() {
    OptionRow row{kColumnInterval, Kind::floatSlider, "Battle range"};
    row.real = &ColumnOptions::relBattleSec;
    row.min = 0.1f;
    row.max = 3;
    row.unit = "s";
    return row;
}

/// The gap bar has a switch per look; a page shows the one of the present look.
bool ColumnOptions::*barOfStyle(int style) {
    constexpr std::array<bool ColumnOptions::*, kListStyleCount> bars = {
        &ColumnOptions::relBarClassic, &ColumnOptions::relBarGrid, &ColumnOptions::relBarCompact,
        &ColumnOptions::relBarAnchor,  &ColumnOptions::relBarRows, &ColumnOptions::relBarApex};
    return bars[static_cast<size_t>(clampListStyle(style))];
}

std::vector<OptionRow> optionRows(int style) {
    using O = ColumnOptions;
    return {
        toggle(kColumnPosition, "Who's-talking dot", &O::posTalking),
        toggle(kColumnPosition, "Solid background", &O::posSolidBg),
        choice(kColumnClass, "Style", &O::classStyle, kClassStyles),
        choice(kColumnDriver, "Name", &O::nameMode, kNameModes),
        toggle(kColumnDriver, "Battle highlight", &O::nameBattle),
        slider(kColumnDriver, "Battle range", &O::nameBattleSec, 1, 5, "s"),
        toggle(kColumnLicence, "Colour by class", &O::licColorByClass),
        toggle(kColumnLicence, "Solid badge", &O::licBadge),
        choice(kColumnLicence, "Show", &O::licMode, kLicenceModes),
        choice(kColumnInterval, "Colour", &O::relColorMode, kIntervalColours),
        battleRange(),
        slider(kColumnInterval, "Decimals", &O::relDecimals, 0, 2, ""),
        toggle(kColumnInterval, "Gap bar", barOfStyle(style)),
        style == kListApex ? choice(kColumnBrand, "Style", &O::brandApexMark, kApexMarks)
                           : choice(kColumnBrand, "Style", &O::brandStyle, kBrandStyles),
        toggle(kColumnBestLap, "Highlight best laps", &O::lapBestHighlight),
        toggle(kColumnLastLap, "Highlight best laps", &O::lapBestHighlight),
        choice(kColumnCompound, "Style", &O::compStyle, kCompoundStyles),
        toggle(kColumnCompound, "Hide when all the same", &O::compHideUniform),
        toggle(kColumnCompound, "Wet / dry colours", &O::compWetDry),
        choice(kColumnTyreAge, "Show", &O::tyreAgeMode, kAgeModes),
    };
}

void addOption(const PageBuilder& page, const OptionRow& option, ColumnOptions& values) {
    PageRow row{.kind = option.kind, .label = Translate(option.label), .unit = option.unit};
    if (option.flag) row.flag = &(values.*option.flag);
    if (option.number) row.number = &(values.*option.number);
    if (option.real) row.real = &(values.*option.real);
    row.choices = option.choices;
    row.choiceCount = option.choiceCount;
    row.min = option.min;
    row.max = option.max;
    page.row(row);
}

} // namespace

void addColumnRows(const PageBuilder& page, ColumnList& list, const ColumnScene& scene) {
    page.row({.kind = Kind::section, .label = Translate("COLUMNS")});
    const std::vector<OptionRow> options = optionRows(scene.style);
    for (int i = 0; i < list.count; ++i) {
        ColumnSpec& spec = list.specs[static_cast<size_t>(i)];
        if (!styleCanShow(scene.kind, scene.style, spec.fieldId) ||
            spec.fieldId == kColumnPosGain || spec.fieldId == kColumnTags)
            continue;
        page.row({.kind = Kind::toggle,
                  .label = columnName(spec.fieldId),
                  .hint = columnHint(spec.fieldId),
                  .flag = &spec.enabled});
        for (const OptionRow& option : options)
            if (option.column == spec.fieldId) addOption(page, option, spec.opts);
    }
}

} // namespace vt
