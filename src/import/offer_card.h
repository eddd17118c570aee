// Asks once before the driver's old telemetry files are imported: what there is, what the answer
// does. The card itself is drawn elsewhere. Main thread; the work runs on a thread of low priority.
#pragma once
#include "import/ibt_background.h"

#include <functional>
#include <memory>
#include <string>

namespace vt {

enum class OfferState { idle = 0, looking = 1, shown = 2, importing = 3, result = 4 };

/// The settings that the card reads and writes.
struct OfferSettings {
    bool neverAsk = false;   // ibtCardNeverAsk
    int notNowCount = 0;     // ibtCardNotNowCount
    bool autoImport = false; // autoImportSetting without perfLoggingEnabled
};

struct OfferInput {
    double now = 0; // s, monotonic
    bool onTrack = false;
    std::string answer; // of the first-run question: "yes", "no", ""
};

class OfferCard {
public:
    OfferCard(PerfStore& store, std::string telemetryFolder, std::string dataDir, int limit);
    ~OfferCard();
    OfferCard(const OfferCard&) = delete;
    OfferCard& operator=(const OfferCard&) = delete;

    /// Once a tick. True when `settings` changed and must be saved.
    bool tick(const OfferInput& input, OfferSettings& settings);
    OfferState state() const { return state_; }
    /// While the card is shown: the first car and track with new files, and how many pairs there
    /// are.
    const std::string& car() const { return car_; }
    const std::string& track() const { return track_; }
    int combos() const { return combos_; }
    int newFiles() const { return static_cast<int>(newFiles_.size()); }
    /// While importing.
    int filesDone() const;
    int lapsDone() const;
    /// In the result state.
    const std::string& message() const { return message_; }
    /// Rises with every finished import that brought laps: reviews load again.
    int imports() const { return imports_; }

    void notNow(OfferSettings& settings);
    void importNow();
    void cancel();
    void closeResult();

private:
    struct Work;
    void look();
    void startLooking();
    bool lookedUp(const OfferInput& input, OfferSettings& settings);
    void finishImport();

    PerfStore& store_;
    std::string folder_, dataDir_;
    int limit_ = 0;
    OfferState state_ = OfferState::idle;
    bool asked_ = false; // in this run of the program
    double first_ = -1;
    std::string car_, track_, message_;
    int combos_ = 0, imports_ = 0;
    std::vector<std::string> newFiles_, newKeys_, unseenKeys_;
    std::unique_ptr<Work> work_;
};

/// "Imported %d lap(s) from %d file(s). ..." of a finished import.
std::string importSummary(const std::vector<IbtImportResult>& results);

} // namespace vt
