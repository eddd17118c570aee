#include "panel/setup_window.h"

#include "base/translate.h"
#include "panel/setup_texts.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "platform/process_list.h"
#include "telemetry/setup/ea_wrc_setup.h"
#include "telemetry/setup/game_documents.h"

namespace vt {

namespace {

RowItem textRow(RowKind kind, std::string text) {
    RowItem item;
    item.kind = kind;
    item.text = std::move(text);
    return item;
}

RowItem buttonRow(int id, const char* text, bool expected = false) {
    RowItem item = textRow(RowKind::button, text);
    item.id = id;
    item.on = expected;
    return item;
}

void addFooter(RowPage& page, RowItem item) {
    item.beside = !page.footer.empty();
    page.footer.push_back(std::move(item));
}

// ---- DiRT Rally 2.0
// ----------------------------------------------------------------------------------------

void addDr2File(RowPage& page, const char* label, Dr2FileState state, RowItem fix) {
    RowItem row = textRow(RowKind::tagged, label);
    row.on = state == Dr2FileState::ready;
    row.tag = row.on ? Translate("OK") : Translate("FIX");
    row.value = dr2StateText(state);
    page.body.push_back(row);
    if (!row.on) page.body.push_back(std::move(fix));
}

void addDr2Rows(RowPage& page, const SetupView& view) {
    const bool two = view.files.hasVr();
    page.body.push_back(textRow(RowKind::text, dr2Heading(two)));
    if (view.files.documents.empty()) {
        page.body.push_back(
            textRow(RowKind::text, Translate("Vantorel could not work out where your Documents "
                                             "folder is, so it cannot show or check the files.")));
        return;
    }
    addDr2File(page, Translate("Normal:"), view.files.normal,
               buttonRow(kSetupFixNormal,
                         two ? Translate("Fix the normal file") : Translate("Fix it for me"),
                         true));
    if (two)
        addDr2File(page, Translate("VR:"), view.files.vr,
                   buttonRow(kSetupFixVr, Translate("Fix the VR file"), true));
    else
        page.body.push_back(textRow(RowKind::text, dr2NoVr()));
    page.body.push_back(textRow(RowKind::text, Translate("The line it needs, inside the motion "
                                                         "platform section:")));
    page.body.push_back(textRow(RowKind::code, dr2Line()));
}

// ---- EA Sports WRC
// -----------------------------------------------------------------------------------------

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += (text.empty() ? "" : "\n") + line;
    return text;
}

void addWrcRows(RowPage& page, const SetupView& view) {
    const bool answered = !view.steps && !view.report.empty();
    if (answered)
        page.body.push_back(
            textRow(view.done ? RowKind::success : RowKind::warning, joined(view.report)));
    // What went wrong speaks of the manual steps below.
    if (view.steps || (answered && !view.done))
        page.body.push_back(
            textRow(RowKind::text, wrcSteps(view.places.documents, view.places.packetTemplate)));
    else if (!answered)
        page.body.push_back(textRow(RowKind::text, wrcText()));
    addFooter(page, buttonRow(kSetupRun, Translate("Set it up for me"), !view.done));
    addFooter(page, buttonRow(kSetupSteps,
                              view.steps ? Translate("Back") : Translate("Show me the steps")));
}

const char* titleOf(SetupSim sim) {
    switch (sim) {
    case SetupSim::f1:
        return Translate("Vantorel - F1 setup");
    case SetupSim::dirtRally2:
        return Translate("Vantorel - DiRT Rally 2.0 setup");
    case SetupSim::eaWrc:
        return Translate("Vantorel - EA Sports WRC setup");
    case SetupSim::beamNg:
        break;
    }
    return Translate("Vantorel - BeamNG.drive setup");
}

/// What the last button did, else why the window came up.
void addFirstLine(RowPage& page, const SetupView& view) {
    const bool answered = !view.report.empty() && !view.steps;
    if (!view.message.empty())
        page.body.push_back(textRow(view.done ? RowKind::success : RowKind::warning, view.message));
    else if (view.noTelemetry && !answered && view.sim != SetupSim::beamNg)
        page.body.push_back(textRow(RowKind::warning, setupWarning(view.sim, view.files.hasVr())));
}

} // namespace

