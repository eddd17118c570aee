// What Relative and Standings are as overlay windows: the same life around different rows.
#pragma once
#include "base/hash.h"
#include "overlay/overlays/list_paint.h"
#include "overlay/overlays/list_view.h"
#include "overlay/window/overlay_window.h"

namespace vt {

class ListOverlay : public OverlayWindow {
public:
    ListOverlay(OverlayHost& host, int slot, ListKind kind);

    bool supportsStrips() const override { return true; }
    bool supportsFieldOptions() const override { return true; }
    void prepareFrame(const SimFrame* newFrame) override;
    void draw(Canvas& target, RectF rect) override;
    void discardDeviceResources() override;
    bool rebuildDeviceResources() override;

    const ListView& view() const { return view_; } // of the last picture
    TextShelf& shelf() { return shelf_; }

protected:
    const ListKind kind_;
    ListView view_;
    TextShelf shelf_;
    StampShelf stamps_;
    /// Of the last live frame: a window keeps its shape while there is none.
    ColumnScene lastScene_;
    uint64_t lastFrameHash_ = 0; // what the window's size was last worked out from

    ListSource source() const;
    ColumnScene currentScene(int style);
    /// Gives the window the size that the frame asks for, unless this is a preview.
    void followSize(int width, int height);

    /// Fills `view_` and returns the height that its rows have at scale 1.
    virtual float buildView() = 0;
};

/// Mixes everything of a frame that a list may show; intervals with that many decimals.
void hashListFrame(Fnv64& hash, const SimFrame& frame, const PitLapTable& pits, int decimals);
void hashColumns(Fnv64& hash, const ColumnList& list);

/// Rows of the settings page for the columns and their options.
void addColumnRows(const PageBuilder& page, ColumnList& list, const ColumnScene& scene);

} // namespace vt
