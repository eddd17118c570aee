#include "app/shoot.h"

#include "base/log.h"
#include "base/utf8.h"
#include "overlay/frame/styles.h"
#include "overlay/frame/theme.h"
#include "platform/file.h"
#include "platform/picture_file.h"
#include "race/relative_model.h"
#include "telemetry/demo_feed.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kStillTime = 13; // mid-lap, a car alongside, nobody in the pits
constexpr double kStep = 1.0 / 30;

std::string fileWord(std::string text) {
    for (char& c : text)
        if (c == ' ' || c == '/') c = '-';
    return asciiLower(text);
}

struct Shooter {
    OverlayHost& host;
    const CommandLine& line;
    SimFrame frame;
    int failures = 0;

    void shoot(OverlayWindow& overlay, const std::string& suffix) {
        overlay.layoutForStyle();
        applyScale(overlay);
        overlay.fontsDirty = true;
        // The first drawing lets an overlay take the size that its content wants.
        renderPreview(overlay, 1, &frame);
        const BitmapRef picture = renderPreview(overlay, 1, &frame);
        const std::string file = shootFile(line, overlayKey(overlay.slot), suffix);
        if (picture && savePng(*picture, file)) return;
        ++failures;
        logStatus("[shoot] could not write %s\n", file.c_str());
    }

    // What the settings say stays what it is: every look is tried on and taken off again.
    void looks(OverlayWindow& overlay) {
        AppConfig& config = host.config;
        OverlayConfig& common = *overlay.configBase();
        shoot(overlay, "");
        int count = 0, first = 0;
        const char* const* names = nullptr;
        if (int* style = styleOf(config, overlay.slot, count, names, first)) {
            const int styleBefore = *style, themeBefore = config.overlayThemeOverride[overlay.slot];
            for (int i = 0; i < count; ++i) {
                *style = first + i;
                const bool apex = overlayUsesApexStyle(config, overlay.slot);
                for (int theme = 0; theme < (apex ? kThemeCount : 1); ++theme) {
                    if (apex) config.overlayThemeOverride[overlay.slot] = theme;
                    shoot(overlay, "-" + fileWord(names[i]) +
                                       (apex ? "-" + fileWord(overlayTheme(theme).name) : ""));
                }
                config.overlayThemeOverride[overlay.slot] = themeBefore;
                if (i == 0) withStrips(overlay, common);
            }
            *style = styleBefore;
        }
        overlay.editMode = true;
        shoot(overlay, "-edit");
        overlay.editMode = false;
        overlay.layoutForStyle();
        applyScale(overlay);
    }

    void withStrips(OverlayWindow& overlay, OverlayConfig& common) {
        if (!overlay.supportsStrips()) return;
        const bool header = common.showHeader, footer = common.showFooter;
        common.showHeader = common.showFooter = true;
        shoot(overlay, "-strips");
        common.showHeader = header;
        common.showFooter = footer;
    }
};

} // namespace

std::string shootFile(const CommandLine& line, const std::string& name, const std::string& suffix) {
    return line.shootFolder + "/" + line.tag + "-" + name + suffix + ".png";
}

std::string shootSuffix(double seconds) {
    char text[24];
    std::snprintf(text, sizeof text, "-t%03d", static_cast<int>(std::lround(seconds)));
    return text;
}

int shootLooks(OverlayHost& host, const CommandLine& line, const ShootModels& models) {
    if (!makeFolders(line.shootFolder)) return 1;
    Shooter shooter{host, line, {}};
    demoFrameAt(shooter.frame, kStillTime);
    updatePitLaps(pitLaps, &shooter.frame);
    if (models) models(shooter.frame);
    for (OverlayWindow* overlay : host.overlays)
        if (overlay) shooter.looks(*overlay);
    return shooter.failures;
}

int shootRace(OverlayHost& host, const CommandLine& line, const ShootModels& models) {
    if (!makeFolders(line.shootFolder)) return 1;
    int failures = 0;
    SimFrame frame;
    DeadlineTimer timer;
    const int64_t start = clockTicks(host.clock);
    size_t next = 0;
    for (int step = 0; next < line.at.size(); ++step) {
        const double t = step * kStep;
        demoFrameAt(frame, t);
        updatePitLaps(pitLaps, &frame);
        if (models) models(frame);
        ++frameStamp;
        for (OverlayWindow* overlay : host.overlays)
            if (overlay && overlay->configBase()->enabled) overlayTick(*overlay, &frame);
        if (t >= line.at[next]) {
            for (OverlayWindow* overlay : host.overlays) {
                if (!overlay || !windowVisible(overlay->window)) continue;
                std::string title = std::string("VT_") + overlay->name;
                std::replace(title.begin(), title.end(), ' ', '_');
                const BitmapRef picture = renderPreview(*overlay, 1, &frame);
                const std::string file = shootFile(line, title, shootSuffix(line.at[next]));
                if (!picture || !savePng(*picture, file)) {
                    ++failures;
                    logStatus("[shoot] could not write %s\n", file.c_str());
                }
            }
            while (next < line.at.size() && t >= line.at[next])
                ++next;
        }
        loopPump(0);
        timer.waitUntil(start + static_cast<int64_t>((step + 1) * kStep * 1e9));
    }
    return failures;
}

} // namespace vt
