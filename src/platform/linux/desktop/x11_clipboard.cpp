#include "platform/clock.h"
#include "platform/linux/desktop/x11_state.h"
#include "platform/shared/waiter.h"

#include <algorithm>

namespace vt {

namespace {

constexpr int64_t kAnswerLimitNs = 500'000'000; // a program that does not answer has no text

bool owned() {
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        x11.connection, xcb_get_selection_owner(x11.connection, x11.atoms.clipboard), nullptr));
    return owner && owner->owner == x11.helper;
}

/// Takes the answer to our request out of the queue.
XEvent takeAnswer() {
    const auto found = std::find_if(x11.events.begin(), x11.events.end(), [](const XEvent& event) {
        return eventType(*event) == XCB_SELECTION_NOTIFY;
    });
    if (found == x11.events.end()) return nullptr;
    XEvent answer = std::move(*found);
    x11.events.erase(found);
    return answer;
}

XEvent waitForAnswer() {
    const Clock clock;
    const int64_t end = clockTicks(clock) + kAnswerLimitNs;
    xcb_flush(x11.connection);
    while (x11Alive()) {
        x11ReadAhead();
        if (XEvent answer = takeAnswer()) return answer;
        const int64_t left = end - clockTicks(clock);
        if (left <= 0) break;
        const int descriptor = xcb_get_file_descriptor(x11.connection);
        uint8_t readable = 0;
        waitForDescriptors(&descriptor, 1, &readable, left);
    }
    return nullptr;
}

} // namespace

std::string x11Clipboard() {
    if (!x11Alive()) return {};
    if (owned()) return x11.clipboard;
    while (takeAnswer()) // left over from one that came too late
        ;
    xcb_convert_selection(x11.connection, x11.helper, x11.atoms.clipboard, x11.atoms.utf8String,
                          x11.atoms.selectionData, XCB_CURRENT_TIME);
    const XEvent answer = waitForAnswer();
    if (!answer) return {};
    const auto& notify = reinterpret_cast<const xcb_selection_notify_event_t&>(*answer);
    if (notify.property == XCB_NONE) return {};
    std::string text = x11Bytes(x11.helper, x11.atoms.selectionData, 16u << 20);
    xcb_delete_property(x11.connection, x11.helper, x11.atoms.selectionData);
    return text;
}

void x11SetClipboard(const std::string& text) {
    if (!x11Alive()) return;
    x11.clipboard = text;
    xcb_set_selection_owner(x11.connection, x11.helper, x11.atoms.clipboard, XCB_CURRENT_TIME);
}

void x11AnswerSelection(const xcb_selection_request_event_t& request) {
    const Atoms& a = x11.atoms;
    const xcb_atom_t property = request.property ? request.property : request.target;
    xcb_selection_notify_event_t answer{};
    answer.response_type = XCB_SELECTION_NOTIFY;
    answer.time = request.time;
    answer.requestor = request.requestor;
    answer.selection = request.selection;
    answer.target = request.target;
    answer.property = property;
    const size_t limit = size_t{xcb_get_maximum_request_length(x11.connection)} * 4 - 64;
    if (request.target == a.targets) {
        x11SetWords(request.requestor, property, XCB_ATOM_ATOM,
                    {a.targets, a.utf8String, a.text, a.textPlain, XCB_ATOM_STRING});
    } else if ((request.target == a.utf8String || request.target == a.text ||
                request.target == a.textPlain || request.target == XCB_ATOM_STRING) &&
               x11.clipboard.size() < limit) {
        x11SetBytes(request.requestor, property,
                    request.target == a.text ? a.utf8String : request.target, x11.clipboard);
    } else {
        answer.property = XCB_NONE; // refused
    }
    xcb_send_event(x11.connection, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&answer));
}

} // namespace vt
