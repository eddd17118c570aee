// What a request to the browser source gets, decided from its words alone.
#pragma once
#include <string>
#include <string_view>

namespace vt {

/// The parts of a request that matter. Fields are as they came: any bytes.
struct BrowserRequest {
    std::string_view method, target; // "GET", "/overlay/fuel?key=..."
    std::string_view host;           // empty: there was none, or more than one
    std::string_view origin;         // empty: there was none
    bool hasOrigin = false;
    bool upgrade = false; // asks for a WebSocket
};

struct BrowserAnswer {
    enum Kind { status, overlayPage, indexPage, viewer } kind = status;
    int code = 404;       // HTTP; 200 for pages, 101 for a viewer
    int slot = -1;        // of an overlay's page and of a viewer
    bool ackMode = false; // the viewer says when it is ready for the next frame
    bool parts = false;   // it takes what changed in place of whole pictures
};

/// GET /overlay/<slot key>, GET / and the upgrade at /ws. Unknown paths and slots are 404 before
/// anything is said of the key; other methods 405; a wrong or missing key, a foreign page (Origin)
/// and a foreign name for this PC (Host) 403; /ws without an upgrade 426; no Host 400.
BrowserAnswer answerRequest(const BrowserRequest& request, std::string_view accessKey);

/// In constant time for texts of equal length; an empty stored key accepts nothing.
bool keyMatches(std::string_view given, std::string_view stored);

/// True for addresses in digits and "localhost", with or without a port. A name could belong to a
/// page elsewhere whose owner let it point at this PC; a browser would take the two for one site.
bool hostIsOurs(std::string_view host);

/// Value of a name in a target's query, percent-decoded; empty when absent. The first one counts.
std::string queryValue(std::string_view target, std::string_view name);

} // namespace vt
