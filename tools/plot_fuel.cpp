// Drives races of the driver model and draws what the fuel models said at every lap end beside what
// came true:
//
//     plot_fuel FOLDER
//
// One PNG a race with four panels over the laps: litres burnt per lap, litres in the tank, litres
// to the finish, and the laps of the stops in the plans (the best one filled).
#include "platform/canvas.h"
#include "platform/picture_file.h"
#include "platform/text.h"
#include "support/fuel_drive.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

using namespace vt;

namespace {

constexpr int kWidth = 1100, kHeight = 1180;
constexpr float kLeft = 90, kRight = 30, kTop = 70, kPanelGap = 56;
constexpr Color kPaper{1, 1, 1, 1}, kInk{0.15f, 0.15f, 0.18f, 1}, kGrid{0, 0, 0, 0.1f};
constexpr Color kTruth{0.1f, 0.55f, 0.25f, 1}, kTold{0.85f, 0.3f, 0.1f, 1};
constexpr Color kOther{0.3f, 0.45f, 0.8f, 0.8f};

struct Race {
    const char *file, *title;
    model::Settings settings;
    double late = 2.5; // s until a lap time is told
};

std::vector<Race> races() {
    model::Settings laps;
    laps.cars = 12;
    laps.laps = 25;
    laps.startFuel = 30;
    laps.lappedTraffic = true;
    laps.pitEvery = 9;
    laps.yellows = {{700, 760}};
    model::Settings clock;
    clock.cars = 6;
    clock.seed = 5;
    clock.minutes = 24;
    clock.startFuel = 20;
    model::Settings oneMore = clock;
    oneMore.seed = 9;
    oneMore.minutes = 20.3;
    oneMore.startFuel = 40;
    return {
        {"fuel_laps.png", "25 laps, 12 cars, lapped traffic, a yellow, stops each 9 laps", laps},
        {"fuel_clock.png", "24 minutes, started with too little", clock},
        {"fuel_one_more.png", "20.3 minutes on one tank", oneMore, 0.0}};
}

struct Panel {
    Canvas& canvas;
    RectF area;
    float lapMost = 1, most = 1;

