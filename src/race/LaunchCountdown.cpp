#include "race/LaunchCountdown.h"

#include "chat/Handover.h"

#include <QTimer>

namespace tarvex {

LaunchCountdown::LaunchCountdown(Sound& sound, QObject* parent)
    : QObject(parent)
    , m_sound(sound)
    , m_launch(new QTimer(this)) {
    m_launch->setObjectName(QStringLiteral("Launch"));
    m_launch->setInterval(IntervalMs);
    connect(m_launch, &QTimer::timeout, this, &LaunchCountdown::Launch_Timer);
}

void LaunchCountdown::Begin() {
    m_launch_count = 0;
    m_shown = 0;
    m_launch->start();
}

void LaunchCountdown::Cancel() {
    m_launch->stop();
}

bool LaunchCountdown::Running() const {
    return m_launch->isActive();
}

void LaunchCountdown::Launch_Timer() {
    if (m_launch_count < Counts) {
        PlayCue(m_sound, false);
        m_shown = Counts - m_launch_count;
        ++m_launch_count;
        emit Counted(m_shown);
        return;
    }
    PlayCue(m_sound, true);
    m_launch_count = 0;
    m_shown = 0;
    m_launch->stop();
    emit Go();
}

} // namespace tarvex
