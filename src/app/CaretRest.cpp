#include "app/CaretRest.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QStyleHints>

namespace tarvex {

CaretRest::CaretRest(int rest_ms, QObject* parent)
    : QObject(parent) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(rest_ms);
    connect(&m_timer, &QTimer::timeout, this, &CaretRest::Rest);
    QCoreApplication::instance()->installEventFilter(this);
    m_timer.start();
}

CaretRest::~CaretRest() {
    Wake();
}

bool CaretRest::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
    case QEvent::InputMethod:
    case QEvent::FocusIn:
        Wake();
        m_timer.start();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void CaretRest::Rest() {
    if (m_resting) {
        return;
    }
    QStyleHints* hints = QGuiApplication::styleHints();
    m_flash_ms = hints->cursorFlashTime();
    m_resting = true;
    // 0 leaves the caret drawn and still; every text box follows the change at once.
    hints->setCursorFlashTime(0);
}

void CaretRest::Wake() {
    if (!m_resting) {
        return;
    }
    m_resting = false;
    QGuiApplication::styleHints()->setCursorFlashTime(m_flash_ms);
}

} // namespace tarvex
