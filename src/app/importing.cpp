#include "app/importing.h"

#include "base/log.h"
#include "base/translate.h"
#include "overlay/drawing/dialog.h"
#include "panel/import_window.h"
#include "panel/row_parts.h"
#include "platform/file.h"
#include "platform/main_loop.h"
#include "platform/paths.h"
#include "telemetry/setup/game_documents.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace vt {

namespace {

constexpr uint32_t kIRacingAppId = 266410;
constexpr uint32_t kOpenMessage = 1;
constexpr double kWorkEvery = 0.2, kLoggingEvery = 10, kResultStays = 20; // s
enum Open { kOpenNothing, kOpenWindow, kOpenOffer };

} // namespace

Importing::Importing(PerfStore& store, AppConfig& config, std::string appDataDir,
                     std::string dataDir)
    : store_(store), config_(config), dataDir_(std::move(dataDir)) {
    places_.appDataDir = std::move(appDataDir);
    places_.documents = documentsOfGame(gameDocumentsFolders(kIRacingAppId), "iRacing");
    const std::string folder = joinPath(joinPath(places_.documents, "iRacing"), "telemetry");
    if (!places_.documents.empty() && folderExists(folder)) telemetryFolder_ = folder;
    answer_ = loggingPromptAnswer(places_.appDataDir);
    checkLoggingOnce(places_);
    background_ = std::make_unique<IbtBackground>(
        store_, IbtBackgroundPlaces{telemetryFolder_, dataDir_, config_.perfHistoryLimit});
    card_ =
        std::make_unique<OfferCard>(store_, telemetryFolder_, dataDir_, config_.perfHistoryLimit);
    WindowSpec spec;
    spec.kind = WindowKind::message;
    messages_ = createWindow(spec, [this](const WindowEvent& event) {
        if (event.kind == EventKind::user) open(std::exchange(pending_, kOpenNothing));
        return true;
    });
}

Importing::~Importing() {
    if (messages_) destroyWindow(messages_);
}

bool Importing::post(int what) {
    if (!messages_ || pending_ != kOpenNothing || currentDialog() != 0) return false;
    pending_ = what;
    if (!postToWindow(messages_, kOpenMessage, 0)) pending_ = kOpenNothing;
    return pending_ != kOpenNothing;
}

void Importing::openWindow() {
    post(kOpenWindow);
}

void Importing::open(int what) {
    if (what == kOpenWindow) {
        const std::string folder = telemetryFolder_.empty() ? documentsFolder() : telemetryFolder_;
        showImportWindow(parent, store_, folder, dataDir_, config_.perfHistoryLimit);
    }
    if (what != kOpenOffer || card_->state() != OfferState::shown) return;
    const OfferChoice choice = showOfferWindow(parent, *card_);
    if (choice == OfferChoice::import) card_->importNow();
    if (choice == OfferChoice::choose)
        showImportWindow(parent, store_, telemetryFolder_, dataDir_, config_.perfHistoryLimit);
    if (choice != OfferChoice::notNow) return;
    OfferSettings settings{config_.ibtCardNeverAsk, config_.ibtCardNotNowCount, false};
    card_->notNow(settings);
    config_.ibtCardNeverAsk = settings.neverAsk;
    config_.ibtCardNotNowCount = settings.notNowCount;
    config_.settingsDirty = true;
}

void Importing::tickCard(bool onTrack, double now) {
    OfferSettings settings{config_.ibtCardNeverAsk, config_.ibtCardNotNowCount,
                           autoImportSetting(config_.ibtAutoImport, config_.shareMode, true)};
    if (card_->tick({now, onTrack, answer_}, settings)) {
        config_.ibtCardNeverAsk = settings.neverAsk;
        config_.ibtCardNotNowCount = settings.notNowCount;
        config_.settingsDirty = true;
    }
    if (card_->state() == OfferState::shown && !offered_ && !onTrack) {
        offered_ = platformKind() == PlatformKind::headless || post(kOpenOffer);
        if (platformKind() == PlatformKind::headless)
            logStatus("[import] %d telemetry file(s) can be imported: --import FOLDER\n",
                      card_->newFiles());
    }
    if (card_->state() != OfferState::result) return;
    if (resultUntil_ < 0) {
        logStatus("[import] %s\n", card_->message().c_str());
        resultUntil_ = now + kResultStays;
    } else if (now >= resultUntil_) {
        card_->closeResult();
        resultUntil_ = -1;
    }
}

void Importing::tick(const SimFrame& frame, bool demo, double now) {
    irOrderTelemetry(telemetryOrder_, frame, demo, config_.iracingAutoTelemetry);
    if (now < nextWork_) return;
    nextWork_ = now + kWorkEvery;
    now_ = now;
    const bool onTrack = frame.connected && frame.isOnTrack && !frame.onPitRoad;
    if (now >= nextLogging_) {
        nextLogging_ = now + kLoggingEvery;
        if (loggingPendingTick(places_))
            logStatus("[import] %s\n", loggingAnswerText(LoggingAnswer::on));
    }
    tickCard(onTrack, now);
    const OfferState state = card_->state();
    background_->setLimit(config_.perfHistoryLimit);
    background_->tick({.onTrack = onTrack,
                       .blocked = state == OfferState::looking || state == OfferState::importing,
                       .autoImport = autoImportSetting(config_.ibtAutoImport, config_.shareMode,
                                                       config_.perfLoggingEnabled),
                       .cardIdle = state == OfferState::idle,
                       .now = now},
                      shown_);
}

std::string Importing::statusLine() const {
    char text[128];
    switch (card_->state()) {
    case OfferState::importing:
        std::snprintf(text, sizeof text, Translate("Importing: file %d of %d, %d laps so far"),
                      card_->filesDone() + 1, card_->newFiles(), card_->lapsDone());
        return text;
    case OfferState::result: // its first sentence: one line has no room for all of them
        return card_->message().substr(0, card_->message().find(" ", card_->message().find('.')));
    default:
        break;
    }
    if (!shown_.message.empty()) return shown_.message;
    if (!shown_.showProgress) return "";
    std::snprintf(text, sizeof text, Translate("Reading telemetry files: %d %%"),
                  static_cast<int>(std::lround(shown_.progress * 100)));
    return text;
}

} // namespace vt
