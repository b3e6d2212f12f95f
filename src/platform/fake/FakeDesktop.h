#pragma once

#include "platform/Desktop.h"

#include <QList>
#include <QMap>

namespace tarvex {

// A desktop of windows the test declares. Keys sent are logged and reach the focused window's
// key handler, so a game model in the same process can react to them.
class FakeDesktop final : public Desktop {
public:
    struct Window {
        QString window_class;
        std::uint32_t pid = 0;
        bool close_requested = false;
    };
    struct KeyEvent {
        int virtual_key;
        bool down;
    };

    WindowHandle AddWindow(const QString& window_class, std::uint32_t pid) {
        const WindowHandle handle = m_next_handle++;
        m_windows.insert(handle, {window_class, pid, false});
        return handle;
    }
    void RemoveWindow(WindowHandle window) {
        m_windows.remove(window);
        if (m_foreground == window) {
            m_foreground = 0;
        }
    }
    void SetForeground(WindowHandle window) { m_foreground = window; }
    const Window* Find(WindowHandle window) const {
        auto it = m_windows.constFind(window);
        return it == m_windows.cend() ? nullptr : &*it;
    }

    WindowHandle FindWindowByClass(const QString& window_class) override {
        for (auto it = m_windows.cbegin(); it != m_windows.cend(); ++it) {
            if (it->window_class == window_class) {
                return it.key();
            }
        }
        return 0;
    }
    std::uint32_t WindowProcessId(WindowHandle window) override {
        auto it = m_windows.constFind(window);
        return it == m_windows.cend() ? 0 : it->pid;
    }
    bool IsWindow(WindowHandle window) override { return m_windows.contains(window); }
    WindowHandle ForegroundWindow() override { return m_foreground; }
    void CloseWindow(WindowHandle window) override {
        auto it = m_windows.find(window);
        if (it != m_windows.end()) {
            it->close_requested = true;
            if (on_close) {
                on_close(window);
            }
        }
    }
    void RaiseWindow(WindowHandle window) override { raised.append(window); }

    void SendKey(int virtual_key, bool down) override {
        keys.append({virtual_key, down});
        m_down[virtual_key] = down;
        if (on_key) {
            on_key(virtual_key, down);
        }
    }
    bool IsKeyDown(int virtual_key) override { return m_down.value(virtual_key, false); }
    void SetKeyDown(int virtual_key, bool down) { m_down[virtual_key] = down; }

    WindowHandle CreateHookButton(std::function<void()> on_click) override {
        const WindowHandle handle = m_next_handle++;
        m_buttons.insert(handle, std::move(on_click));
        return handle;
    }
    void DestroyHookButton(WindowHandle button) override { m_buttons.remove(button); }
    // What the patched game does each frame: click the button whose handle it was given.
    bool ClickHookButton(WindowHandle button) {
        auto it = m_buttons.find(button);
        if (it == m_buttons.end()) {
            return false;
        }
        (*it)();
        return true;
    }

    QList<KeyEvent> keys;
    QList<WindowHandle> raised;
    std::function<void(int, bool)> on_key;
    std::function<void(WindowHandle)> on_close;

private:
    WindowHandle m_next_handle = 0x10001;
    WindowHandle m_foreground = 0;
    QMap<WindowHandle, Window> m_windows;
    QMap<WindowHandle, std::function<void()>> m_buttons;
    QMap<int, bool> m_down;
};

} // namespace tarvex
