#include "streaming/browser_request.h"

#include "base/utf8.h"
#include "overlay/settings/slots.h"

#include <algorithm>

namespace vt {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = asciiLower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string percentDecoded(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
        if (low >= 0) {
            out += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            out += text[i] == '+' ? ' ' : text[i];
        }
    }
    return out;
}

bool allDigits(std::string_view text, const char* digits) {
    return !text.empty() && text.find_first_not_of(digits) == std::string_view::npos;
}

bool dottedQuad(std::string_view name) {
    for (int part = 0; part < 4; ++part) {
        const size_t end = part < 3 ? name.find('.') : name.size();
        if (end == std::string_view::npos || end > 3) return false;
        if (!allDigits(name.substr(0, end), "0123456789")) return false;
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return true;
}

/// A page of ours, or no page at all: a browser names the page's site whenever one site's script
/// asks another.
bool originIsOurs(const BrowserRequest& request) {
    constexpr std::string_view kScheme = "http://";
    return !request.hasOrigin ||
           (startsWithNoCase(request.origin, kScheme) &&
            equalsNoCase(request.origin.substr(kScheme.size()), request.host));
}

BrowserAnswer refused(int code) {
    BrowserAnswer answer;
    answer.code = code;
    return answer;
}

/// What the path names; code 404 when it is nothing.
BrowserAnswer resourceOf(std::string_view target) {
    constexpr std::string_view kOverlay = "/overlay/";
    const std::string_view path = target.substr(0, target.find_first_of("?#"));
    std::string key;
    BrowserAnswer answer;
    if (path == "/") {
        answer.kind = BrowserAnswer::indexPage;
        answer.code = 200;
        return answer;
    }
    if (path == "/ws") {
        answer.kind = BrowserAnswer::viewer;
        answer.code = 101;
        answer.ackMode = queryValue(target, "v") == "2";
        answer.parts = queryValue(target, "parts") == "1";
        key = queryValue(target, "slot");
    } else if (path.substr(0, kOverlay.size()) == kOverlay) {
        answer.kind = BrowserAnswer::overlayPage;
        answer.code = 200;
        key = std::string(path.substr(kOverlay.size()));
    }
    answer.slot = key.find('\0') == std::string::npos ? slotFromKey(key.c_str()) : -1;
    return answer.slot < 0 ? refused(404) : answer;
}

} // namespace

std::string queryValue(std::string_view target, std::string_view name) {
    const size_t question = target.find('?');
    if (question == std::string_view::npos) return {};
    std::string_view rest = target.substr(question + 1);
    rest = rest.substr(0, rest.find('#'));
    while (!rest.empty()) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(pair.size() + 1, rest.size()));
        const size_t equals = pair.find('=');
        if (equals != std::string_view::npos && pair.substr(0, equals) == name)
            return percentDecoded(pair.substr(equals + 1));
    }
    return {};
}

bool keyMatches(std::string_view given, std::string_view stored) {
    if (stored.empty() || given.size() != stored.size()) return false;
    unsigned differ = 0;
    for (size_t i = 0; i < stored.size(); ++i)
        differ |= static_cast<unsigned char>(given[i] ^ stored[i]);
    return differ == 0;
}

bool hostIsOurs(std::string_view host) {
    std::string_view name = host, port;
    const size_t bracket = host.find(']');
    const size_t colon = host.find(':', bracket == std::string_view::npos ? 0 : bracket);
    if (colon != std::string_view::npos) {
        name = host.substr(0, colon);
        port = host.substr(colon + 1);
        if (port.size() > 5 || !allDigits(port, "0123456789")) return false;
    }
    if (name.size() > 2 && name.front() == '[' && name.back() == ']')
        return allDigits(name.substr(1, name.size() - 2), "0123456789abcdefABCDEF:.");
    return equalsNoCase(name, "localhost") || dottedQuad(name);
}

BrowserAnswer answerRequest(const BrowserRequest& request, std::string_view accessKey) {
    const BrowserAnswer answer = resourceOf(request.target);
    if (answer.code == 404) return answer;
    if (request.method != "GET") return refused(405);
    if (request.host.empty()) return refused(400);
    if (!hostIsOurs(request.host) || !originIsOurs(request)) return refused(403);
    if (!keyMatches(queryValue(request.target, "key"), accessKey)) return refused(403);
    if (answer.kind == BrowserAnswer::viewer && !request.upgrade) return refused(426);
    return answer;
}

} // namespace vt
