#include "overlay/drawing/drawing.h"
#include "sheets.h"
#include "support/picture_compare.h"

#include <cstdlib>

namespace vt::test {

namespace {

struct SheetKind {
    const char* name;
    BitmapRef (*draw)(float dpi);
    bool hasText;
};
constexpr SheetKind kSheets[] = {{"shapes", shapesSheet, false},
                                 {"layers", layersSheet, false},
                                 {"fonts", fontsSheet, true},
                                 {"text", textSheet, true},
                                 {"table", tableSheet, true}};

std::string reference(const char* name) {
    return std::string(VT_SOURCE_DIR) + "/tests/drawing/references/" + name + ".png";
}

class Sheets : public testing::Test {
protected:
    void SetUp() override { loadFonts(fontsFolder()); }
    void TearDown() override { drawingShutdown(); }
};

TEST_F(Sheets, WrittenToBeLookedAt) {
    const char* folder = std::getenv("VT_PICTURES");
    if (!folder) GTEST_SKIP() << "set VT_PICTURES to a folder to get the sheets";
    for (const SheetKind& kind : kSheets)
        for (const float dpi : {96.0f, 144.0f})
            EXPECT_TRUE(savePng(*kind.draw(dpi), std::string(folder) + "/" + kind.name + "_" +
                                                     std::to_string(static_cast<int>(dpi)) +
                                                     ".png"));
}

TEST_F(Sheets, ShapesAndLayersLookAsBefore) {
    EXPECT_TRUE(sameAsFile(*shapesSheet(96), reference("shapes"), "shapes"));
    EXPECT_TRUE(sameAsFile(*layersSheet(96), reference("layers"), "layers"));
}

TEST_F(Sheets, TextLooksAsBefore) {
    if (fontsFolder().empty()) GTEST_SKIP() << "no fonts/ folder: run tools/get_fonts";
    const Tolerance glyphs{24, 0.01};
    EXPECT_TRUE(sameAsFile(*tableSheet(144), reference("table"), "table", glyphs));
}

} // namespace

} // namespace vt::test
