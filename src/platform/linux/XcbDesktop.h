#pragma once

#include "platform/Desktop.h"

#include <QHash>
#include <QSet>
#include <memory>
#include <vector>
#include <xcb/xcb.h>

namespace tarvex {

class XcbConnection;
class XkbKeymap;

// The desktop of an X server: windows found by their WM_CLASS class anywhere in the window tree
// (so with or without a window manager), key strokes through XTEST, and hook buttons as unmapped
// windows of this connection, which receive the ClientMessages the patched game sends them.
class XcbDesktop final : public Desktop {
public:
    explicit XcbDesktop(std::shared_ptr<XcbConnection> connection);
    ~XcbDesktop() override;

    WindowHandle FindWindowByClass(const QString& window_class) override;
    std::uint32_t WindowProcessId(WindowHandle window) override;
    bool IsWindow(WindowHandle window) override;
    WindowHandle ForegroundWindow() override;
    void CloseWindow(WindowHandle window) override;
    void RaiseWindow(WindowHandle window) override;

    void SendKey(int virtual_key, bool down) override;
    bool IsKeyDown(int virtual_key) override;

    WindowHandle CreateHookButton(std::function<void()> on_click) override;
    void DestroyHookButton(WindowHandle button) override;
    bool WatchNewWindows(std::function<void()> on_new_window) override;

private:
    bool HasClass(xcb_window_t window);
    // The window whose WM_ checks the window manager has posted on the root, or none.
    xcb_window_t WindowManagerCheck();
    bool Supports(xcb_window_t window, xcb_atom_t protocols, xcb_atom_t protocol);
    XkbKeymap& Keymap();
    void OnEvent(const xcb_generic_event_t& event);
    // Asks the server to report windows appearing on the root, which is what can turn a class
    // found nowhere into one that exists.
    void WatchTree();
    void NoteTreeChange(const xcb_generic_event_t& event);

    std::shared_ptr<XcbConnection> m_connection;
    xcb_connection_t* m_xcb;
    std::unique_ptr<XkbKeymap> m_keymap;
    QHash<xcb_window_t, std::function<void()>> m_buttons;
    QHash<QByteArray, xcb_window_t> m_last_found; // by lower-case class
    // Classes a walk of the whole tree found nowhere, since no window has appeared (lower-case).
    QSet<QByteArray> m_absent;
    bool m_watching_tree = false;
    std::vector<std::function<void()>> m_on_new_window;
};

} // namespace tarvex
