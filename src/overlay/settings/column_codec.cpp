#include "overlay/settings/column_codec.h"

#include "base/json_read.h"
#include "overlay/settings/setting_key.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vt {

namespace {

using json = nlohmann::json;

constexpr SettingKey<ColumnSpec> kSpecKeys[] = {
    {"enabled", &ColumnSpec::enabled},
    {"race", &ColumnSpec::race},
    {"qualy", &ColumnSpec::qualy},
    {"practice", &ColumnSpec::practice},
};

constexpr SettingKey<ColumnOptions> kOptionKeys[] = {
    {"licColorByClass", &ColumnOptions::licColorByClass},
    {"licBadge", &ColumnOptions::licBadge},
    {"licMode", &ColumnOptions::licMode, within(0, 2)},
    {"relColorMode", &ColumnOptions::relColorMode, within(0, 2)},
    {"relBattleSec", &ColumnOptions::relBattleSec, within(0.1, 3)},
    {"relDecimals", &ColumnOptions::relDecimals, within(0, 2)},
    {"relBarClassic", &ColumnOptions::relBarClassic},
    {"relBarGrid", &ColumnOptions::relBarGrid},
    {"relBarCompact", &ColumnOptions::relBarCompact},
    {"relBarAnchor", &ColumnOptions::relBarAnchor},
    {"relBarRows", &ColumnOptions::relBarRows},
    {"relBarApex", &ColumnOptions::relBarApex},
    {"nameMode", &ColumnOptions::nameMode, within(0, 4)},
    {"nameBattle", &ColumnOptions::nameBattle},
    {"nameBattleSec", &ColumnOptions::nameBattleSec},
    {"lapBestHighlight", &ColumnOptions::lapBestHighlight},
    {"compStyle", &ColumnOptions::compStyle, within(0, 1)},
    {"compHideUniform", &ColumnOptions::compHideUniform},
    {"compWetDry", &ColumnOptions::compWetDry},
    {"posTalking", &ColumnOptions::posTalking},
    {"posSolidBg", &ColumnOptions::posSolidBg},
    {"classStyle", &ColumnOptions::classStyle, within(0, 1)},
    {"brandStyle", &ColumnOptions::brandStyle, within(0, 2)},
    {"brandApexMark", &ColumnOptions::brandApexMark, within(0, 1)},
    {"tyreAgeMode", &ColumnOptions::tyreAgeMode, within(0, 1)},
};

const ColumnSpec* find(const ColumnList& list, int fieldId) {
    const auto end = list.specs.begin() + list.count;
    const auto found = std::find_if(
        list.specs.begin(), end, [&](const ColumnSpec& spec) { return spec.fieldId == fieldId; });
    return found == end ? nullptr : &*found;
}

void append(ColumnList& list, const ColumnSpec& spec) {
    list.specs[static_cast<size_t>(list.count++)] = spec;
}

} // namespace

void readColumns(ColumnList& list, const json& object, const ColumnList& defaults) {
    const auto columns = object.find("columns");
    if (columns == object.end() || !columns->is_array()) return;
    ColumnList read;
    for (const json& entry : *columns) {
        const int fieldId = readInt(entry, "fieldId", -1);
        const ColumnSpec* known = find(defaults, fieldId);
        if (!known || find(read, fieldId)) continue;
        ColumnSpec spec = *known;
        readSettings(kSpecKeys, entry, spec);
        if (const auto opts = entry.find("opts"); opts != entry.end())
            readSettings(kOptionKeys, *opts, spec.opts);
        append(read, spec);
    }
    for (const ColumnSpec& spec : defaults.specs)
        if (!find(read, spec.fieldId)) append(read, spec);
    list = read;
}

void writeColumns(const ColumnList& list, json& object) {
    json columns = json::array();
    for (int i = 0; i < list.count; ++i) {
        const ColumnSpec& spec = list.specs[static_cast<size_t>(i)];
        json entry = {{"fieldId", spec.fieldId}}, opts = json::object();
        writeSettings(kSpecKeys, spec, entry);
        writeSettings(kOptionKeys, spec.opts, opts);
        entry["opts"] = std::move(opts);
        columns.push_back(std::move(entry));
    }
    object["columns"] = std::move(columns);
}

} // namespace vt
