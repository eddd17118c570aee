// The import window: what it lists, what is imported, how it stops.
#include "panel/import_window.h"
#include "panel_desk.h"
#include "support/eventually.h"

#include <chrono>
#include <filesystem>
#include <thread>
#include <unistd.h>

namespace vt {
namespace {

namespace fs = std::filesystem;

class ImportWindow : public test::PanelDesk {
protected:
    fs::path root;
    std::unique_ptr<PerfStore> store;

    void SetUp() override {
        PanelDesk::SetUp();
        root = fs::temp_directory_path() / ("vt_import_window_" + std::to_string(getpid()));
        fs::remove_all(root);
        fs::create_directories(root / "telemetry/older");
        store = std::make_unique<PerfStore>((root / "base").string());
    }
    void TearDown() override {
        store.reset();
        fs::remove_all(root);
        PanelDesk::TearDown();
    }
    std::string telemetry() const { return (root / "telemetry").string(); }
    static std::string textOf(const RowPage& page) {
        std::string text;
        for (const auto* items : {&page.body, &page.footer})
            for (const RowItem& item : *items)
                text += item.text + "\n";
        return text;
    }
    static bool shows(const ImportDesk& desk, const char* text) {
        return textOf(importPage(desk.view)).find(text) != std::string::npos;
    }
    /// The worker runs on real time.
    static void await(ImportDesk& desk) {
        EXPECT_TRUE(test::eventually([&] {
            if (desk.working()) desk.poll();
            return !desk.working();
        }));
    }
    bool real(fs::path& file) const {
        file = fs::path(VT_SOURCE_DIR) / "../shared/realdata/ibt/spielberg_6s.ibt";
        return fs::exists(file);
    }
};

TEST_F(ImportWindow, AnEmptyFolderSaysSoAndAnotherCanBeChosen) {
    ImportDesk desk(*store, "", 100);
    desk.scan(telemetry());
    await(desk);
    EXPECT_TRUE(shows(desk, "No telemetry found in this folder"));
    EXPECT_FALSE(shows(desk, "Import\n"));
    desk.press(kImportBrowse);
    EXPECT_TRUE(shows(desk, "older"));
    desk.press(kImportFolder);
    desk.press(kImportFolderUse);
    await(desk);
    EXPECT_EQ(desk.view.folder, telemetry() + "/older");
    desk.press(kImportBrowse);
    EXPECT_FALSE(desk.press(kImportClose)) << "back to the list, not out of the window";
    EXPECT_TRUE(desk.press(kImportClose));
}

TEST_F(ImportWindow, OpensListsAndImports) {
    fs::path file;
    if (!real(file)) GTEST_SKIP() << "no recording";
    fs::copy_file(file, root / "telemetry/a.ibt");
    fs::last_write_time(root / "telemetry/a.ibt",
                        fs::file_time_type::clock::now() - std::chrono::hours(5));
    drive([&] { showImportWindow(owner, *store, telemetry(), "", 100); },
          [&] {
              for (int i = 0; i < 100; ++i) { // the window polls on the hand-turned clock
                  turn(0.2);
                  std::this_thread::sleep_for(std::chrono::milliseconds(5));
              }
              picture("import_window");
              endDialog(0);
          });
    ImportDesk desk(*store, "", 100);
    desk.scan(telemetry());
    await(desk);
    ASSERT_EQ(desk.view.combos.size(), 1u);
    EXPECT_TRUE(shows(desk, "Car and track combos found (1)"));
    EXPECT_TRUE(shows(desk, "(1 files, "));
    desk.press(kImportCombo);
    EXPECT_TRUE(shows(desk, "Import\n"));
    desk.press(kImportStart);
    await(desk);
    EXPECT_EQ(desk.view.message, "Imported 0 lap(s) from 1 file(s). 1 stint(s) skipped (1 "
                                 "incomplete, 0 already recorded live). 0 session(s) replaced.");
}

} // namespace
} // namespace vt
