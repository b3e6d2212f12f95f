#include "race/RaceFlow.h"

#include "race/RaceChoices.h"

#include <QTimer>
#include <cmath>

namespace tarvex {

RaceFlow::RaceFlow(RaceParts parts, QObject* parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_countdown(m_parts.sound)
    , m_restart(new QTimer(this)) {
    m_restart->setObjectName(QStringLiteral("tmrRestart"));
    m_restart->setInterval(RestartDelayMs);
    m_restart->setSingleShot(true);
    connect(&m_countdown, &LaunchCountdown::Counted, this, &RaceFlow::Changed);
    connect(&chkReady, &ReadyBox::Changed, this, &RaceFlow::Changed);
}

void RaceFlow::FollowState(bool launching, bool restart_pending, bool idle, bool ready_allowed) {
    if (!launching && !restart_pending) {
        m_countdown.Cancel();
    }
    if (!restart_pending) {
        m_restart->stop();
    } else if (!m_restart->isActive()) {
        // A second order does not push the restart back.
        m_restart->start();
    }
    m_parts.choices.SetRaceLocked(!idle);
    chkReady.SetEnabled(idle && ready_allowed);
}

QString RaceFlow::StatusFor(bool idle, bool launching) const {
    if (idle) {
        return QStringLiteral("Status: Idle");
    }
    if (launching) {
        const int shown = m_countdown.Shown();
        return QStringLiteral("Status: Game Launches In...") +
               (shown > 0 ? QString::number(shown) : QString());
    }
    return QStringLiteral("Status: Race in Session");
}

void RaceFlow::StartGame() {
    if (m_parts.ClearGameClosing) {
        m_parts.ClearGameClosing();
    }
    LaunchGame(m_parts);
}

int RaceFlow::RestartSecondsLeft() const {
    return m_restart->isActive() ? int(std::ceil(m_restart->remainingTime() / 1000.0)) : 0;
}

} // namespace tarvex
