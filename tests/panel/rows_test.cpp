#include "panel/row_parts.h"
#include "platform/text.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

RowItem item(RowKind kind, const std::string& text, int id = 0) {
    RowItem row;
    row.kind = kind;
    row.text = text;
    row.id = id;
    return row;
}

/// A page of every kind, with a text that needs many lines.
RowPage longPage() {
    RowPage page;
    std::string text;
    for (int i = 0; i < 60; ++i)
        text += "A sentence that goes on for a while. ";
    page.body = {item(RowKind::heading, "A heading"),
                 item(RowKind::warning, text),
                 item(RowKind::text, text + "\n\n  1.  " + text + "\n      below\n  2.  a    b"),
                 item(RowKind::code, "/a/path/without/a/blank/" + std::string(200, 'x')),
                 item(RowKind::tagged, "Label:"),
                 item(RowKind::checkBox, text, 1),
                 item(RowKind::button, "First", 2),
                 item(RowKind::button, "Beside", 3),
                 item(RowKind::gauge, "Reading"),
                 item(RowKind::large, "720")};
    page.body[4].value = text;
    page.body[7].beside = true;
    page.footer = {item(RowKind::button, "Save", 4), item(RowKind::button, "Cancel", 5)};
    page.footer[1].beside = true;
    return page;
}

TEST(TextLines, StepsColumnsAndParagraphs) {
    const std::vector<TextLine> lines =
        textLines("Plain.\n\n  1.  Name            On\n      deeper\n  12. Two\n1. no step");
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0].text, "Plain.");
    EXPECT_FALSE(lines[0].setIn);
    EXPECT_TRUE(lines[1].empty());
    EXPECT_EQ(lines[2].marker, "1.");
    EXPECT_EQ(lines[2].text, "Name");
    EXPECT_EQ(lines[2].value, "On");
    EXPECT_TRUE(lines[3].deeper);
    EXPECT_EQ(lines[3].text, "deeper");
    EXPECT_EQ(lines[4].marker, "12.");
    EXPECT_EQ(lines[4].text, "Two");
    EXPECT_EQ(lines[5].marker, "");
    EXPECT_EQ(fillText("%s: %d%% of %u, %x %s %", {"a", "1", "2"}), "a: 1% of 2, %x  %");
}

TEST(RowPlan, NothingOverlapsOrLeavesTheWindow) {
    const RowPage page = longPage();
    for (const float width : {380.0f, 620.0f, 1200.0f}) {
        const float height = 400;
        const RowPlan plan = planRows(page, width, height);
        ASSERT_EQ(plan.places.size(), page.body.size() + page.footer.size());
        for (size_t i = 0; i < plan.places.size(); ++i) {
            const RowPlace& a = plan.places[i];
            EXPECT_GE(a.rect.left, kRowMargin);
            EXPECT_LE(a.rect.right, width - kRowMargin + 0.5f);
            EXPECT_GT(a.rect.height(), 0) << i;
            EXPECT_LE(a.rect.bottom, a.fixed ? height : plan.above);
            EXPECT_TRUE(!a.fixed || a.rect.top >= plan.view.bottom);
            for (size_t k = 0; k < i; ++k) {
                const RowPlace& b = plan.places[k];
                if (a.fixed != b.fixed) continue;
                EXPECT_TRUE(a.rect.top >= b.rect.bottom || a.rect.left >= b.rect.right)
                    << i << " over " << k;
            }
        }
        EXPECT_GT(plan.furthest(), 0);
        const RowPlan whole = planRows(page, width, wantedHeight(page, width));
        EXPECT_EQ(whole.furthest(), 0) << "as high as wanted, nothing scrolls";
    }
}

TEST(RowState, APressCountsWhereItBegan) {
    const RowPage page = longPage();
    const RowPlan plan = planRows(page, 620, 400);
    RowState state;
    const auto pointer = [&](EventKind kind, PointF at) {
        WindowEvent event;
        event.kind = kind;
        return rowPointer(state, plan, event, at.x, at.y);
    };
    const RectF save = plan.places[10].rect, cancel = plan.places[11].rect;
    const PointF onSave{save.centerX(), save.centerY()}, onCancel{cancel.centerX(), save.centerY()};
    pointer(EventKind::mouseDown, onSave);
    EXPECT_EQ(state.focus, 4);
    EXPECT_EQ(pointer(EventKind::mouseUp, onCancel).kind, RowAction::Kind::none);
    pointer(EventKind::mouseDown, onSave);
    EXPECT_EQ(pointer(EventKind::captureLost, onSave).kind, RowAction::Kind::none);
    EXPECT_EQ(pointer(EventKind::mouseUp, onSave).kind, RowAction::Kind::none);
    pointer(EventKind::mouseDown, onCancel);
    const RowAction action = pointer(EventKind::mouseUp, onCancel);
    EXPECT_EQ(action.kind, RowAction::Kind::press);
    EXPECT_EQ(action.id, 5);
    // The check box lies far below the view: it is reached by scrolling, not through the footer.
    const RectF box = plan.places[5].rect;
    ASSERT_GT(box.top, 400);
    state.scroll = box.top - save.centerY() + 5;
    pointer(EventKind::mouseMove, {box.left + 5, save.centerY()});
    EXPECT_NE(state.hover, 1);
    state.scroll = box.top - 100;
    pointer(EventKind::mouseMove, {box.left + 5, 105});
    EXPECT_EQ(state.hover, 1);
}

TEST(RowState, TabScrollsToWhatItReaches) {
    const RowPage page = longPage();
    const RowPlan plan = planRows(page, 620, 400);
    RowState state;
    const auto tab = [&](bool back) {
        WindowEvent event;
        event.kind = EventKind::keyDown;
        event.key = kKeyTab;
        event.modifiers = back ? kModShift : 0u;
        bool taken = false;
        rowKey(state, plan, event, taken);
        EXPECT_TRUE(taken);
        return state.focus;
    };
    for (const int id : {1, 2, 3, 4, 5, 1})
        EXPECT_EQ(tab(false), id);
    const RectF box = plan.places[5].rect;
    EXPECT_TRUE(box.top >= state.scroll || box.bottom <= state.scroll + plan.view.height());
    EXPECT_GT(state.scroll, 0);
    EXPECT_EQ(tab(true), 5);
    EXPECT_EQ(tab(true), 4);
}

} // namespace
} // namespace vt
