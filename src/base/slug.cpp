#include "base/slug.h"

namespace vt {

std::string nameSlug(std::string_view name) {
    std::string slug;
    for (const char c : name) {
        if (c == ' ')
            slug += '_';
        else if (c == '_' || c == '-' || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
            slug += c;
        else if (c >= 'A' && c <= 'Z')
            slug += static_cast<char>(c - 'A' + 'a');
    }
    return slug.empty() ? "unknown" : slug;
}

} // namespace vt
