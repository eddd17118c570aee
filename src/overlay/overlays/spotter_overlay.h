// Spotter: who is alongside, as bars, radar or disc, and out loud.
#pragma once
#include "overlay/overlays/list_paint.h"
#include "overlay/window/overlay_window.h"
#include "race/spotter_model.h"
#include "voice/voice_engine.h"

#include <memory>

namespace vt {

class SpotterOverlay : public OverlayWindow {
public:
    explicit SpotterOverlay(OverlayHost& host);

    int* styleField() override { return &config.spotter.spotterMode; }
    float* gapField() override { return &config.spotter.spotterBarGap; }
    void buildPage(const PageBuilder& page) override;
    void layoutForStyle() override;
    void prepareFrame(const SimFrame* newFrame) override;
    void whileDisabled() override;
    bool visibilityGate() override;
    uint64_t contentHash() override;
    void draw(Canvas& target, RectF rect) override;
    void discardDeviceResources() override;
    bool rebuildDeviceResources() override;

    const SpotterCalls& calls() const { return calls_; } // for tests

private:
    void configureVoice();
    void tickModel();

    SpotterCalls calls_;
    SpotterBars bars_;
    SpotterRadar radar_;
    int64_t stepTicks_ = 0;
    std::unique_ptr<VoiceEngine> voice_; // null where nothing may sound
    bool packChosen_ = false;            // once a run
    bool voiceAsked_ = false;            // told what the settings say, since it was switched on
    TextShelf shelf_;
    StampShelf stamps_;
};

/// What is drawn of a model; `nowMs` moves the pulses, `alpha` is the fade to draw with.
struct SpotterPicture {
    const SpotterBars& bars;
    const SpotterRadar& radar;
    uint64_t nowMs = 0;
    float floor = 0; // least fade, while there is nothing to show but a place to see
};
void drawSpotterBars(ListPainter& painter, RectF rect, const SpotterConfig& config,
                     const SpotterPicture& picture);
void drawSpotterRadar(ListPainter& painter, RectF rect, const SpotterConfig& config,
                      const SpotterPicture& picture);
void drawSpotterDisc(ListPainter& painter, RectF rect, const SpotterConfig& config,
                     const SpotterPicture& picture);

} // namespace vt
