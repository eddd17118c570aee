#include "import/offer_card.h"

#include "base/translate.h"
#include "platform/thread_name.h"
#include "telemetry/ibt/ibt_file.h"

#include <algorithm>
#include <cstdio>

namespace vt {

namespace {

constexpr double kAfterStart = 5; // s
constexpr int kNotNowLimit = 2;

int importJobs() {
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()) - 2, 1, 8);
}

} // namespace

/// What the working thread fills; read once `done`.
struct OfferCard::Work {
    std::thread thread;
    std::atomic<uint32_t> done{0}, cancel{0}, pause{0}, files{0}, laps{0};
    std::string car, track;
    int combos = 0;
    std::vector<std::string> newFiles, newKeys, unseenKeys;
    std::vector<IbtImportResult> results;
    ~Work() {
        cancel = 1;
        if (thread.joinable()) thread.join();
    }
};

OfferCard::OfferCard(PerfStore& store, std::string telemetryFolder, std::string dataDir, int limit)
    : store_(store), folder_(std::move(telemetryFolder)), dataDir_(std::move(dataDir)),
      limit_(limit) {}

OfferCard::~OfferCard() = default;

int OfferCard::filesDone() const {
    return work_ ? static_cast<int>(work_->files) : 0;
}
int OfferCard::lapsDone() const {
    return work_ ? static_cast<int>(work_->laps) : 0;
}

void OfferCard::look() {
    Work& work = *work_;
    nameThisThread("ibt offer");
    lowerThisThread();
    const std::set<std::string> imported = readKeyList(ibtImportedPath(store_.base()));
    const std::set<std::string> offered = readKeyList(ibtOfferedPath(store_.base()));
    for (const IbtCombo& combo : scanFolder(store_, folder_)) {
        if (work.cancel) break;
        bool fresh = false;
        for (const std::string& path : combo.paths) {
            const std::string key = ibtFileKey(path);
            if (!key.empty() && !imported.contains(key)) work.unseenKeys.push_back(key);
        }
        for (const std::string& path : combo.lapPaths) {
            const std::string key = ibtFileKey(path);
            IbtHeader header;
            if (key.empty() || imported.contains(key) || offered.contains(key) ||
                !ibtReadHeader(path, header))
                continue;
            work.newFiles.push_back(path);
            work.newKeys.push_back(key);
            fresh = true;
        }
        if (!fresh) continue;
        if (work.combos++ == 0) {
            work.car = combo.car;
            work.track = combo.track;
        }
    }
    work.done = 1;
}

void OfferCard::startLooking() {
    asked_ = true;
    work_ = std::make_unique<Work>();
    try {
        work_->thread = std::thread([this] { look(); });
        state_ = OfferState::looking;
    } catch (const std::exception&) {
        work_.reset();
    }
}

bool OfferCard::lookedUp(const OfferInput& input, OfferSettings& settings) {
    work_->thread.join();
    car_ = work_->car;
    track_ = work_->track;
    combos_ = work_->combos;
    newFiles_ = std::move(work_->newFiles);
    newKeys_ = std::move(work_->newKeys);
    unseenKeys_ = std::move(work_->unseenKeys);
    work_.reset();
    state_ = OfferState::idle;
    if (settings.autoImport) {
        // The driver said no to the old files: only those from now on.
        if (input.answer == "no") appendKeyList(ibtImportedPath(store_.base()), unseenKeys_);
        return false;
    }
    if (newFiles_.empty()) return false;
    state_ = OfferState::shown;
    if (input.answer == "yes") importNow();
    if (input.answer != "no") return false;
    notNow(settings);
    return true;
}

bool OfferCard::tick(const OfferInput& input, OfferSettings& settings) {
    if (first_ < 0) first_ = input.now;
    if (work_) work_->pause = input.onTrack ? 1 : 0;
    if (state_ == OfferState::looking && work_->done) return lookedUp(input, settings);
    if (state_ == OfferState::importing && work_->done) finishImport();
    const bool wanted = settings.autoImport ? input.answer == "no" : !settings.neverAsk;
    if (state_ == OfferState::idle && !asked_ && !folder_.empty() && wanted && !input.onTrack &&
        input.now - first_ >= kAfterStart)
        startLooking();
    return false;
}

void OfferCard::notNow(OfferSettings& settings) {
    if (state_ != OfferState::shown) return;
    if (++settings.notNowCount >= kNotNowLimit) settings.neverAsk = true;
    appendKeyList(ibtOfferedPath(store_.base()), newKeys_);
    state_ = OfferState::idle;
}

void OfferCard::importNow() {
    if (state_ != OfferState::shown) return;
    work_ = std::make_unique<Work>();
    const auto body = [this] {
        Work& work = *work_;
        nameThisThread("ibt import");
        lowerThisThread();
        RunDates dates;
        ImportContext context{.store = store_, .dataDir = dataDir_, .dates = dates};
        context.limit = limit_;
        context.cancel = &work.cancel;
        context.pause = &work.pause;
        context.filesDone = &work.files;
        context.lapsAdded = &work.laps;
        work.results = importBatch(context, newFiles_, true, importJobs());
        work.done = 1;
    };
    try {
        work_->thread = std::thread(body);
        state_ = OfferState::importing;
    } catch (const std::exception&) {
        work_.reset();
        message_ = Translate("Could not start the import.");
        state_ = OfferState::result;
    }
}

void OfferCard::finishImport() {
    work_->thread.join();
    std::vector<std::string> keys;
    for (size_t i = 0; i < work_->results.size() && i < newKeys_.size(); ++i)
        if (work_->results[i].attempted) keys.push_back(newKeys_[i]);
    appendKeyList(ibtImportedPath(store_.base()), keys);
    message_ = importSummary(work_->results);
    const bool laps = work_->laps > 0;
    work_.reset();
    state_ = laps ? OfferState::result : OfferState::idle;
    if (laps) ++imports_;
}

void OfferCard::cancel() {
    if (work_) work_->cancel = 1;
}

void OfferCard::closeResult() {
    if (state_ == OfferState::result) state_ = OfferState::idle;
}

std::string importSummary(const std::vector<IbtImportResult>& results) {
    IbtImportResult sum;
    int files = 0;
    bool unread = false;
    for (const IbtImportResult& result : results) {
        if (!result.attempted) continue;
        ++files;
        unread |= !result.parsed;
        sum.lapsImported += result.lapsImported;
        sum.skippedIncomplete += result.skippedIncomplete;
        sum.skippedRecorded += result.skippedRecorded;
        sum.sessionsReplaced += result.sessionsReplaced;
    }
    char text[320];
    std::snprintf(text, sizeof text,
                  Translate("Imported %d lap(s) from %d file(s). %d stint(s) skipped (%d "
                            "incomplete, %d already recorded live). %d session(s) replaced.%s"),
                  sum.lapsImported, files, sum.skippedIncomplete + sum.skippedRecorded,
                  sum.skippedIncomplete, sum.skippedRecorded, sum.sessionsReplaced,
                  unread ? Translate(" Some files could not be read.") : "");
    return text;
}

} // namespace vt
