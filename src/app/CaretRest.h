#pragma once

#include <QObject>
#include <QTimer>

namespace tarvex {

// Stops the text caret blinking once nobody has typed or clicked for a while, and lets it
// blink again at the next key or click, as desktops do to save power. A race window sits open
// for hours with its chat box focused; each blink is a repaint through the X server and wakes
// the program four times a second for nothing.
class CaretRest : public QObject {
public:
    static constexpr int DefaultRestMs = 10000;

    explicit CaretRest(int rest_ms = DefaultRestMs, QObject* parent = nullptr);
    ~CaretRest() override;

    bool Resting() const { return m_resting; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Rest();
    void Wake();

    QTimer m_timer;
    // The user's blink setting, given back when the caret wakes.
    int m_flash_ms = 0;
    bool m_resting = false;
};

} // namespace tarvex
