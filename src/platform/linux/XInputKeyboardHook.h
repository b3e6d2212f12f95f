#pragma once

#include "platform/KeyboardHook.h"

#include <memory>

struct xkb_state;

namespace tarvex {

class XcbConnection;
class XkbKeymap;

// The system-wide keyboard view from XInput2 raw key events: every key of every keyboard,
// whichever window has the focus, and nothing is taken from the game. Raw events carry no
// modifier state, so the hook keeps an xkb state of its own from the key stream it sees.
class XInputKeyboardHook final : public KeyboardHook {
public:
    explicit XInputKeyboardHook(std::shared_ptr<XcbConnection> connection);
    ~XInputKeyboardHook() override;

    bool Hook(Callback callback) override;
    void Unhook() override;
    void Drain() override;
    bool Hooked() const override;
    QString ToAscii(int virtual_key, std::uint32_t flags) override;

private:
    bool SelectRawKeys(bool on);
    void OnRawKey(std::uint32_t keycode, bool down, bool repeat);
    void ReloadKeymap();

    std::shared_ptr<XcbConnection> m_connection;
    std::unique_ptr<XkbKeymap> m_keymap;
    xkb_state* m_state = nullptr;
    std::uint8_t m_xinput_opcode = 0;
    Callback m_callback;
};

} // namespace tarvex
