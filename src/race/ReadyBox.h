#pragma once

#include <QObject>
#include <functional>

namespace tarvex {

// The race window's Ready box without the widget. As with a check box, setting its value from
// the program runs its click handler whenever the value changes, so the player's status follows
// the box whoever moved it.
class ReadyBox : public QObject {
    Q_OBJECT

public:
    explicit ReadyBox(QObject* parent = nullptr)
        : QObject(parent) {}

    bool Ticked() const { return m_ticked; }
    bool Enabled() const { return m_enabled; }

    void SetTicked(bool ticked) {
        if (ticked == m_ticked) {
            return;
        }
        m_ticked = ticked;
        emit Changed();
        if (m_on_click) {
            m_on_click(ticked);
        }
    }
    void SetEnabled(bool enabled) {
        if (enabled != m_enabled) {
            m_enabled = enabled;
            emit Changed();
        }
    }
    void SetClickHandler(std::function<void(bool)> handler) { m_on_click = std::move(handler); }

signals:
    void Changed();

private:
    bool m_ticked = false;
    bool m_enabled = true;
    std::function<void(bool)> m_on_click;
};

} // namespace tarvex
