#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include <xcb/xcb.h>

class QImage;

namespace sim {

// One top-level X11 window of a given WM_CLASS, drawn by putting whole images into it. It
// takes the input focus itself when it is mapped (there may be no window manager), reports
// keys as Windows virtual-key codes, and reports WM_DELETE_WINDOW as a close request.
class X11Window {
public:
    ~X11Window();
    bool Open(const std::string& instance, const std::string& window_class,
              const std::string& title, int width, int height);
    int Fd() const;
    // Handles pending events; false once the window was asked to close or the display is gone.
    bool ProcessEvents(const std::function<void(int key, bool down)>& on_key);
    void Show(const QImage& image);
    void FillProgress(double fraction); // plain drawing without images
    // Posts one click to another window, as the patched game posts button clicks.
    void SendClick(std::uint32_t window);
    std::uint32_t Id() const { return m_window; }

private:
    std::uint32_t Atom(const char* name);
    int KeyToVirtualKey(std::uint8_t keycode) const;

    xcb_connection_t* m_conn = nullptr;
    xcb_window_t m_window = 0;
    xcb_gcontext_t m_gc = 0;
    std::uint32_t m_delete = 0, m_protocols = 0, m_click = 0;
    int m_width = 0, m_height = 0;
    std::uint8_t m_min_keycode = 8;
    int m_syms_per_code = 0;
    std::vector<std::uint32_t> m_keysyms;
    bool m_closing = false;
};

} // namespace sim
