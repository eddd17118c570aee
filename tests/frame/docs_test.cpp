// The two tables of docs/ that are made from the program itself. VT_WRITE_DOCS=1 writes them;
// otherwise the test tells when they are out of date.
#include "overlay/frame/fields.h"
#include "overlay/frame/sim_support.h"
#include "telemetry/demo_feed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace vt;

namespace {

constexpr double kDemoSeconds = 42;

std::string readText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void compareOrWrite(const char* name, const std::string& text) {
    const std::string path = std::string(VT_SOURCE_DIR "/docs/") + name;
    if (const char* write = std::getenv("VT_WRITE_DOCS"); write && std::string(write) == "1") {
        std::ofstream(path, std::ios::binary) << text;
        return;
    }
    EXPECT_TRUE(readText(path) == text)
        << name << " is out of date: run this test with VT_WRITE_DOCS=1 and commit the result";
}

std::string simHeads() {
    std::string line;
    for (int sim = 0; sim < kSimCount; ++sim)
        line += std::string(" ") + simShortName(sim) + " |";
    return line;
}

std::string rule(int columns) {
    std::string line = "|";
    for (int i = 0; i < columns; ++i)
        line += "---|";
    return line + "\n";
}

std::string cell(std::string_view text) {
    std::string out;
    for (const char c : text)
        out += c == '|' ? std::string("\\|") : std::string(1, c);
    return out.empty() ? "·" : out;
}

/// The rows of one status, and its notes grouped by text.
struct SupportDoc {
    std::string table, notes;

    void add(const std::string& name, const SupportStatus& status) {
        static constexpr const char* marks[] = {"–", "part", "yes"};
        table += "| " + name + " |";
        for (const uint8_t state : status.state)
            table += std::string(" ") + marks[state] + " |";
        table += "\n";

        notes += "**" + name + ".**";
        if (!status.summary.empty()) notes += " " + status.summary;
        notes += "\n\n";
        std::vector<std::string> seen;
        for (size_t i = 0; i < kSimCount; ++i) {
            const std::string& note = status.note[i];
            if (std::find(seen.begin(), seen.end(), note) != seen.end()) continue;
            seen.push_back(note);
            std::string sims;
            for (size_t j = i; j < kSimCount; ++j)
                if (status.note[j] == note)
                    sims +=
                        (sims.empty() ? "" : ", ") + std::string(simShortName(static_cast<int>(j)));
            notes += "- " + sims + ": " + note + "\n";
        }
        notes += "\n";
    }
};

/// One line for all slots of a kind, where the first of them stands.
std::string withoutRow(int slot) {
    if (slot != kSlotWidget0 && slot != kSlotCustom0) return "";
    const int last = (slot == kSlotWidget0 ? kSlotPitHelper : kSlotTrackStrip) - 1;
    std::string line = std::string("| ") + overlayKey(slot) + " to " + overlayKey(last) + " |";
    for (int i = 0; i < kSimCount; ++i)
        line += i > 0 ? "  |" : slot < kSlotPitHelper ? " by its widget |" : " by its design |";
    return line + "\n";
}

std::string supportDoc() {
    SupportDoc overlays, widgets;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        SupportStatus status;
        if (overlaySupport(slot, status))
            overlays.add(overlayKey(slot), status);
        else
            overlays.table += withoutRow(slot);
    }
    const std::pair<int, const char*> visuals[] = {
        {1, "G-Meter"},         {2, "Pedals"},          {4, "Flag family"},
        {5, "Rating Ticker"},   {6, "Heart Rate"},      {12, "Lap history family"},
        {14, "Coach family"},   {19, "Session Clock"},  {20, "Lap Timing"},
        {21, "Overtake Alert"}, {22, "Proximity Bars"}, {25, "Tire Monitor"}};
    const auto widget = [&](const char* name, int kind, int type, int bar, int source) {
        SupportStatus status;
        if (widgetSupport(kind, type, bar, 0, nullptr, source, status)) widgets.add(name, status);
    };
    for (const auto& [type, name] : visuals)
        widget(name, 2, type, 0, 0);
    widget("Delta Bar, vs Best or Last", 3, 0, 0, 0);
    widget("Delta Bar, vs Optimal or Session Best", 3, 0, 0, 1);
    widget("Battle Gap", 3, 0, 1, 0);
    widget("Fuel Bar", 3, 0, 2, 0);

    const std::string head = simHeads() + "\n" + rule(kSimCount + 1);
    return "# What works on which simulator\n\n"
           "Made from the program's own table by `test_frame` (VT_WRITE_DOCS=1); do not edit.\n"
           "\"yes\" works fully, \"part\" partly, \"–\" not at all.\n\n"
           "## Overlays\n\n| Overlay |" +
           head + overlays.table + "\n## Widgets\n\n| Widget |" + head + widgets.table +
           "\nA grid of cells depends on its values; widgets that are not listed work "
           "everywhere.\n\n## What the program says\n\n" +
           overlays.notes + widgets.notes;
}

std::string fieldsDoc() {
    SimFrame frame;
    demoFrameAt(frame, kDemoSeconds);
    const AppConfig config;
    Clock clock = manualClock();
    clock.manualUnixSeconds = 14 * 3600 + 5 * 60;
    const FieldContext context{config, kSlotRelative, clock};

    std::string out =
        "# The values of strips, widgets and cells\n\n"
        "Each value as a strip of the Relative shows it on the demo race's frame at " +
        std::to_string(static_cast<int>(kDemoSeconds)) +
        " s, played as if it came\nfrom each of the simulators; \"·\" is an empty "
        "text. Made by `test_frame` (VT_WRITE_DOCS=1); do not edit.\n\n"
        "| Id | Short | Long |" +
        simHeads() + "\n" + rule(kSimCount + 3);
    for (int id = 0; id < kFieldCount; ++id) {
        out += "| " + std::to_string(id) + " | " + cell(fieldLabel(id)) + " | " +
               cell(fieldLongLabel(id)) + " |";
        for (int sim = 0; sim < kSimCount; ++sim) {
            frame.simKind = sim;
            char text[kFieldTextSize];
            formatStripField(text, id, frame, context, sim, false);
            out += " " + cell(text) + " |";
        }
        out += "\n";
    }
    return out;
}

} // namespace

TEST(Docs, simSupportIsUpToDate) {
    compareOrWrite("sim_support.md", supportDoc());
}

TEST(Docs, fieldsAreUpToDate) {
    const char* const zone = std::getenv("TZ");
    const std::string before = zone ? zone : "";
    setenv("TZ", "UTC0", 1);
    tzset();
    compareOrWrite("fields.md", fieldsDoc());
    if (zone)
        setenv("TZ", before.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}
