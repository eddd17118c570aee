#include "overlay/overlays/brands.h"

#include "base/utf8.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "platform/picture_file.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace vt {

namespace {

struct Brand {
    const char* key; // beginning of the name, lower case
    const char* mark;
    Color colour;
};

constexpr std::array<Brand, 27> kBrands = {{
    {"ferrari", "FER", {1, 0.275f, 0.333f}},
    {"mclaren", "MCL", {1, 0.529f, 0}},
    {"bmw", "BMW", {0.302f, 0.624f, 0.91f}},
    {"mercedes", "MER", {0.208f, 0.769f, 0.737f}},
    {"porsche", "POR", {0.89f, 0.702f, 0.306f}},
    {"audi", "AUD", {1, 0.302f, 0.431f}},
    {"lamborghini", "LAM", {0.549f, 0.851f, 0.235f}},
    {"aston", "AMR", {0.247f, 0.749f, 0.435f}},
    {"chevrolet", "CHE", {0.961f, 0.824f, 0.29f}},
    {"corvette", "COR", {0.961f, 0.824f, 0.29f}},
    {"ford", "FOR", {0.357f, 0.553f, 0.937f}},
    {"toyota", "TOY", {1, 0.353f, 0.353f}},
    {"cadillac", "CAD", {0.851f, 0.714f, 0.361f}},
    {"acura", "ACU", {0.839f, 0.859f, 0.894f}},
    {"alpine", "ALP", {0.184f, 0.608f, 1}},
    {"peugeot", "PEU", {0.69f, 0.851f, 0.282f}},
    {"honda", "HON", {0.941f, 0.337f, 0.298f}},
    {"hyundai", "HYU", {0.361f, 0.784f, 0.961f}},
    {"nissan", "NIS", {1, 0.302f, 0.439f}},
    {"mazda", "MAZ", {0.91f, 0.376f, 0.498f}},
    {"lotus", "LOT", {0.267f, 0.816f, 0.482f}},
    {"renault", "REN", {1, 0.847f, 0.302f}},
    {"dallara", "DAL", {0.941f, 0.376f, 0.235f}},
    {"ligier", "LIG", {0.498f, 0.698f, 0.941f}},
    {"oreca", "ORE", {1, 0.541f, 0.235f}},
    {"radical", "RAD", {1, 0.322f, 0.322f}},
    {"subaru", "SUB", {0.435f, 0.627f, 0.941f}},
}};

struct Logo {
    std::string name; // lower case, without extension
    std::string path;
    bool tried = false;
    BitmapRef bitmap;
};

struct LogoShelf {
    bool listed = false;
    std::vector<Logo> logos;
};

LogoShelf shelf; // main thread

constexpr int kLogoMaxSide = 1024;

} // namespace

BrandMark brandMark(std::string_view carBrand) {
    BrandMark mark;
    if (carBrand.empty()) return mark;
    for (const Brand& brand : kBrands) {
        if (!startsWithNoCase(carBrand, brand.key)) continue;
        copyText(mark.text, brand.mark);
        mark.colour = brand.colour;
        return mark;
    }
    copyText(mark.text, asciiUpper(carBrand.substr(0, utf8Prefix(carBrand, 3))));
    return mark;
}

void loadBrandLogos(const std::string& folder) {
    shelf = {.listed = true, .logos = {}};
    if (folder.empty()) return;
    for (const FolderEntry& entry : listFolder(folder)) {
        if (entry.isFolder || entry.name.size() <= 4) continue;
        const std::string stem = asciiLower(entry.name.substr(0, entry.name.size() - 4));
        shelf.logos.push_back({stem, joinPath(folder, entry.name), false, nullptr});
    }
}

const Bitmap* brandLogo(std::string_view carBrand) {
    if (carBrand.empty()) return nullptr;
    if (!shelf.listed) {
        const std::string data = shippedFolder("data");
        loadBrandLogos(data.empty() ? data : joinPath(data, "brandicons/flat"));
    }
    const auto logo = std::find_if(shelf.logos.begin(), shelf.logos.end(), [&](const Logo& l) {
        return startsWithNoCase(carBrand, l.name);
    });
    if (logo == shelf.logos.end()) return nullptr;
    if (!logo->tried) logo->bitmap = loadPicture(logo->path, kLogoMaxSide);
    logo->tried = true;
    return logo->bitmap.get();
}

} // namespace vt
