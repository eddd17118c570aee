#include "app/driver.h"

#include "app/assistants.h"
#include "app/demo_layout.h"
#include "app/host_window.h"
#include "app/importing.h"
#include "app/main_tick.h"
#include "app/planning.h"
#include "app/readers.h"
#include "app/recorder.h"
#include "app/shoot.h"
#include "app/sim_pump.h"
#include "app/streaming.h"
#include "base/hash.h"
#include "base/log.h"
#include "base/translate.h"
#include "overlay/overlays/delta_trace_view.h"
#include "overlay/overlays/overlay_catalogue.h"
#include "overlay/settings/settings_store.h"
#include "overlay/window/overlay_hotkeys.h"
#include "perf/road_saver.h"
#include "perf/road_survey.h"
#include "platform/audio_sink.h"
#include "platform/desktop.h"
#include "platform/file.h"
#include "platform/headless/headless.h"
#include "platform/paths.h"
#include "platform/picture_file.h"
#include "platform/process_list.h"
#include "platform/quit_signal.h"
#include "platform/single_instance.h"
#include "telemetry/coach_log.h"
#include "telemetry/setup/game_documents.h"
#include "telemetry/sibling_state.h"
#include "telemetry/sim_registry.h"

#include <thread>

namespace vt {

namespace {

constexpr int kHeadlessPictureMs = 5000;
constexpr uint32_t kPictureTimer = 1;

struct Driver {
    explicit Driver(const CommandLine& commandLine)
        : line(commandLine), startTicks(clockTicks(clock)) {}

    const CommandLine& line;
    Clock clock;
    int64_t startTicks = 0;
    ProgramWords words;
    SingleInstance instance;
    std::string appDataDir, settingsDir;

    AppConfig config;
    AppConfig stored; // as loaded, for what the demo layout must not overwrite
    DemoLayout demoLayout;
    bool demoLayoutOn = false;
    bool firstRun = false;
    SaveState saveState;

    OverlayHost host{config, clock};
    std::vector<std::unique_ptr<OverlayWindow>> overlays;
    OverlayHotkeys hotkeys;
    Streaming streaming{host};
    HostWindow panel;
    uint64_t nextPanelLookMs = 0;

    TripleBuffer buffer;
    PumpWords pumpWords;
    ProcessScan scan;
    IRacingWants iracingWants;
    SteerWords steer;
    ReaderContext readers{clock, scan, listProcessNames, steer, {0}, &pumpWords.pumpStop, {}, {}};
    SiblingLink sibling; // the pump's thread
    RoadSurvey survey;   // the pump's thread
    std::unique_ptr<RoadSaver> roadSaver;
    std::unique_ptr<Recorder> recorder;   // none without a data folder
    std::unique_ptr<Importing> importing; // as the recorder
    Planning planning;
    SimPump pump{buffer, pumpWords, scan, clock, listProcessNames, {}, {}, {}};
    std::thread pumpThread;
    Assistants assistants{config, steer, pumpWords, scan, {}};

    TickWords tickWords;
    DeadlineTimer tickTimer;
    MainTick tick{buffer, pumpWords, tickWords, host, clock, {}, 0, 8.0, false, {}, {}};
    std::thread tickThread;

