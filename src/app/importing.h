// Telemetry files in the running program: the scan in the background, the card that offers old
// files, the window, and iRacing's own switch. Main thread.
#pragma once
#include "import/ibt_background.h"
#include "import/offer_card.h"
#include "import/sim_logging.h"
#include "overlay/settings/app_config.h"
#include "platform/window.h"
#include "telemetry/readers/iracing_broadcast.h"
#include "telemetry/sim_frame.h"

#include <memory>
#include <string>

namespace vt {

class Importing {
public:
    Importing(PerfStore& store, AppConfig& config, std::string appDataDir, std::string dataDir);
    ~Importing();
    Importing(const Importing&) = delete;
    Importing& operator=(const Importing&) = delete;

    /// Once a tick. `now` in monotonic seconds.
    void tick(const SimFrame& frame, bool demo, double now);
    /// The window's button; opens once the tick is over.
    void openWindow();
    /// A line for the program's window; "" = nothing to say.
    std::string statusLine() const;

    WindowId parent = 0;

private:
    void tickCard(bool onTrack, double now);
    bool post(int what);
    void open(int what);

    PerfStore& store_;
    AppConfig& config_;
    std::string dataDir_;
    SimLoggingPlaces places_;
    std::string telemetryFolder_, answer_;
    std::unique_ptr<IbtBackground> background_;
    std::unique_ptr<OfferCard> card_;
    IbtTickOutput shown_;
    IrTelemetryOrder telemetryOrder_;
    WindowId messages_ = 0;
    int pending_ = 0;
    bool offered_ = false; // the card was put on the screen
    double nextLogging_ = 0, nextWork_ = 0, resultUntil_ = -1, now_ = 0;
};

} // namespace vt
