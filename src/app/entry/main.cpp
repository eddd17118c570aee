#include "app/driver.h"
#include "import/import_command.h"
#include "platform/paths.h"

#include <cstdio>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    vt::ImportCommand import;
    if (vt::parseImportCommand(words, import))
        return vt::runImportCommand(import, vt::appDataFolder(), vt::shippedFolder("data"));
    const vt::CommandLine line = vt::parseCommandLine(words);
    if (line.help) {
        std::fputs(vt::commandLineHelp().c_str(), stdout);
        return 0;
    }
    return vt::runProgram(line);
}
