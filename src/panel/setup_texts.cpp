#include "panel/setup_texts.h"

#include "base/translate.h"
#include "panel/text_lines.h"
#include "telemetry/setup/ea_wrc_setup.h"

namespace vt {

const char* setupWarning(SetupSim sim, bool twoFiles) {
    switch (sim) {
    case SetupSim::f1:
        return Translate("F1 is running but no telemetry has reached Vantorel. One of these "
                         "settings is usually the reason.");
    case SetupSim::dirtRally2:
        if (twoFiles)
            return Translate("DiRT Rally 2.0 is running but no telemetry has reached Vantorel. "
                             "Setting up only one of the two files below is the usual reason.");
        return Translate("DiRT Rally 2.0 is running but no telemetry has reached Vantorel.");
    case SetupSim::eaWrc:
        return Translate("EA Sports WRC is running but no telemetry has reached Vantorel. Either "
                         "the setup below has not been done, or a game update has undone it.");
    case SetupSim::beamNg:
        break;
    }
    return "";
}

const char* f1Text() {
    return Translate("F1 needs no mod. It does need telemetry switched on in the game, which is "
                     "off by default.\n"
                     "\n"
                     "In F1, open Settings > Telemetry Settings and set:\n"
                     "  1.  UDP Telemetry            On\n"
                     "  2.  UDP Format               2025\n"
                     "  3.  UDP Send Rate            60 Hz\n"
                     "  4.  UDP IP Address           127.0.0.1\n"
                     "  5.  UDP Port                 20777\n"
                     "  6.  Show player names        On\n"
                     "\n"
                     "Then leave the session and re-enter it, or restart the game.\n"
                     "\n"
                     "Send Rate matters most. The game defaults to 20 Hz, which is far too coarse "
                     "for haptics: everything still works, it just feels mushy. 60 Hz is the "
                     "setting that makes it feel right.\n"
                     "\n"
                     "Playing on a console? Leave everything else the same and set the IP address "
                     "to this PC's address on your network instead of 127.0.0.1.");
}

const char* beamNgText() {
    return Translate("Vantorel drives BeamNG.drive through a small mod, which it installs into "
                     "your BeamNG mods folder for you.\n"
                     "\n"
                     "Setup:\n"
                     "  1.  Close BeamNG.drive so Vantorel can copy the mod in.\n"
                     "  2.  In BeamNG, enable Options > Other > \"Other protocols\".\n"
                     "  3.  Restart BeamNG, then telemetry streams automatically.\n"
                     "\n"
                     "After every BeamNG update you must re-accept mods: open Mods, click \"I "
                     "accept the risks\", then restart BeamNG. This reminder reappears whenever a "
                     "new BeamNG version is detected.");
}

const char* dr2Heading(bool twoFiles) {
    if (twoFiles)
        return Translate(
            "DiRT Rally 2.0 needs no mod. It does need one line switched on in its settings file, "
            "and it will not send anything until you restart the game afterwards. This PC has a VR "
            "settings file as well as the normal one, and the game reads whichever matches the way "
            "you launched it, so both need the line. A game update resets them, so you may need "
            "this window again after one.");
    return Translate(
        "DiRT Rally 2.0 needs no mod. It does need one line switched on in its settings file, and "
        "it will not send anything until you restart the game afterwards. A game update resets it, "
        "so you may need this window again after one.");
}

const char* dr2NoVr() {
    return Translate("There is no VR settings file on this PC, so there is nothing to set up for "
                     "VR. DiRT Rally 2.0 creates one the first time you launch it in a headset. If "
                     "you ever do, open this window again and it will be listed here.");
}

std::string wrcText() {
    std::string text =
        Translate("EA Sports WRC needs no mod. It does need to be told where to send its "
                  "telemetry, which is a file on this PC.\n"
                  "\n"
                  "Launch EA Sports WRC once before setting this up. The telemetry folder does not "
                  "exist until the game has run, and Vantorel will not create it: the game has to, "
                  "or the settings land somewhere the game never reads.\n"
                  "\n"
                  "Press Set it up for me and Vantorel will:\n"
                  "  1.  Add a packet file that only Vantorel uses, at\n"
                  "      Documents\\My Games\\WRC\\telemetry\\udp\\");
    text += kEaWrcPacketFile;
    text += Translate(
        "\n"
        "  2.  Add one entry to that folder's config.json.\n"
        "\n"
        "Your other telemetry tools keep working. WRC supports several at once, so SimHub, SIM "
        "Dashboard, DR Sim Manager and Simucube Tuner are left exactly as they are, and "
        "config.json is backed up first.\n"
        "\n"
        "Restart EA Sports WRC afterwards. It reads both files when it starts.\n"
        "\n"
        "Playing on a console? Not supported: WRC's telemetry settings live in a file on the PC.");
    return text;
}

std::string wrcSteps(const std::string& documents, const std::string& packetTemplate) {
    const std::string folder = documents + "/My Games/WRC/telemetry";
    const std::string own = packetTemplate.empty() ? kEaWrcPacketFile : packetTemplate;
    std::string text = Translate("Doing it by hand, if the button will not work:\n");
    text += fillText(Translate("\n  1.  Copy this file from the program's folder:\n      %s\n      "
                               "into this one:\n      %s\n  2.  Open this file in a text editor:\n "
                               "     %s\n  3.  Add this entry to the \"packets\" list of its "
                               "\"udp\" section, with a comma between it and its neighbours:\n"),
                     {own, folder + "/udp/", folder + "/config.json"});
    text += "      { \"structure\": \"vantorel2\", \"packet\": \"session_update\", \"ip\": "
            "\"127.0.0.1\", \"port\": 20791, \"frequencyHz\": -1, \"bEnabled\": true }";
    text += Translate("\n  4.  Save it and restart EA Sports WRC.\n\n");
    text += Translate("Never put these settings into custom1.json: that file ships with the game "
                      "for you to edit and another tool may already be using it.");
    return text;
}

} // namespace vt
