// Another program's window, for tests of what X11 clients do to each other: a connection of its own
// that counts what reaches it.
#pragma once
#include "base/geometry.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <string>

namespace vt::test {

class ForeignWindow {
public:
    /// With `overrideRedirect` no window manager frames it or gives it the focus.
    ForeignWindow(RectI rect, uint32_t color, bool overrideRedirect) {
        connection_ = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(connection_)) return;
        screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        window_ = xcb_generate_id(connection_);
        const uint32_t values[] = {color, overrideRedirect,
                                   XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_KEY_PRESS};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen_->root,
                          static_cast<int16_t>(rect.left), static_cast<int16_t>(rect.top),
                          static_cast<uint16_t>(rect.width()), static_cast<uint16_t>(rect.height()),
                          0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        // Position and size as the user wished them, so that a window manager leaves them alone.
        const uint32_t hints[18] = {1 | 2, static_cast<uint32_t>(rect.left),
                                    static_cast<uint32_t>(rect.top)};
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS,
                            XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
        xcb_map_window(connection_, window_);
        sync();
    }
    ~ForeignWindow() { xcb_disconnect(connection_); }
    ForeignWindow(const ForeignWindow&) = delete;
    ForeignWindow& operator=(const ForeignWindow&) = delete;

    void raise() {
        const uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        sync();
    }

    /// Asks the window manager to let it fill the screen, as games do.
    void fillScreen() {
        xcb_client_message_event_t wish{};
        wish.response_type = XCB_CLIENT_MESSAGE;
        wish.format = 32;
        wish.window = window_;
        wish.type = atom("_NET_WM_STATE");
        wish.data.data32[0] = 1; // add
        wish.data.data32[1] = atom("_NET_WM_STATE_FULLSCREEN");
        xcb_send_event(connection_, 0, screen_->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&wish));
        sync();
    }

    /// A plain wallpaper, told to compositors the way that desktops do; kept while this lives.
    void paintRoot(uint32_t color) {
        const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
        xcb_create_pixmap(connection_, screen_->root_depth, pixmap, screen_->root, 1, 1);
        const xcb_gcontext_t context = xcb_generate_id(connection_);
        xcb_create_gc(connection_, context, pixmap, XCB_GC_FOREGROUND, &color);
        const xcb_rectangle_t whole{0, 0, 1, 1};
        xcb_poly_fill_rectangle(connection_, pixmap, context, 1, &whole);
        xcb_free_gc(connection_, context);
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, screen_->root,
                            atom("_XROOTPMAP_ID"), XCB_ATOM_PIXMAP, 32, 1, &pixmap);
        sync();
    }

    xcb_window_t id() const { return window_; }

    /// True when the key could be grabbed by this program.
    bool grabKey(uint16_t modifiers, uint8_t code) {
        xcb_generic_error_t* error = xcb_request_check(
            connection_, xcb_grab_key_checked(connection_, 0, screen_->root, modifiers, code,
                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        const bool granted = !error;
        std::free(error);
        return granted;
    }

    int clicks() {
        sync();
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
            if ((event->response_type & 0x7f) == XCB_BUTTON_PRESS) ++clicks_;
            std::free(event);
        }
        return clicks_;
    }

    void sendWheel(xcb_window_t target, int times) {
        xcb_button_press_event_t event{};
        event.response_type = XCB_BUTTON_PRESS;
        event.detail = 4;
        event.root = screen_->root;
        event.event = target;
        for (int i = 0; i < times; ++i)
            xcb_send_event(connection_, 0, target, 0, reinterpret_cast<const char*>(&event));
        sync();
    }

    void ownClipboard() {
        xcb_set_selection_owner(connection_, window_, atom("CLIPBOARD"), XCB_CURRENT_TIME);
        sync();
    }

    /// Waits for one question and answers it.
    void answerClipboard(const std::string& text) {
        while (xcb_generic_event_t* event = xcb_wait_for_event(connection_)) {
            const auto request = *reinterpret_cast<xcb_selection_request_event_t*>(event);
            std::free(event);
            if ((request.response_type & 0x7f) != XCB_SELECTION_REQUEST) continue;
            xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor,
                                request.property, request.target, 8,
                                static_cast<uint32_t>(text.size()), text.data());
            xcb_selection_notify_event_t answer{};
            answer.response_type = XCB_SELECTION_NOTIFY;
            answer.requestor = request.requestor;
            answer.selection = request.selection;
            answer.target = request.target;
            answer.property = request.property;
            xcb_send_event(connection_, 0, request.requestor, 0,
                           reinterpret_cast<const char*>(&answer));
            return sync();
        }
    }

    std::string askClipboard() {
        const xcb_atom_t property = atom("VT_TEST");
        xcb_convert_selection(connection_, window_, atom("CLIPBOARD"), atom("UTF8_STRING"),
                              property, XCB_CURRENT_TIME);
        xcb_flush(connection_);
        while (xcb_generic_event_t* event = xcb_wait_for_event(connection_)) {
            const bool answered = (event->response_type & 0x7f) == XCB_SELECTION_NOTIFY;
            std::free(event);
            if (answered) break;
        }
        xcb_get_property_reply_t* reply = xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window_, property, 0, 0, 4096), nullptr);
        if (!reply) return {};
        std::string text(static_cast<const char*>(xcb_get_property_value(reply)),
                         static_cast<size_t>(xcb_get_property_value_length(reply)));
        std::free(reply);
        return text;
    }

    void sync() {
        std::free(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    }

private:
    xcb_atom_t atom(const std::string& name) {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
            connection_,
            xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.data()),
            nullptr);
        const xcb_atom_t value = reply ? reply->atom : xcb_atom_t{XCB_NONE};
        std::free(reply);
        return value;
    }

    xcb_connection_t* connection_ = nullptr;
    xcb_screen_t* screen_ = nullptr;
    xcb_window_t window_ = 0;
    int clicks_ = 0;
};

} // namespace vt::test
