// What every overlay is: one object, one transparent, click-through, always-on-top window, drawn on
// the main thread from the main tick. An overlay supplies its settings, its size per style, a hash
// of what it would show, and the drawing; when it shows, when it redraws, how it is dragged is
// decided here.
//
// Coordinates in `draw` are design units (pixels * 96 / dpi). `frame` is valid during a tick alone:
// nothing may keep a pointer into it.
#pragma once
#include "overlay/drawing/drawing.h"
#include "overlay/frame/page_builder.h"
#include "overlay/settings/app_config.h"
#include "platform/clock.h"
#include "platform/window.h"
#include "telemetry/sim_frame.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

class OverlayWindow;
struct FuelModels;
struct AudioSystem;

/// Where maps of tracks lie, and the word that asks the reader for positions on the globe.
struct TrackFiles {
    std::string dataDir; // ships with the program
    std::string baseDir; // the program's data folder
    std::atomic<uint32_t>* wantsGps = nullptr;
};

/// What all overlays share: made once by the driver, outlives them.
struct OverlayHost {
    AppConfig& config;
    const Clock& clock;
    std::function<void()> saveSettings{}; // writes the settings now; may be empty
    /// Posts a paint of the panel when the edit state changed; may be empty.
    std::function<void()> editModeChanged{};
    /// After each good draw: mirrors, captures, headsets enter themselves.
    std::vector<std::function<void(OverlayWindow&)>> afterPaint{};
    /// Slots 43 and 44 time the panel's own drawing.
    struct SlotTiming {
        double totalMs = 0, peakMs = 0;
        uint64_t count = 0, skipped = 0;
        double cmdMs = 0, flushMs = 0, presentMs = 0; // of the last draw
    };
    std::array<SlotTiming, 45> timing{};
    /// Draw hidden overlays too (into their picture), while somebody arranges them elsewhere.
    bool keepDrawing = false;
    /// In edit mode show the name in place of the content.
    bool editPlaceholders = false;
    std::vector<OverlayWindow*> overlays{}; // by slot; null where an overlay does not exist
    /// The main tick's frame for its whole length, null outside: a recovery of the device or a
    /// change of edit mode inside the tick draws with it at once.
    const SimFrame* tickFrame = nullptr;
    /// One finished line of the performance log; empty while no such log is open.
    std::function<void(std::string_view)> perfLine{};
    TrackFiles tracks{};
    /// Burn, stops and saving; null where no overlay may learn or show any (some tests).
    FuelModels* fuel = nullptr;
    /// Where overlays speak; null: they are silent (pictures, tests).
    const AudioSystem* audio = nullptr;
    bool screenshots = false; // fixed content for pictures, nothing learned
};

/// The common settings as they were when the tick began.
struct CommonSnapshot : OverlayConfig {};

class OverlayWindow {
public:
    OverlayWindow(OverlayHost& host, int slot);
    virtual ~OverlayWindow();
    OverlayWindow(const OverlayWindow&) = delete;
    OverlayWindow& operator=(const OverlayWindow&) = delete;

    // ---- what an overlay supplies ----

    virtual void getCommon(CommonSnapshot& out);
    virtual void setPlacement(int x, int y, bool locked, float widthMul, float heightMul);
    virtual OverlayConfig* configBase(); // null only where a slot has no block
    virtual void resetConfig();          // back to defaults; keeps `enabled` and position
    virtual float* gapField();           // the value shown as "gap" while resizing
    virtual ColumnList* columnList();
    virtual int* styleField();
    virtual void buildPage(const PageBuilder& page) = 0;
    virtual bool supportsStrips() const; // false unless overridden
    virtual bool supportsFieldOptions() const;
    virtual bool showsWithoutSim() const;
    virtual void discardDeviceResources(); // extended where the class holds more
    virtual bool rebuildDeviceResources();
    /// The content, into `rect` (the client area less the strips).
    virtual void draw(Canvas& canvas, RectF rect) = 0;
    virtual bool hasChrome() const; // header and footer strips
    virtual void drawChrome(Canvas& canvas, RectF client);
    /// Sets baseWidth, baseHeight and the resize flags from the settings.
    virtual void layoutForStyle() = 0;
    virtual bool visibilityGate(); // asked last, only when the overlay would show
    virtual bool extraShowWhen(bool inGarage, bool inCar, bool outOfCar);
    virtual bool hasClickArea() const;      // takes clicks while locked
    virtual void onClick(PointI client);    // client pixels
    virtual bool hitAt(int x, int y) const; // client pixels; true unless overridden
    /// Hash of all that `draw` would show; 0 = there is none, always redraw. Never called hidden or
    /// in edit mode. `previewMode` tells that nothing may be learned from the frame.
    virtual uint64_t contentHash();
    virtual void prepareFrame(const SimFrame* newFrame); // before the tick, also while hidden
    virtual void whileDisabled() {} // in its place, while the overlay is switched off

    // ---- state, read by the pages, the captures and the tests ----