    bool drawingStarted = false;
    uint64_t screenDrawn = 0;
    std::string screenPicture; // where the headless screen is written; empty = nowhere
};

// The heartbeat is stamped by a plain function that the loop calls before every message.
Driver* running = nullptr;

void saveNow(Driver& d) {
    const bool saved =
        d.demoLayoutOn
            ? saveSettings(withoutDemoLayout(d.config, d.demoLayout, d.stored), d.settingsDir)
            : saveSettings(d.config, d.settingsDir);
    if (saved) d.config.settingsDirty = false; // else the tick tries again
}

void saveWhenDirty(Driver& d) {
    if (!d.config.settingsDirty) return;
    if (!d.demoLayoutOn) {
        saveIfDirty(d.config, d.settingsDir, d.saveState, clockMs(d.clock));
        return;
    }
    AppConfig out = withoutDemoLayout(d.config, d.demoLayout, d.stored);
    out.settingsDirty = true;
    saveIfDirty(out, d.settingsDir, d.saveState, clockMs(d.clock));
    d.config.settingsDirty = out.settingsDirty;
}

// One program per profile: two that share no settings do not get in each other's way.
std::string instanceName(const Driver& d) {
    char name[64];
    std::snprintf(name, sizeof name, "%s-%016llx", kInstanceName,
                  static_cast<unsigned long long>(fnv1a64(d.appDataDir)));
    return name;
}

// ---- start
// ----------------------------------------------------------------------------------------

void findFolders(Driver& d) {
    d.appDataDir = appDataFolder();
    if (d.appDataDir.empty()) return;
    makeFolders(d.appDataDir);
    d.settingsDir = settingsFolder();
    coachLogOpen(d.appDataDir, d.clock);
    d.host.tracks = {shippedFolder("data"), d.appDataDir, &d.iracingWants.trackMapWantsGps};
}

void loadConfig(Driver& d) {
    const PointI screen = primarySize();
    d.config = defaultAppConfig(screen.x, screen.y);
    d.firstRun = !loadSettings(d.config, d.settingsDir);
    d.readers.dr2ListenLanOn = d.config.dr2ListenLan ? 1 : 0;
    d.words.usageConsentOn = d.config.telemetryConsent == 1 ? 1 : 0;
    if (d.line.openXrLayer >= 0 && d.line.openXrLayer != d.config.vrOpenXrLayer) {
        d.config.vrOpenXrLayer = d.line.openXrLayer;
        if (d.line.openXrLayer == 1) d.config.vrOpenXrLayerCrashApp.clear();
        saveSettings(d.config, d.settingsDir);
    }
    d.stored = d.config;
}

void makeOverlayObjects(Driver& d) {
    d.overlays = makeOverlays(d.host);
    d.host.saveSettings = [&d] { saveNow(d); };
    for (OverlayWindow* overlay : d.host.overlays) {
        if (!overlay) continue;
        overlay->layoutForStyle();
        applyScale(*overlay);
    }
    if (d.line.demo && d.firstRun && d.line.shootFolder.empty()) {
        d.demoLayout = applyDemoLayout(d.host);
        d.demoLayoutOn = true;
    }
}

void createOverlayWindows(Driver& d) {
    int failures = 0;
    for (OverlayWindow* overlay : d.host.overlays)
        if (overlay) createOverlay(*overlay, overlaySlot(overlay->slot)->windowTitle, failures);
    if (failures > 0) logStatus("[overlay] %d overlay(s) failed to create\n", failures);
    registerOverlayRecovery(d.host);
}

void toggleDemo(Driver& d) {
    const bool on = d.pumpWords.demoOn == 0;
    d.pumpWords.demoOn = on ? 1 : 0;
    wakePump(d.pump);
    if (on) return;
    // Nothing of the demo race may stay on screen.
    const SimFrame empty;
    for (OverlayWindow* overlay : d.host.overlays)
        if (overlay) overlayTick(*overlay, &empty);
}

// "Alt+F6"; empty for no key, or one without a plain name.
std::string shortcutText(int key, int modifiers) {
    std::string name;
    if (key >= 0x70 && key <= 0x87) name = "F" + std::to_string(key - 0x6F);
    if ((key >= '0' && key <= '9') || (key >= 'A' && key <= 'Z')) name = static_cast<char>(key);
    if (name.empty()) return name;
    std::string text;
    if (modifiers & kModControl) text += "Ctrl+";
    if (modifiers & kModAlt) text += "Alt+";
    if (modifiers & kModShift) text += "Shift+";
    if (modifiers & kModWin) text += "Win+";
    return text + name;
}

HostView hostView(Driver& d) {
    HostView view;
    const int sim = d.pumpWords.connectedSim;
    view.demo = d.pumpWords.demoOn != 0;
    view.live = view.demo || sim >= 0;
    view.status = view.demo  ? Translate("Demo race")
                  : sim >= 0 ? std::string(simDisplayName(sim)) + Translate(" connected")
                             : Translate("No sim running");
    view.arranging = anyInEditMode(d.host);
    view.saveFailed = settingsSaveFailed;
    view.lapsFailed = d.recorder && d.recorder->saveFailed();
    const auto addHint = [&view](const std::string& keys, const char* what) {
        if (keys.empty()) return;
        if (!view.hint.empty()) view.hint += "   ";
        view.hint += keys + " " + what;
    };
    addHint(shortcutText(d.config.arrangeHotkeyVk, d.config.arrangeHotkeyMod),
            Translate("arrange"));
    addHint(shortcutText(d.config.demoHotkeyVk, d.config.demoHotkeyMod), Translate("demo race"));
    const std::string importing = d.importing ? d.importing->statusLine() : "";
    if (!importing.empty()) view.hint = importing;
    for (const int slot : overlayDirectory())
        if (OverlayWindow* overlay = d.host.overlays[slot])
            view.rows.push_back(
                {slot, overlaySlot(slot)->listName, overlay->configBase()->enabled});
    return view;
}

std::vector<RectI> overlayRects(const Driver& d) {
    std::vector<RectI> rects;
    for (OverlayWindow* overlay : d.host.overlays)
        if (overlay && overlay->window && overlay->configBase()->enabled)
            rects.push_back(windowRect(overlay->window));
    return rects;
}

bool createPanel(Driver& d) {
    d.panel.actions.toggleOverlay = [&d](int slot) { toggleOverlayEnabled(d.host, slot); };
    d.panel.actions.toggleDemo = [&d] { toggleDemo(d); };
    d.panel.actions.toggleArrange = [&d] { toggleArrangeMode(d.host); };
    d.panel.actions.openImport = [&d] {
        if (d.importing) d.importing->openWindow();
    };
    d.panel.actions.quit = [] { loopQuit(0); };
    d.panel.actions.tick = [&d] { mainTick(d.tick); };
    d.panel.view = hostView(d);
    d.panel.accent = d.config.accentTheme;
    const bool visible = d.line.shootFolder.empty() && !d.config.startupMinimized;
    if (!createHostWindow(d.panel, d.panel.view.rows.size(), visible, overlayRects(d)))
        return false;
    addDeviceClient({"panel", &d.panel,
                     [](void* user) { static_cast<HostWindow*>(user)->surface.reset(); },
                     [](void* user) {
                         static_cast<HostWindow*>(user)->drawn = false;
                         return true;
                     }});
    return true;
}

void fillTick(Driver& d) {
    d.tick.steps = defaultTickSteps();
    setTickStep(d.tick, "panel watchers", [&d](MainTick&, const SimFrame& frame) {
        // No overlay that exists so far shows the wheel.
        assistantsTick(d.assistants, frame, false, clockMs(d.clock));
        if (d.importing) d.importing->tick(frame, d.pumpWords.demoOn != 0, clockSeconds(d.clock));
        updateNudgeKeys(d.hotkeys);
        // Ten looks a second are enough for a window that changes by hand.
        const uint64_t now = clockMs(d.clock);
        if (now < d.nextPanelLookMs) return;
        d.nextPanelLookMs = now + 100;
        updateHostWindow(d.panel, hostView(d));
    });
    setTickStep(d.tick, "recorder", [&d](MainTick&, const SimFrame& frame) {
        if (d.recorder)
            d.recorder->tick(frame, d.config, d.pumpWords.demoOn != 0, clockUnixSeconds(d.clock));
    });
    setTickStep(d.tick, "pit strategy", [&d](MainTick&, const SimFrame& frame) {
        planningTick(d.planning, d.config, frame, clockMs(d.clock));
    });
    setTickStep(d.tick, "streaming",
                [&d](MainTick&, const SimFrame&) { streamingTick(d.streaming); });
    setTickStep(d.tick, "outputs",
                [&d](MainTick&, const SimFrame&) { d.streaming.mirrors.Tick(); });
    setTickStep(d.tick, "save settings", [&d](MainTick&, const SimFrame&) { saveWhenDirty(d); });
}

void startHotkeys(Driver& d) {
    d.hotkeys.host = &d.host;
    d.hotkeys.toggleDemo = [&d] { toggleDemo(d); };
    d.hotkeys.other = [&d](int id) {
        planningHotkey(d.planning, d.config, frameRead(d.buffer), id, clockMs(d.clock));
    };
    registerOverlayHotkeys(d.hotkeys);
    registerPlanningKeys(d.config);
}

void hangOnPump(Driver& d) {
    d.survey.baseDir = d.appDataDir;
    if (!d.appDataDir.empty()) {
        d.roadSaver = std::make_unique<RoadSaver>(d.appDataDir);
        d.survey.save = [&d](const RoadMap& map) {
            d.roadSaver->store(map);
            return true;
        };
    }
    PumpHooks& hooks = d.pump.hooks;
    hooks.siblingGameId = [&d] {
        SiblingState state;
        return d.scan.siblingRunning && siblingRead(d.sibling, state) ? state.gameId : -1;
    };
    hooks.survey = [&d](SimFrame& frame, bool) {
        if (frame.simKind == kSimIRacing) {
            if (d.recorder) d.recorder->placeOnRoad(frame);
            return false;
        }
        return roadSurveyFrame(d.survey, frame);
    };
    hooks.simDisconnected = [&d](int32_t) {
        roadSurveyRestart(d.survey);
        if (d.recorder) d.recorder->simLost();
    };
    hooks.pushSample = [&d](const SimFrame& frame, bool reset) {
        if (d.recorder) d.recorder->pushSample(frame, reset);
        coachLogPosition(frame.sessionNum, frame.sessionTime, frame.lap, frame.lapDistPct);
    };
}

void startRecorder(Driver& d) {
    if (d.appDataDir.empty()) return;
    d.recorder = std::make_unique<Recorder>(d.appDataDir, shippedFolder("data"),
                                            &d.iracingWants.gpsLearnWanted);
    d.importing = std::make_unique<Importing>(d.recorder->store(), d.config, d.appDataDir,
                                              shippedFolder("data"));
    d.importing->parent = d.panel.window;
    deltaReferenceInputs = [&d](const SimFrame& frame, float pct, int reference,
                                DeltaReferenceInputs& out) {
        constexpr int kLastLap = 1;
        return d.recorder->referenceAt(frame, pct, reference == kLastLap, out.throttle, out.brake,
                                       out.gear);
    };
}

void startThreads(Driver& d) {
    startRecorder(d);
    d.readers.documentsOf = [](uint32_t appId, const char* gameFolder) {
        return documentsOfGame(gameDocumentsFolders(appId), gameFolder);
    };
    d.pump.readers = makeReaders(d.readers, d.iracingWants);
    hangOnPump(d);
    d.pumpThread = std::thread([&d] { simPumpMain(d.pump); });
    d.tickThread = std::thread([&d] { tickPacer(d.tickWords, d.tickTimer, d.panel.window); });
}

void watchOutside(Driver& d, int quitDescriptor) {
    if (quitDescriptor >= 0) loopWatch(quitDescriptor, [] { loopQuit(0); });
    if (d.instance.requestDescriptor() >= 0)
        loopWatch(d.instance.requestDescriptor(), [&d] {
            if (d.instance.takeRequest()) showHostWindow(d.panel);
        });
}

// ---- without a screen
// ---------------------------------------------------------------------------------

// A screen that looks as it did is not written again.
void writeScreen(Driver& d) {
    uint64_t drawn = 1;
    for (const OverlayWindow* overlay : d.host.overlays)
        if (overlay) drawn += overlay->frameCounter * 2 + (windowVisible(overlay->window) ? 1 : 0);
    if (drawn == d.screenDrawn) return;
    d.screenDrawn = drawn;
    const BitmapRef screen = headlessScreen({0.18f, 0.2f, 0.24f, 1});
    if (screen) savePng(*screen, d.screenPicture);
}

void explainHeadless(Driver& d) {
    if (platformKind() != PlatformKind::headless) return;
    d.screenPicture = joinPath(d.settingsDir, "screen.png");
    logStatus("[app] no display: the overlays are drawn into memory\n");
    if (d.settingsDir.empty() || !makeFolders(d.settingsDir)) {
        d.screenPicture.clear();
    } else {
        logStatus("[app] what a screen would show is written every %d s to %s\n",
                  kHeadlessPictureMs / 1000, d.screenPicture.c_str());
    }
    logStatus("[app] pictures of every overlay: --shoot FOLDER [--at 13,40,72]; Ctrl+C ends\n");
}

// ---- stop
// -------------------------------------------------------------------------------------------

void stopThreads(Driver& d) {
    d.words.shuttingDown = 1;
    d.tickWords.tickStop = 1;
    d.tickTimer.wake();
    if (d.tickThread.joinable()) d.tickThread.join();
    d.pumpWords.pumpStop = 1;
    wakePump(d.pump);
    if (d.pumpThread.joinable()) d.pumpThread.join();
    roadSurveyRestart(d.survey);
    d.roadSaver.reset();
    d.importing.reset();
    if (d.recorder) d.recorder->finish(d.config, clockUnixSeconds(d.clock));
    deltaReferenceInputs = nullptr;
    d.recorder.reset();
}

void stop(Driver& d) {
    unregisterOverlayHotkeys(d.hotkeys);
    unregisterPlanningKeys();
    setHotkeyHandler({});
    stopThreads(d);
    stopStreaming(d.streaming);
    // The laps under way are learned, then kept.
    if (OverlayWindow* fuel = d.host.overlays.empty() ? nullptr : d.host.overlays[kSlotFuel])
        fuel->prepareFrame(nullptr);
    finishPlanning(d.planning, d.host);
    stopAssistants(d.assistants);
    if (d.config.settingsDirty) saveNow(d);
    for (auto& overlay : d.overlays)
        if (overlay) destroyOverlay(*overlay);
    removeDeviceClient(&d.panel);
    removeDeviceClient(&d.host);
    destroyHostWindow(d.panel);
    d.overlays.clear();
    loopSetBeforeMessage(nullptr);
    running = nullptr;
    drawingShutdown();
    platformStop();
    d.instance.release();
}

int shootPictures(Driver& d) {
    const ShootModels models = [&d](const SimFrame& frame) {
        planningTick(d.planning, d.config, frame, clockMs(d.clock));
    };
    const int failures =
        d.line.at.empty() ? shootLooks(d.host, d.line, models) : shootRace(d.host, d.line, models);
    if (failures == 0) logStatus("[shoot] pictures are in %s\n", d.line.shootFolder.c_str());
    return failures == 0 ? 0 : 1;
}

void runLoop(Driver& d) {
    if (d.line.demo) d.pumpWords.demoOn = 1;
    startHotkeys(d);
    d.assistants.appDataDir = d.appDataDir;
    d.assistants.parent = d.panel.window;
    startAssistants(d.assistants);
    startStreaming(d.streaming);
    startThreads(d);
    explainHeadless(d);
    logStatus("[app] ready after %d ms\n",
              static_cast<int>((clockTicks(d.clock) - d.startTicks) / 1'000'000));
    WindowId pictureWindow = 0;
    if (!d.screenPicture.empty()) {
        WindowSpec spec;
        spec.kind = WindowKind::message;
        pictureWindow = createWindow(spec, [&d](const WindowEvent& event) {
            if (event.kind == EventKind::timer) writeScreen(d);
            return true;
        });
        startTimer(pictureWindow, kPictureTimer, kHeadlessPictureMs);
    }
    loopRun();
    if (pictureWindow) destroyWindow(pictureWindow);
}

} // namespace

int runProgram(const CommandLine& line) {
    Driver d(line);
    const bool shooting = !line.shootFolder.empty();
    findFolders(d);
    const int quitDescriptor = shooting ? -1 : quitSignalDescriptor();
    if (!d.instance.acquire(instanceName(d))) {
        const bool answered = d.instance.askFirstToShow();
        logStatus(answered ? "[app] already running: its window was brought to the front\n"
                           : "[app] already running\n");
        return 0;
    }
    // Pictures need no screen, and must not flash over the user's.
    const bool memory = shooting && line.platform == PlatformKind::automatic;
    if (!platformStart(memory ? PlatformKind::headless : line.platform)) {
        logStatus("[app] the wanted screen cannot be had\n");
        return 1;
    }
    drawingInit(shippedFolder("fonts"));
    loadConfig(d);
    d.host.screenshots = shooting;
    d.planning.screenshots = shooting;
    startPlanning(d.planning, d.host, shooting ? "" : d.appDataDir);
    if (!shooting) d.host.audio = &machineAudio();
    makeOverlayObjects(d);
    createOverlayWindows(d);
    running = &d;
    loopSetBeforeMessage([] {
        if (running) running->tickWords.uiHeartbeat = clockMs32(running->clock);
    });
    fillTick(d);
    int code = 0;
    if (createPanel(d)) {
        const SimFrame* first = frameRead(d.buffer);
        for (OverlayWindow* overlay : d.host.overlays)
            if (overlay) overlayTick(*overlay, first);
        if (shooting) {
            code = shootPictures(d);
        } else {
            watchOutside(d, quitDescriptor);
            runLoop(d);
        }
    }
    stop(d);
    return code;
}

} // namespace vt