SetupPlaces setupPlaces(SetupSim sim) {
    SetupPlaces places;
    places.lister = listProcessNames;
    if (sim == SetupSim::eaWrc)
        places.documents = documentsOfGame(gameDocumentsFolders(kEaWrcAppId), kEaWrcGameFolder);
    if (sim == SetupSim::dirtRally2)
        places.documents =
            documentsOfGame(gameDocumentsFolders(kDirtRally2AppId), kDirtRally2GameFolder);
    const std::string shipped = joinPath(shippedFolder("data"), kEaWrcPacketFile);
    if (fileExists(shipped)) places.packetTemplate = shipped;
    return places;
}

SetupView setupView(SetupSim sim, bool noTelemetry, SetupPlaces places) {
    SetupView view;
    view.sim = sim;
    view.noTelemetry = noTelemetry;
    view.files.documents = places.documents;
    view.places = std::move(places);
    if (sim == SetupSim::dirtRally2) dr2Scan(view.files);
    return view;
}

RowPage setupPage(const SetupView& view) {
    RowPage page;
    addFirstLine(page, view);
    switch (view.sim) {
    case SetupSim::f1:
        page.body.push_back(textRow(RowKind::text, f1Text()));
        break;
    case SetupSim::dirtRally2:
        addDr2Rows(page, view);
        break;
    case SetupSim::eaWrc:
        addWrcRows(page, view);
        break;
    case SetupSim::beamNg:
        page.body.push_back(textRow(RowKind::text, beamNgText()));
        break;
    }
    const bool only = view.sim == SetupSim::f1 || view.sim == SetupSim::beamNg;
    addFooter(page, buttonRow(kSetupGotIt, Translate("Got it"), only || view.done));
    return page;
}

bool setupPress(SetupView& view, int button) {
    switch (button) {
    case kSetupGotIt:
        return true;
    case kSetupRun:
        view.report.clear();
        view.steps = false;
        view.done = eaWrcAutoSetup(view.places.documents, view.report);
        break;
    case kSetupSteps:
        view.steps = !view.steps;
        break;
    case kSetupFixNormal:
    case kSetupFixVr:
        view.done = dr2Fix(view.files, button == kSetupFixVr ? kDr2Vr : kDr2Normal,
                           view.places.lister, view.message);
        break;
    default:
        break;
    }
    return false;
}

void showSetupWindow(SetupSim sim, WindowId parent, bool noTelemetry, const SetupPlaces& places) {
    SetupView view = setupView(sim, noTelemetry, places);
    RowWindow window;
    window.parent = parent;
    window.title = titleOf(sim);
    window.width = 620;
    if (sim == SetupSim::eaWrc)
        window.minHeight = 560; // its longest text, a failure with the steps
    window.firstFocus = kSetupGotIt;
    window.page = [&view] { return setupPage(view); };
    window.press = [&view](int button) {
        if (setupPress(view, button))
            endDialog(1);
        else
            rowsChanged(true);
    };
    // Enter takes the one button of a window that only tells; where buttons do things, they are
    // pressed by those who mean them.
    window.key = [&view](const WindowEvent& event) {
        const bool only = view.sim == SetupSim::f1 || view.sim == SetupSim::beamNg;
        if (!only || event.kind != EventKind::keyDown || event.key != kKeyEnter) return false;
        endDialog(1);
        return true;
    };
    runRowWindow(window);
}

void showSetupWindow(SetupSim sim, WindowId parent, bool noTelemetry) {
    showSetupWindow(sim, parent, noTelemetry, setupPlaces(sim));
}

} // namespace vt
