#include "panel/import_window.h"

#include "base/translate.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "platform/thread_name.h"

#include <algorithm>
#include <cstdio>

namespace vt {

namespace {

constexpr uint32_t kPollTimer = 1;
constexpr int kPollMs = 150;
using Phase = ImportView::Phase;

RowItem row(RowKind kind, std::string text, int id = 0) {
    RowItem item;
    item.kind = kind;
    item.text = std::move(text);
    item.id = id;
    return item;
}

void addFooter(RowPage& page, int id, const char* text, bool expected = false) {
    RowItem item = row(RowKind::button, text, id);
    item.on = expected;
    item.beside = !page.footer.empty();
    page.footer.push_back(std::move(item));
}

template <class... Values>
std::string filled(const char* format, Values... values) {
    char text[400];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string comboText(const IbtCombo& combo) {
    const std::string size = bytesText(combo.bytes);
    if (combo.alreadyRecorded > 0)
        return filled(Translate("%s - %s  (%d files, %s, %d already in your sessions)"),
                      combo.car.c_str(), combo.track.c_str(), combo.files, size.c_str(),
                      combo.alreadyRecorded);
    return filled(Translate("%s - %s  (%d files, %s)"), combo.car.c_str(), combo.track.c_str(),
                  combo.files, size.c_str());
}

void addCombos(RowPage& page, const ImportView& view) {
    if (view.combos.empty()) {
        page.body.push_back(row(RowKind::text, Translate("No telemetry found in this folder")));
        return;
    }
    page.body.push_back(row(RowKind::heading, filled(Translate("Car and track combos found (%d)"),
                                                     static_cast<int>(view.combos.size()))));
    const int shown = std::min(static_cast<int>(view.combos.size()), kImportRowsMax);
    for (int i = 0; i < shown; ++i) {
        RowItem item = row(RowKind::checkBox, comboText(view.combos[static_cast<size_t>(i)]),
                           kImportCombo + i);
        item.on = i == view.selected;
        page.body.push_back(std::move(item));
    }
}

void addFix(RowPage& page, const ImportView& view) {
    if (view.selected < 0 || view.selected >= static_cast<int>(view.faulty.size())) return;
    const int faulty = view.faulty[static_cast<size_t>(view.selected)];
    if (faulty <= 0) return;
    RowItem item = row(RowKind::checkBox,
                       filled(faulty == 1 ? Translate("Fix %d session with lap time errors")
                                          : Translate("Fix %d sessions with lap time errors"),
                              faulty),
                       kImportFix);
    item.on = view.fix;
    page.body.push_back(std::move(item));
    page.body.push_back(row(RowKind::text, Translate("Those sessions show each lap's trace under "
                                                     "the wrong lap time and the files fix "
                                                     "that.")));
}

void addChoosing(RowPage& page, const ImportView& view) {
    page.body.push_back(row(RowKind::code, view.folder));
    page.body.push_back(row(RowKind::button, Translate("Browse..."), kImportBrowse));
    if (view.phase == Phase::scanning) {
        page.body.push_back(row(RowKind::text, Translate("Looking through the folder...")));
    } else {
        addCombos(page, view);
        addFix(page, view);
    }
    page.body.push_back(row(
        RowKind::text,
        Translate("iRacing only writes these files when telemetry logging is on. Press Alt+L in "
                  "the car to turn it on, or use the option in Performance Review settings to have "
                  "it on every time.")));
    if (view.selected >= 0) addFooter(page, kImportStart, Translate("Import"), true);
    addFooter(page, kImportClose, Translate("Close"));
}

void addBrowsing(RowPage& page, const ImportView& view) {
    page.body.push_back(row(RowKind::heading, Translate("Choose your iRacing telemetry folder")));
    page.body.push_back(row(RowKind::code, view.browsed));
    page.body.push_back(row(RowKind::button, Translate("Up one folder"), kImportFolderUp));
    for (size_t i = 0; i < view.subfolders.size(); ++i)
        page.body.push_back(
            row(RowKind::button, view.subfolders[i], kImportFolder + static_cast<int>(i)));
    addFooter(page, kImportFolderUse, Translate("Use this folder"), true);
    addFooter(page, kImportClose, Translate("Back"));
}

bool isPlain(const FolderEntry& entry) {
    return entry.isFolder && !entry.name.empty() && entry.name[0] != '.';
}

int faultySessions(SessionIndex& index, const IbtCombo& combo) {
    int count = 0;
    for (const IndexedSession& session : index.of(combo.car, combo.track, combo.trackId))
        count += session.preFix || session.versionEight;
    return count;
}

} // namespace

std::string bytesText(uint64_t bytes) {
    const double mega = static_cast<double>(bytes) / (1 << 20);
    if (mega >= 1024) return filled("%.1f GB", mega / 1024);
    return filled(mega >= 10 ? "%.0f MB" : "%.1f MB", mega);
}

RowPage importPage(const ImportView& view) {
    RowPage page;
    switch (view.phase) {
    case Phase::scanning:
    case Phase::choosing:
        addChoosing(page, view);
        break;
    case Phase::browsing:
        addBrowsing(page, view);
        break;
    case Phase::importing: {
        page.body.push_back(
            row(RowKind::text, filled(Translate("Importing: file %d of %d, %d laps so far"),
                                      view.file, view.files, view.laps)));
        RowItem gauge = row(RowKind::gauge, "");
        gauge.level =
            view.files > 0 ? static_cast<float>(view.file - 1) / static_cast<float>(view.files) : 0;
        page.body.push_back(gauge);
        addFooter(page, kImportStop, Translate("Stop"));
        break;
    }
    case Phase::stopping:
        page.body.push_back(row(RowKind::text, Translate("Stopping...")));
        break;
    case Phase::done:
        page.body.push_back(row(RowKind::text, view.message));
        addFooter(page, kImportClose, Translate("Close"), true);
        break;
    }
    return page;
}

/// One scan or import. The thread writes, the desk reads once `done`.
struct ImportDesk::Job {
    std::thread thread;
    bool isScan = false;
    std::atomic<uint32_t> done{0}, cancel{0}, file{0}, laps{0};
    std::vector<IbtCombo> combos;
    std::vector<int> faulty;
    std::vector<IbtImportResult> results;
    ~Job() {
        cancel = 1;
        if (thread.joinable()) thread.join();
    }
};

ImportDesk::ImportDesk(PerfStore& store, std::string dataDir, int limit)
    : store_(store), dataDir_(std::move(dataDir)), limit_(limit) {}

ImportDesk::~ImportDesk() = default;

void ImportDesk::scan(std::string folder) {
    view = {};
    view.folder = folder;
    job_ = std::make_unique<Job>();
    job_->isScan = true;
    const auto body = [this, folder, job = job_.get()] {
        nameThisThread("ibt folder");
        lowerThisThread();
        RunDates dates;
        SessionIndex index(store_, dates);
        job->combos = scanFolder(store_, folder);
        for (const IbtCombo& combo : job->combos)
            job->faulty.push_back(job->cancel ? 0 : faultySessions(index, combo));
        job->done = 1;
    };
    try {
        job_->thread = std::thread(body);
    } catch (const std::exception&) {
        body(); // slower, but there
    }
}

void ImportDesk::startImport() {
    const IbtCombo combo = view.combos[static_cast<size_t>(view.selected)];
    job_ = std::make_unique<Job>();
    const auto body = [this, combo, fix = view.fix, job = job_.get()] {
        nameThisThread("ibt import");
        lowerThisThread();
        RunDates dates;
        SessionIndex index(store_, dates);
        ImportContext context{.store = store_, .dataDir = dataDir_, .dates = dates};
        context.limit = limit_;
        context.cancel = &job->cancel;
        for (const std::string& path : combo.paths) {
            if (job->cancel) break;
            ++job->file;
            job->results.push_back(importFile(context, path, fix, index, false));
            job->laps += static_cast<uint32_t>(job->results.back().lapsImported);
        }
        job->done = 1;
    };
    view.phase = Phase::importing;
    view.files = static_cast<int>(combo.paths.size());
    view.file = view.laps = 0;
    try {
        job_->thread = std::thread(body);
    } catch (const std::exception&) {
        job_.reset();
        view.message = Translate("Could not start the import.");
        view.phase = Phase::done;
    }
}

void ImportDesk::browse(std::string folder) {
    view.phase = Phase::browsing;
    view.browsed = folder;
    view.subfolders.clear();
    for (const FolderEntry& entry : listFolder(folder))
        if (isPlain(entry) && view.subfolders.size() < 200) view.subfolders.push_back(entry.name);
}

bool ImportDesk::press(int button) {
    if (button >= kImportFolder) {
        const auto at = static_cast<size_t>(button - kImportFolder);
        if (at < view.subfolders.size()) browse(joinPath(view.browsed, view.subfolders[at]));
        return false;
    }
    if (button >= kImportCombo) {
        view.selected = button - kImportCombo == view.selected ? -1 : button - kImportCombo;
        view.fix = false;
        return false;
    }
    switch (button) {
    case kImportClose:
        if (view.phase != Phase::browsing) return true;
        scan(view.folder);
        break;
    case kImportBrowse:
        browse(folderExists(view.folder) ? view.folder : documentsFolder());
        break;
    case kImportFolderUp: {
        const size_t cut = view.browsed.rfind('/');
        browse(cut == std::string::npos || cut == 0 ? "/" : view.browsed.substr(0, cut));
        break;
    }
    case kImportFolderUse:
        scan(view.browsed);
        break;
    case kImportFix:
        view.fix = !view.fix;
        break;
    case kImportStart:
        if (view.selected >= 0) startImport();
        break;
    case kImportStop:
        if (job_) job_->cancel = 1;
        view.phase = Phase::stopping;
        break;
    default:
        break;
    }
    return false;
}

bool ImportDesk::poll() {
    if (!job_) return false;
    if (!job_->done) {
        const int file = static_cast<int>(job_->file), laps = static_cast<int>(job_->laps);
        const bool changed = file != view.file || laps != view.laps;
        view.file = file;
        view.laps = laps;
        return changed;
    }
    if (job_->thread.joinable()) job_->thread.join();
    const std::unique_ptr<Job> job = std::move(job_);
    if (job->isScan) {
        if (view.phase == Phase::scanning) view.phase = Phase::choosing;
        view.combos = std::move(job->combos);
        view.faulty = std::move(job->faulty);
        return true;
    }
    if (job->laps > 0) ++imports_;
    view.message = importSummary(job->results);
    view.phase = Phase::done;
    return true;
}

int showImportWindow(WindowId parent, PerfStore& store, const std::string& telemetryFolder,
                     const std::string& dataDir, int limit) {
    ImportDesk desk(store, dataDir, limit);
    desk.scan(telemetryFolder);
    bool polling = false;
    RowWindow window;
    window.parent = parent;
    window.title = Translate("Import iRacing telemetry");
    window.width = 640;
    window.minHeight = 460;
    window.firstFocus = kImportBrowse;
    window.page = [&] {
        if (!polling && currentDialog()) {
            polling = true;
            startTimer(currentDialog(), kPollTimer, kPollMs);
        }
        return importPage(desk.view);
    };
    window.press = [&](int button) {
        const Phase before = desk.view.phase;
        if (desk.press(button)) endDialog(1);
        rowsChanged(desk.view.phase != before);
    };
    window.timer = [&](uint32_t) {
        if (desk.poll()) rowsChanged();
    };
    runRowWindow(window);
    return desk.imports();
}

OfferChoice showOfferWindow(WindowId parent, const OfferCard& card) {
    RowPage page;
    std::string what = filled(Translate("%d telemetry file(s) that iRacing has written are not in "
                                        "your sessions yet: %s at %s"),
                              card.newFiles(), card.car().c_str(), card.track().c_str());
    if (card.combos() > 1)
        what += filled(Translate(" and %d more car and track combos"), card.combos() - 1);
    page.body.push_back(row(RowKind::text, what + "."));
    addFooter(page, kImportStart, Translate("Import"), true);
    addFooter(page, kImportBrowse, Translate("Choose"));
    addFooter(page, kImportStop, Translate("Not now"));
    RowWindow window;
    window.parent = parent;
    window.title = Translate("Import iRacing telemetry");
    window.firstFocus = kImportStart;
    window.page = [&page] { return page; };
    window.press = [](int button) { endDialog(button); };
    switch (runRowWindow(window)) {
    case kImportStart:
        return OfferChoice::import;
    case kImportBrowse:
        return OfferChoice::choose;
    case kImportStop:
        return OfferChoice::notNow;
    default:
        return OfferChoice::none;
    }
}

} // namespace vt
