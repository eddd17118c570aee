// Driver names in the room that there is. Cuts fall between characters, never inside one.
#include "base/format.h"
#include "base/utf8.h"
#include "race/relative_model.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

size_t put(std::string_view text, char* out, size_t capacity) {
    if (capacity == 0) return 0;
    const size_t length = utf8CutLength(text, capacity - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
    return length;
}

std::string_view lastWord(std::string_view name) {
    const size_t blank = name.rfind(' ');
    return blank == std::string_view::npos || blank + 1 == name.size() ? name
                                                                       : name.substr(blank + 1);
}

size_t initialAndRest(std::string_view name, char* out, size_t capacity) {
    const size_t blank = name.find(' ');
    if (blank == std::string_view::npos || blank + 1 == name.size())
        return put(name, out, capacity);
    char text[160];
    const std::string_view initial = name.substr(0, utf8Prefix(name, 1));
    const std::string_view rest = name.substr(blank + 1).substr(0, sizeof text - 8);
    const int length = formatText(text, sizeof text, "%.*s. %.*s", static_cast<int>(initial.size()),
                                  initial.data(), static_cast<int>(rest.size()), rest.data());
    return put({text, static_cast<size_t>(length)}, out, capacity);
}

} // namespace

size_t formatDriverName(std::string_view name, int nameMode, char* out, size_t capacity) {
    switch (nameMode) {
    case 1:
        return initialAndRest(name, out, capacity);
    case 2:
        return put(lastWord(name), out, capacity);
    case 3: {
        const std::string_view word = lastWord(name);
        const size_t length = put(word.substr(0, utf8Prefix(word, 3)), out, capacity);
        std::transform(out, out + length, out, [](char c) { return asciiUpper(c); });
        return length;
    }
    case 4: {
        const size_t blank = name.find(' ');
        return put(blank == std::string_view::npos || blank == 0 ? name : name.substr(0, blank),
                   out, capacity);
    }
    default:
        return put(name, out, capacity);
    }
}

size_t shortDriverName(std::string_view name, int mode, char (&out)[16]) {
    const size_t blank = name.find(' ');
    if (blank == std::string_view::npos || blank + 1 == name.size())
        return put(name, out, sizeof out);
    if (mode == 1) return put(name.substr(0, blank), out, sizeof out);
    if (mode == 2) return put(name.substr(blank + 1), out, sizeof out);
    return put(name, out, sizeof out);
}

} // namespace vt
