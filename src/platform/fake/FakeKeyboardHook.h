#pragma once

#include "platform/KeyboardHook.h"

#include <QHash>

namespace tarvex {

// A keyboard hook fed by the test: Press/Release deliver events to the installed callback, and
// ToAscii answers from a table the test fills (by default: letters, digits, space).
class FakeKeyboardHook final : public KeyboardHook {
public:
    bool Hook(Callback callback) override {
        m_callback = std::move(callback);
        return available;
    }
    void Unhook() override { m_callback = nullptr; }
    bool Hooked() const override { return bool(m_callback); }
    void Drain() override {} // events are delivered as the test sends them

    QString ToAscii(int virtual_key, std::uint32_t flags) override {
        if (text.contains(virtual_key)) {
            return text.value(virtual_key);
        }
        if ((virtual_key >= '0' && virtual_key <= '9') || virtual_key == ' ') {
            return QString(QChar(virtual_key));
        }
        if (virtual_key >= 'A' && virtual_key <= 'Z') {
            return QString(QChar(virtual_key - 'A' + 'a'));
        }
        return {};
    }

    void Press(int virtual_key) { Deliver(virtual_key, 0x00000001u); }
    void Release(int virtual_key) { Deliver(virtual_key, 0xC0000001u); }

    QHash<int, QString> text;
    bool available = true;

private:
    void Deliver(int virtual_key, std::uint32_t flags) {
        if (m_callback) {
            m_callback(virtual_key, flags);
        }
    }

    Callback m_callback;
};

} // namespace tarvex
