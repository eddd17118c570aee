// "Import iRacing telemetry": a folder, what lies in it by car and track, and the import of one of
// those pairs. Also the card that offers the old files. Main thread; the work has its own.
#pragma once
#include "import/offer_card.h"
#include "panel/row_layout.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vt {

inline constexpr int kImportRowsMax = 64; // combos that are listed
enum ImportButton {
    kImportClose = 1,
    kImportBrowse,
    kImportStart,
    kImportStop,
    kImportFix,
    kImportFolderUse,
    kImportFolderUp,
    kImportCombo = 100,  // + row
    kImportFolder = 300, // + row
};

/// What the window shows; changed by presses and by the worker's end alone.
struct ImportView {
    enum class Phase { scanning, choosing, browsing, importing, stopping, done };
    Phase phase = Phase::scanning;
    std::string folder, message;
    std::vector<IbtCombo> combos;
    std::vector<int> faulty; // per combo: stored sessions with lap time errors
    int selected = -1;
    bool fix = false;
    std::string browsed; // the folder that is looked into
    std::vector<std::string> subfolders;
    int file = 0, files = 0, laps = 0; // while importing
};
RowPage importPage(const ImportView& view);
/// "1.4 GB"
std::string bytesText(uint64_t bytes);

/// The work behind the view.
class ImportDesk {
public:
    ImportDesk(PerfStore& store, std::string dataDir, int limit);
    ~ImportDesk();
    ImportDesk(const ImportDesk&) = delete;
    ImportDesk& operator=(const ImportDesk&) = delete;

    ImportView view;
    void scan(std::string folder);
    /// True when the window is to be closed.
    bool press(int button);
    /// Takes over what the worker reached. True when the page changed.
    bool poll();
    bool working() const { return job_ != nullptr; }
    int imports() const { return imports_; } // that brought laps

private:
    struct Job;
    void startImport();
    void browse(std::string folder);

    PerfStore& store_;
    std::string dataDir_;
    int limit_ = 0, imports_ = 0;
    std::unique_ptr<Job> job_;
};

/// Runs until it is closed; a running import is stopped at its next file. How many imports brought
/// laps.
int showImportWindow(WindowId parent, PerfStore& store, const std::string& telemetryFolder,
                     const std::string& dataDir, int limit);

/// The offer as a dialog. True when a choice was made; closing it by its frame chooses nothing.
enum class OfferChoice { none, import, notNow, choose };
OfferChoice showOfferWindow(WindowId parent, const OfferCard& card);

} // namespace vt
