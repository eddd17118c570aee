// Pictures and drawing. All pixels are BGRA, 8 bits, premultiplied, top row first; all colours that
// a caller gives are straight. Coordinates are design units: pixels times 96 / dpi of the target.
// Main thread only; a finished Bitmap's pixels may be copied by others.
#pragma once
#include "base/geometry.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

namespace vt {

/// Result of drawing or presenting. `code` is the 32-bit code that logs print.
enum class DrawStatus { ok, busy, lost, failed };
struct DrawResult {
    DrawStatus status = DrawStatus::ok;
    uint32_t code = 0;
    bool ok() const { return status == DrawStatus::ok; }
};
inline constexpr uint32_t kDrawStillBusy = 0x887A000A;  // the frame just did not go out
inline constexpr uint32_t kDrawDeviceLost = 0x887A0005; // the device went away
inline constexpr uint32_t kDrawFailed = 0x80004005;
inline constexpr uint32_t kDrawOutOfMemory = 0x8007000E;

/// True for the five codes that mean the device must be made anew.
bool isDeviceLost(uint32_t code);

// ---- the device ---------------------------------------------------------------------------------
// Losing it is rare and real (the display server went away). Tests lose it by hand.

int deviceGeneration(); // rises with every rebuild; any thread
bool deviceLost();      // any thread
void raiseDeviceLost(); // any thread; drawing fails with `lost` until the device is made anew
bool remakeDevice();    // main thread: clears the loss and raises the generation

// ---- bitmaps ------------------------------------------------------------------------------------

struct Bitmap;
using BitmapRef = std::shared_ptr<Bitmap>;

struct PixelView {
    const uint8_t* data = nullptr;
    int width = 0, height = 0, stride = 0; // pixels, pixels, bytes
};

/// Transparent. Null when a side is below 1 or above 16384, or memory is short.
BitmapRef createBitmap(int width, int height, float dpi = 96);
/// Over memory that the caller keeps alive (a shared segment, decoded rows).
BitmapRef wrapBitmap(uint8_t* pixels, int width, int height, int stride, float dpi,
                     std::shared_ptr<void> keepAlive);
BitmapRef copyBitmap(const Bitmap& source);
int bitmapWidth(const Bitmap& bitmap);
int bitmapHeight(const Bitmap& bitmap);
float bitmapDpi(const Bitmap& bitmap);
void setBitmapDpi(Bitmap& bitmap, float dpi);
/// Valid until the bitmap is drawn into or goes.
PixelView bitmapPixels(const Bitmap& bitmap);
/// For a writer of whole pixels; call `bitmapChanged` when done.
uint8_t* bitmapWritablePixels(Bitmap& bitmap);
void bitmapChanged(Bitmap& bitmap);
/// Gaussian blur; `sigma` in pixels.
BitmapRef blurBitmap(const Bitmap& source, float sigma);

// ---- brushes, strokes, paths
// ----------------------------------------------------------------------

struct Brush;
using BrushRef = std::shared_ptr<const Brush>;

struct GradientStop {
    float position = 0; // 0..1
    Color color;
};

BrushRef solidBrush(Color color);
BrushRef linearGradient(PointF from, PointF to, std::initializer_list<GradientStop> stops);
BrushRef radialGradient(PointF center, float radiusX, float radiusY,
                        std::initializer_list<GradientStop> stops);

enum class LineCap { flat, square, round };
enum class LineJoin { miter, bevel, round };
struct StrokeStyle {
    LineCap cap = LineCap::flat;
    LineJoin join = LineJoin::miter;
    std::vector<float> dashes; // on, off, ... in design units; empty = solid
    float dashOffset = 0;
};

struct Path;
using PathRef = std::shared_ptr<const Path>;

/// Builds an immutable path, which may be kept and drawn many times.
class PathBuilder {
public:
    PathBuilder();
    ~PathBuilder();
    PathBuilder(const PathBuilder&) = delete;
    PathBuilder& operator=(const PathBuilder&) = delete;
    PathBuilder& moveTo(float x, float y);
    PathBuilder& lineTo(float x, float y);
    PathBuilder& bezierTo(PointF control1, PointF control2, PointF to);
    /// Circle segment around `center`, angles in radians clockwise from +x, backwards when
    /// `toAngle` is the smaller one; draws a line to its start.
    PathBuilder& arc(PointF center, float radius, float fromAngle, float toAngle);
    PathBuilder& close();
    PathBuilder& rect(RectF r);
    PathBuilder& roundedRect(RectF r, float radius);
    PathRef build(bool evenOdd = false);

private:
    std::shared_ptr<Path> path_;
};

RectF pathBounds(const Path& path);

// ---- the drawing context
// --------------------------------------------------------------------------

struct Matrix {
    float xx = 1, yx = 0, xy = 0, yy = 1, dx = 0, dy = 0; // x' = xx*x + xy*y + dx
};
inline Matrix scaleMatrix(float s) {
    return {s, 0, 0, s, 0, 0};
}
inline Matrix translateMatrix(float x, float y) {
    return {1, 0, 0, 1, x, y};
}
/// First `a`, then `b`.
Matrix combine(const Matrix& a, const Matrix& b);

enum class Sampling { nearest, linear };

struct TextLayout;

/// Draws into one target between `begin` and `end`. Null brushes, paths and bitmaps are ignored.
/// Strokes are centred on the outline; everything is anti-aliased.
class Canvas {
public:
    Canvas();
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    bool begin(BitmapRef target);
    /// Ends the drawing and undoes clips and layers left open.
    DrawResult end();
    bool active() const;
    /// Size of the target in design units.
    RectF bounds() const;

    void clear(Color color);
    Matrix transform() const;
    void setTransform(const Matrix& matrix);

    void fillRect(RectF rect, const Brush* brush);
    void strokeRect(RectF rect, const Brush* brush, float width = 1,
                    const StrokeStyle* style = nullptr);
    void fillRoundedRect(RectF rect, float radius, const Brush* brush);
    void strokeRoundedRect(RectF rect, float radius, const Brush* brush, float width = 1,
                           const StrokeStyle* style = nullptr);
    void fillEllipse(PointF center, float radiusX, float radiusY, const Brush* brush);
    void strokeEllipse(PointF center, float radiusX, float radiusY, const Brush* brush,
                       float width = 1, const StrokeStyle* style = nullptr);
    void drawLine(PointF from, PointF to, const Brush* brush, float width = 1,
                  const StrokeStyle* style = nullptr);
    void fillPath(const Path* path, const Brush* brush);
    void strokePath(const Path* path, const Brush* brush, float width = 1,
                    const StrokeStyle* style = nullptr);

    void pushClip(RectF rect);
    void popClip();
    /// Everything up to `popLayer` is drawn apart, then masked by `mask` (null: no mask) and laid
    /// over the target at `opacity`.
    void pushLayer(PathRef mask, float opacity = 1);
    void popLayer();

    /// `source` is in the bitmap's own design units; null = all of it.
    void drawBitmap(const Bitmap* bitmap, RectF destination, const RectF* source = nullptr,
                    float opacity = 1, Sampling sampling = Sampling::linear);
    /// `origin` is the top left corner of the layout's box. `clip` cuts at the box.
    void drawLayout(const TextLayout& layout, PointF origin, const Brush* brush, bool clip = false);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace vt
