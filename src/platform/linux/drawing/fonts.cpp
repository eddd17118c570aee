#include "platform/linux/drawing/fonts.h"

#include "base/log.h"
#include "base/utf8.h"
#include "platform/file.h"
#include "platform/linux/drawing/shapes.h"
#include "platform/paths.h"
#include "platform/text.h"

#include <cairo-ft.h>
#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-font.h>
#include <pango/pangofc-fontmap.h>

#include <string>
#include <unordered_map>

namespace vt {

namespace {

constexpr int kMaxFolderDepth = 8;

struct Fonts {
    FcConfig* config = nullptr;
    PangoFontMap* map = nullptr;
    bool japanese = false;
    std::unordered_map<std::string, std::string> substitutes; // of families asked for
};
Fonts fonts;

bool isFontFile(std::string_view name) {
    const std::string lower = asciiLower(name);
    return lower.ends_with(".ttf") || lower.ends_with(".otf");
}

int applicationFonts() {
    const FcFontSet* set = FcConfigGetFonts(fonts.config, FcSetApplication);
    return set ? set->nfont : 0;
}

bool addFont(const std::string& path, uint64_t size) {
    if (size == 0) {
        logStatus("[fonts] %s skipped: it is empty\n", path.c_str());
        return false;
    }
    // Read from its path, never whole into memory, so that its size does not matter.
    const int before = applicationFonts();
    FcConfigAppFontAddFile(fonts.config, reinterpret_cast<const FcChar8*>(path.c_str()));
    if (applicationFonts() > before) return true;
    logStatus("[fonts] %s skipped: not a font\n", path.c_str());
    return false;
}

int addFolder(const std::string& folder, int depth) {
    int taken = 0;
    for (const FolderEntry& entry : listFolder(folder)) {
        if (entry.name.starts_with('.')) continue;
        const std::string path = joinPath(folder, entry.name);
        if (entry.isFolder) {
            if (depth < kMaxFolderDepth) taken += addFolder(path, depth + 1);
        } else if (isFontFile(entry.name)) {
            taken += addFont(path, entry.size) ? 1 : 0;
        }
    }
    return taken;
}

void openFonts(const std::string& folder, int* taken) {
    unloadFonts();
    fonts.config = FcInitLoadConfigAndFonts();
    if (!fonts.config) fonts.config = FcConfigCreate();
    *taken = folder.empty() ? 0 : addFolder(folder, 0);
    if (*taken == 0 && !folder.empty())
        logStatus("[fonts] no fonts in %s, the system's are used\n", folder.c_str());
    fonts.map = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
    pango_cairo_font_map_set_resolution(PANGO_CAIRO_FONT_MAP(fonts.map), 96);
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(fonts.map), fonts.config);
    fonts.japanese = *taken > 0 && fontFamilyKnown("Noto Sans JP");
}

/// The family that the system takes for one it does not have. The shipped fonts are no candidates:
/// they stand for themselves only.
std::string systemSubstitute(const std::string& family) {
    FcFontSet* system = FcConfigGetFonts(fonts.config, FcSetSystem);
    if (!system) return family;
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    FcConfigSubstitute(fonts.config, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontSetMatch(fonts.config, &system, 1, pattern, &result);
    FcChar8* name = nullptr;
    std::string substitute = family;
    if (match && FcPatternGetString(match, FC_FAMILY, 0, &name) == FcResultMatch)
        substitute = reinterpret_cast<const char*>(name);
    if (match) FcPatternDestroy(match);
    FcPatternDestroy(pattern);
    return substitute;
}

} // namespace

const std::string& presentFamily(const std::string& family) {
    programFontMap();
    const auto found = fonts.substitutes.find(family);
    if (found != fonts.substitutes.end()) return found->second;
    std::string name = fontFamilyKnown(family) ? family : systemSubstitute(family);
    return fonts.substitutes.emplace(family, std::move(name)).first->second;
}

int loadFonts(const std::string& folder) {
    int taken = 0;
    openFonts(folder, &taken);
    return taken;
}

void unloadFonts() {
    dropShapes();
    // Layouts that are still about hold references of their own.
    if (fonts.map) g_object_unref(fonts.map);
    if (fonts.config) FcConfigDestroy(fonts.config);
    fonts = {};
}

PangoFontMap* programFontMap() {
    if (!fonts.map) loadFonts({});
    return fonts.map;
}

bool japaneseFontShipped() {
    return fonts.japanese;
}

bool fontFamilyKnown(std::string_view family) {
    if (!fonts.config) loadFonts({});
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY,
                       reinterpret_cast<const FcChar8*>(std::string(family).c_str()));
    FcObjectSet* wanted = FcObjectSetBuild(FC_FILE, nullptr);
    FcFontSet* found = FcFontList(fonts.config, pattern, wanted);
    const bool known = found && found->nfont > 0;
    if (found) FcFontSetDestroy(found);
    FcObjectSetDestroy(wanted);
    FcPatternDestroy(pattern);
    return known;
}

std::string fontFileFor(std::string_view family, int weight) {
    PangoContext* context = pango_font_map_create_context(programFontMap());
    PangoFontDescription* description = pango_font_description_new();
    pango_font_description_set_family(description, presentFamily(std::string(family)).c_str());
    pango_font_description_set_weight(description, static_cast<PangoWeight>(weight));
    pango_font_description_set_absolute_size(description, 12 * PANGO_SCALE);
    std::string name;
    if (PangoFont* font = pango_context_load_font(context, description)) {
        FcPattern* pattern = pango_fc_font_get_pattern(PANGO_FC_FONT(font));
        FcChar8* file = nullptr;
        if (pattern && FcPatternGetString(pattern, FC_FILE, 0, &file) == FcResultMatch) {
            name = reinterpret_cast<const char*>(file);
            name.erase(0, name.find_last_of('/') + 1);
        }
        g_object_unref(font);
    }
    pango_font_description_free(description);
    g_object_unref(context);
    return name;
}

} // namespace vt