    PointF at(double lap, double value) const {
        const float x = area.left + (area.right - area.left) * static_cast<float>(lap) / lapMost;
        const float y = area.bottom - (area.bottom - area.top) * static_cast<float>(value) / most;
        return {x, y};
    }
    void text(const std::string& words, float x, float y, float size, Color color,
              TextAlign align = TextAlign::leading) const {
        const auto format = createTextFormat("Inter Tight", size, 500);
        const auto layout = createTextLayout(*format, words, 400, size * 1.6f);
        layoutSetAlign(*layout, align, TextAlign::center);
        const float left = align == TextAlign::leading    ? x
                           : align == TextAlign::trailing ? x - 400
                                                          : x - 200;
        canvas.drawLayout(*layout, {left, y - size * 0.8f}, solidBrush(color).get());
    }
    void axes(const std::string& title, double step) const {
        const auto grid = solidBrush(kGrid), ink = solidBrush(kInk);
        for (double v = 0; v <= static_cast<double>(most) + 1e-6; v += step) {
            canvas.drawLine(at(0, v), at(static_cast<double>(lapMost), v), grid.get());
            char label[16];
            std::snprintf(label, sizeof label, step < 1 ? "%.1f" : "%.0f", v);
            text(label, area.left - 10, at(0, v).y, 14, kInk, TextAlign::trailing);
        }
        for (int lap = 0; static_cast<float>(lap) <= lapMost; lap += lapMost > 15 ? 2 : 1) {
            canvas.drawLine(at(lap, 0), at(lap, static_cast<double>(most)), grid.get());
            text(std::to_string(lap), at(lap, 0).x, area.bottom + 14, 13, kInk, TextAlign::center);
        }
        canvas.strokeRect(area, ink.get());
        text(title, area.left, area.top - 16, 16, kInk);
    }
    void dot(double lap, double value, Color color, bool filled = true) const {
        const PointF p = at(lap, value);
        const auto brush = solidBrush(color);
        if (filled)
            canvas.fillEllipse(p, 4.5f, 4.5f, brush.get());
        else
            canvas.strokeEllipse(p, 6.5f, 6.5f, brush.get(), 1.5f);
    }
};

/// The least of 1, 2, 5 times a power of ten that gives at most six lines.
double niceStep(double most) {
    double step = std::pow(10, std::floor(std::log10(most / 6)));
    for (const double factor : {1.0, 2.0, 5.0, 10.0})
        if (most / (step * factor) <= 6) return step * factor;
    return most;
}

/// Litres burnt from the end of the lap before `lap` to the flag.
double ahead(const Drive& d, double used, int lap) {
    double behind = 0;
    for (const model::LapRecord& record : d.truth)
        if (record.lap + 1 < lap) behind += record.fuelUsed;
    return used - behind;
}

void burnPanel(const Panel& p, const Drive& d) {
    p.axes("litres per lap: driven (green; ring = stop), told (orange)",
           niceStep(static_cast<double>(p.most)));
    for (const model::LapRecord& record : d.truth)
        p.dot(record.lap + 1, record.fuelUsed, kTruth, !record.inLap && !record.outLap);
    for (const Said& said : d.laps)
        if (said.view.burnValid) p.dot(said.lap - 1, static_cast<double>(said.view.burn), kTold);
}

void tankPanel(const Panel& p, const Drive& d) {
    p.axes("litres in the tank (green), added at the pit as told when short (orange)",
           niceStep(static_cast<double>(p.most)));
    const auto green = solidBrush(kTruth);
    for (size_t i = 1; i < d.trace.size(); ++i)
        p.canvas.drawLine(p.at(std::max(0.0, d.trace[i - 1].lap), d.trace[i - 1].fuel),
                          p.at(std::max(0.0, d.trace[i].lap), d.trace[i].fuel), green.get(), 2);
    for (const Said& said : d.laps)
        if (said.view.status != kFuelLearning && said.view.addAtPit > 0)
            p.dot(said.lap - 1, static_cast<double>(said.view.addAtPit), kTold);
}

void finishPanel(const Panel& p, const Drive& d, double used) {
    p.axes("litres to the finish: driven (green), told (orange)",
           niceStep(static_cast<double>(p.most)));
    for (const Said& said : d.laps) {
        if (said.lap < 1) continue;
        p.dot(said.lap - 1, ahead(d, used, said.lap), kTruth);
        if (said.view.toFinishKnown)
            p.dot(said.lap - 1, static_cast<double>(said.view.fuelToFinish), kTold);
    }
}

void planPanel(const Panel& p, const Drive& d) {
    p.axes(
        "lap of each planned stop: the best plan (filled), the others (rings), stops made (green)",
        niceStep(static_cast<double>(p.most)));
    for (const Said& said : d.laps)
        for (int i = said.optionCount - 1; i >= 0; --i) {
            const StrategyOption& plan = said.options[static_cast<size_t>(i)];
            for (int stop = 0; stop < plan.stops; ++stop)
                p.dot(said.lap - 1, plan.stopLap[static_cast<size_t>(stop)],
                      i == 0 ? kTold : kOther, i == 0);
        }
    for (const model::LapRecord& record : d.truth)
        if (record.inLap) p.dot(record.lap + 1, record.lap + 1, kTruth);
}

bool plot(const Race& race, const std::string& folder) {
    const Drive d = drive(race.settings, race.late);
    const double used = race.settings.startFuel + d.addedFuel - d.endFuel;
    const BitmapRef picture = createBitmap(kWidth, kHeight);
    Canvas canvas;
    if (!picture || !canvas.begin(picture)) return false;
    canvas.clear(kPaper);
    double burnMost = 0, tankMost = 0;
    for (const auto& record : d.truth)
        burnMost = std::max(burnMost, record.fuelUsed);
    for (const auto& moment : d.trace)
        tankMost = std::max(tankMost, moment.fuel);
    const auto laps = static_cast<float>(d.truth.size()) + 1;
    const float height = (kHeight - kTop - 4 * kPanelGap) / 4;
    const double mosts[] = {burnMost * 1.2, tankMost * 1.1, used * 1.1, laps + 2.0};
    for (int i = 0; i < 4; ++i) {
        const float top = kTop + 20 + static_cast<float>(i) * (height + kPanelGap);
        const Panel p{canvas,
                      {kLeft, top, kWidth - kRight, top + height},
                      laps,
                      static_cast<float>(mosts[i])};
        if (i == 0) {
            char line[200];
            std::snprintf(
                line, sizeof line, "%s: %zu laps, %.1f litres burnt, stops: %d, late times %.1f s",
                race.title, d.truth.size(), used, model::player(d.race).pitStops, race.late);
            const auto format = createTextFormat("Inter Tight", 20, 600);
            const auto layout = createTextLayout(*format, line, kWidth, 30);
            canvas.drawLayout(*layout, {kLeft, 18}, solidBrush(kInk).get());
            burnPanel(p, d);
        }
        if (i == 1) tankPanel(p, d);
        if (i == 2) finishPanel(p, d, used);
        if (i == 3) planPanel(p, d);
    }
    if (!canvas.end().ok() || !savePng(*picture, folder + "/" + race.file)) return false;
    std::printf("%s/%s\n", folder.c_str(), race.file);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr,
                     "plot_fuel FOLDER: races of the driver model and their fuel, as PNGs\n");
        return 2;
    }
    std::error_code error;
    std::filesystem::create_directories(argv[1], error);
    loadFonts(
        (std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / "../../../fonts")
            .string());
    for (const Race& race : races())
        if (!plot(race, argv[1])) {
            std::fprintf(stderr, "plot_fuel: %s/%s cannot be written\n", argv[1], race.file);
            return 1;
        }
    return 0;
}
