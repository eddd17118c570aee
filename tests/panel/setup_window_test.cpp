#include "panel/setup_window.h"
#include "panel_desk.h"
#include "telemetry/setup/ea_wrc_setup.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace vt {
namespace {

namespace fs = std::filesystem;

class SetupWindow : public test::PanelDesk {
protected:
    fs::path root;
    SetupPlaces places;

    void SetUp() override {
        PanelDesk::SetUp();
        root = fs::temp_directory_path() / ("vt_panel_" + std::to_string(getpid()));
        fs::remove_all(root);
        places.documents = (root / "Documents").string();
        places.packetTemplate = "/opt/vantorel/data/vantorel2.json";
        places.lister = [](std::vector<std::string>& names) {
            names = {"bash"};
            return true;
        };
    }
    void TearDown() override {
        fs::remove_all(root);
        PanelDesk::TearDown();
    }

    static void put(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        ASSERT_TRUE(writeFileAtomic(path.string(), text));
    }
    fs::path wrc() const { return root / "Documents/My Games/WRC/telemetry"; }
    fs::path dr2(const std::string& suffix) const {
        return root / "Documents/My Games/DiRT Rally 2.0/hardwaresettings" /
               ("hardware_settings_config" + suffix + ".xml");
    }
    void run(SetupSim sim, bool noTelemetry, std::function<void()> script) {
        drive([&] { showSetupWindow(sim, owner, noTelemetry, places); }, std::move(script));
    }
    /// Where a button of the page stands that the files give now.
    PointI at(SetupSim sim, bool noTelemetry, int id) const {
        return middleOf(setupPage(setupView(sim, noTelemetry, places)), id);
    }
    static std::string textOf(const RowPage& page) {
        std::string text;
        for (const auto* items : {&page.body, &page.footer})
            for (const RowItem& item : *items)
                text += item.tag + "|" + item.text + "|" + item.value + "\n";
        return text;
    }
};

TEST_F(SetupWindow, TellsAndCloses) {
    run(SetupSim::f1, true, [&] {
        EXPECT_EQ(headlessTitle(currentDialog()), "Vantorel - F1 setup");
        picture("setup_f1");
        click(at(SetupSim::f1, true, kSetupGotIt));
    });
    run(SetupSim::f1, false, [&] { key(kKeyEnter); });
    run(SetupSim::beamNg, false, [&] {
        EXPECT_EQ(headlessTitle(currentDialog()), "Vantorel - BeamNG.drive setup");
        picture("setup_beamng");
        key(kKeyEscape);
    });
}

TEST_F(SetupWindow, EaSportsWrcIsSetUpByItsButton) {
    put(wrc() / "config.json",
        R"({"udp":{"packets":[{"structure":"wrc","packet":"session_update"}]}})");
    fs::create_directories(wrc() / "udp");
    run(SetupSim::eaWrc, true, [&] {
        EXPECT_EQ(headlessTitle(currentDialog()), "Vantorel - EA Sports WRC setup");
        picture("setup_wrc");
        click(at(SetupSim::eaWrc, true, kSetupSteps));
        picture("setup_wrc_steps");
        key(kKeyEnter); // no button has the keyboard's focus: nothing happens by accident
        EXPECT_FALSE(fs::exists(wrc() / "udp/vantorel2.json"));
        click(at(SetupSim::eaWrc, true, kSetupRun));
        picture("setup_wrc_report");
        key(kKeyEscape);
    });
    EaWrcStatus status;
    EXPECT_TRUE(eaWrcCheck(places.documents, status));
    EXPECT_TRUE(eaWrcReady(status));
    EXPECT_EQ(status.otherReceivers, 1);
}

TEST_F(SetupWindow, EaSportsWrcShowsTheStepsBelowAFailure) {
    put(wrc() / "config.json", "{ broken");
    fs::create_directories(wrc() / "udp");
    SetupView view = setupView(SetupSim::eaWrc, true, places);
    EXPECT_EQ(textOf(setupPage(view)).find("|EA Sports WRC is running but no telemetry"), 0u);
    EXPECT_FALSE(setupPress(view, kSetupRun));
    const std::string text = textOf(setupPage(view));
    EXPECT_EQ(text.find("is running but no telemetry"), std::string::npos);
    EXPECT_NE(text.find("could not be read as valid JSON"), std::string::npos);
    EXPECT_NE(text.find("Doing it by hand"), std::string::npos);
    EXPECT_NE(text.find(places.packetTemplate), std::string::npos);
    EXPECT_FALSE(setupPress(view, kSetupSteps));
    EXPECT_NE(textOf(setupPage(view)).find("|Back|"), std::string::npos);
    EXPECT_TRUE(setupPress(view, kSetupGotIt));
    run(SetupSim::eaWrc, false, [&] {
        click(at(SetupSim::eaWrc, false, kSetupRun));
        picture("setup_wrc_failed");
        headlessWheel(-100);
        picture("setup_wrc_failed_scrolled");
        key(kKeyEscape);
    });
}

TEST_F(SetupWindow, DirtRallyFixesEachFile) {
    const std::string off = "<a><motion_platform><udp enabled=\"false\" /></motion_platform></a>";
    put(dr2(""), off);
    EXPECT_EQ(textOf(setupPage(setupView(SetupSim::dirtRally2, true, places)))
                  .find("|DiRT Rally 2.0 is running but no telemetry has reached Vantorel.|\n"),
              0u);
    run(SetupSim::dirtRally2, true, [&] {
        EXPECT_EQ(headlessTitle(currentDialog()), "Vantorel - DiRT Rally 2.0 setup");
        picture("setup_dr2_one");
        click(at(SetupSim::dirtRally2, true, kSetupFixNormal));
        picture("setup_dr2_one_fixed");
        key(kKeyEscape);
    });
    put(dr2("_vr"), off);
    SetupView view = setupView(SetupSim::dirtRally2, false, places);
    EXPECT_EQ(view.files.normal, Dr2FileState::ready);
    std::string text = textOf(setupPage(view));
    EXPECT_EQ(text.find("Fix the normal file"), std::string::npos);
    EXPECT_NE(text.find("OK|Normal:|Ready. Nothing to change in this file."), std::string::npos);
    EXPECT_NE(text.find("FIX|VR:|Telemetry is switched off in this file."), std::string::npos);
    EXPECT_EQ(text.find("There is no VR settings file"), std::string::npos);
    put(dr2(""), "<a/>");
    run(SetupSim::dirtRally2, true, [&] {
        picture("setup_dr2_two");
        click(at(SetupSim::dirtRally2, true, kSetupFixNormal)); // has no section for the line
        picture("setup_dr2_two_failed");
        key(kKeyEscape);
    });
    view = setupView(SetupSim::dirtRally2, true, places);
    EXPECT_FALSE(setupPress(view, kSetupFixVr));
    EXPECT_TRUE(view.done);
    EXPECT_EQ(view.files.vr, Dr2FileState::ready);
    EXPECT_FALSE(setupPress(view, kSetupFixNormal));
    EXPECT_FALSE(view.done);
    places.documents.clear();
    text = textOf(setupPage(setupView(SetupSim::dirtRally2, false, places)));
    EXPECT_NE(text.find("it cannot show or check the files"), std::string::npos);
    EXPECT_EQ(text.find("FIX"), std::string::npos);
    run(SetupSim::dirtRally2, false, [&] {
        picture("setup_dr2_no_documents");
        key(kKeyEscape);
    });
}

TEST_F(SetupWindow, FitsASmallScreenAndALargeScale) {
    fs::create_directories(wrc());
    for (const auto& [dpi, name] : {std::pair{144.0f, "setup_wrc_144"}, {96.0f, "setup_wrc_96"}}) {
        screenOf(dpi, 1366, 768);
        run(SetupSim::eaWrc, true, [&, name = name] {
            const RectI rect = windowRect(currentDialog());
            EXPECT_LE(rect.height(), 728);
            picture(name);
            key(kKeyEnd);
            picture(std::string(name) + "_end");
            key(kKeyHome);
            key(kKeyEscape);
        });
    }
}

} // namespace
} // namespace vt