    OverlayHost& host;
    AppConfig& config;
    const int slot;
    char name[48] = ""; // the window's title without "VT "
    bool editMode = false;
    bool previewMode = false;
    int baseWidth = 1, baseHeight = 1; // at scale 1, from layoutForStyle; design units
    int scaledWidth = 1, scaledHeight = 1;
    bool heightResizable = false, widthFixed = false, uniformScale = false;
    float minHeightMul = 0, minWidthMul = 0;
    bool inResize = false;
    bool layoutDirty = false, fontsDirty = false;
    bool usesChrome = false;
    const SimFrame* frame = nullptr; // during a tick
    float dpiScale = 1;
    TextFormatRef textFormat; // Inter Tight 600, 13 * textScale; made anew when fontsDirty
    BrushCache brushes;
    OverlayLayoutCache layouts;
    WindowId window = 0; // 0: could not be created, or not yet
    SurfaceRef surface;
    bool contentValid = false;
    uint64_t lastHash = 0;
    uint32_t skippedFrames = 0;
    int64_t nextFrameDue = 0;
    uint64_t lastSaveMs = 0;
    bool dragMove = false, dragRight = false, dragBottom = false;
    PointI dragCursor;
    RectI dragRect;
    /// The last finished picture and how many there were: what captures read. Null before the
    /// first and while hidden; drawn into again by the next draw, so copy what is to be kept.
    BitmapRef picture;
    uint64_t frameCounter = 0;
    Canvas canvas;               // kept, so that a draw allocates nothing
    TextFormatRef captionFormat; // of the edit mode's own texts
    PathRef cornerMask;          // of the theme's corner radius, for the size and radius below
    float maskWidth = 0, maskHeight = 0, maskRadius = 0;
    std::vector<RectI> clickRects; // the live areas that the window was told last
    bool inTick = false;
    bool nudgeSavePending = false; // the last nudge still waits for its turn to be written
    uint64_t lastSpikeMs = 0;

    // ---- for draw ----

    /// A brush of this overlay's cache; `opacity` multiplies the colour's alpha.
    const Brush* brush(Color color, float opacity = 1) {
        return brushFor(brushes, fade(color, opacity));
    }
    /// Of the content and of the background, by the overlay's or the program's setting.
    float contentOpacity();
    float bgOpacity();
    /// Frame of the tick when it is connected, else null.
    const SimFrame* liveFrame() const { return frame && frame->connected ? frame : nullptr; }
};

// ---- operations ----

/// Creates the window. On failure one log line, `failures` + 1; the overlay stays without a window.
bool createOverlay(OverlayWindow& overlay, const char* title, int& failures);
void destroyOverlay(OverlayWindow& overlay);

/// One overlay's turn of a main tick. A null frame means that there is none at all.
void overlayTick(OverlayWindow& overlay, const SimFrame* frame);
void frameTick(OverlayWindow& overlay);

/// scaledWidth and scaledHeight from the base size, the flags and the multipliers.
void applyScale(OverlayWindow& overlay);
/// The client size in pixels: scaled size, strips, dpi.
PointI overlayPixelSize(OverlayWindow& overlay);
void relayout(OverlayWindow& overlay);         // after a change of style
void resizeToSettings(OverlayWindow& overlay); // after a change of scale
void restorePosition(OverlayWindow& overlay);
void nudge(OverlayWindow& overlay, int dx, int dy);
/// With `save` the settings are written at once, else they are marked for the next save.
void moveTo(OverlayWindow& overlay, int x, int y, bool save);
void centerOnPrimary(OverlayWindow& overlay); // marks the settings for the next save
void showOverlay(OverlayWindow& overlay, bool visible);
/// Unlocks or locks one overlay, stores that and saves.
void setEditMode(OverlayWindow& overlay, bool on);

/// Draws the overlay at `scale` (1 when not above 0.05; at most 8) into a bitmap without a window.
/// `reuse` is drawn into when it has the right size. Null when it cannot be drawn. An unlocked
/// overlay is drawn with its outline and caption, as it stands on the screen.
BitmapRef renderPreview(OverlayWindow& overlay, float scale, const SimFrame* frame,
                        BitmapRef reuse = nullptr);

/// The corner that a dragged rectangle takes: within 8 px of an edge of the work area or of another
/// overlay it jumps there. Axes are independent.
PointI snap(RectI moving, RectI workArea, const std::vector<RectI>& others);

// ---- all overlays ----

/// Edit mode for all: when any is in it, all leave it, else all enter it. Saves.
void toggleArrangeMode(OverlayHost& host);
bool anyInEditMode(const OverlayHost& host);
/// Flips `enabled`; switching off hides at once.
void toggleOverlayEnabled(OverlayHost& host, int slot);
/// The overlay that the arrow keys move: the one under the pointer, else the only one in edit mode.
OverlayWindow* nudgeTarget(OverlayHost& host);
/// Enters the host's overlays with the device's recovery; `removeDeviceClient(&host)` before the
/// host goes. A rebuild ends with one tick of each overlay that is enabled or unlocked.
void registerOverlayRecovery(OverlayHost& host);

} // namespace vt
