#include "game/InfoText.h"

#include "results/TimeText.h"

#include <algorithm>

namespace tarvex {

namespace {

bool OnTheRoad(const PlayerRecord& record) {
    return record.Status >= std::uint8_t(PlayerStatus::Loading) && record.Distance > 0;
}

// "Ann 00:12.40+", "---- --:--.--+" when there is nobody there.
QString GapLine(const Roster& roster, int slot, float gap, QChar sign) {
    if (slot == NoCar) {
        return QStringLiteral("---- --:--.--") + sign;
    }
    const QString time = gap > 0 ? FormatRaceTime(gap) : QStringLiteral("00:00.00");
    return roster[slot].Name + u' ' + time + sign;
}

} // namespace

int RacePosition(const Roster& roster, int local_slot) {
    const float own = roster[local_slot].Distance;
    int position = 1;
    for (int slot = 0; slot < RowCount; ++slot) {
        if (roster[slot].Distance > own) {
            ++position;
        }
    }
    return position;
}

QString PositionText(int position, int participants) {
    if (participants <= 1) {
        return QStringLiteral("1/1");
    }
    return QStringLiteral("%1/%2").arg(std::min(position, participants)).arg(participants);
}

int CarAhead(const Roster& roster, int local_slot) {
    const float own = roster[local_slot].Distance;
    int best = NoCar;
    for (int slot = 0; slot < RowCount; ++slot) {
        const PlayerRecord& record = roster[slot];
        if (slot != local_slot && OnTheRoad(record) && record.Distance > own &&
            (best == NoCar || record.Distance < roster[best].Distance)) {
            best = slot;
        }
    }
    return best;
}

int CarBehind(const Roster& roster, int local_slot) {
    const float own = roster[local_slot].Distance;
    int best = NoCar;
    for (int slot = 0; slot < RowCount; ++slot) {
        const PlayerRecord& record = roster[slot];
        if (slot != local_slot && OnTheRoad(record) && record.Distance < own &&
            (best == NoCar || record.Distance > roster[best].Distance)) {
            best = slot;
        }
    }
    return best;
}

QString BuildInfoText(const Roster& roster, int local_slot, const InfoTextInput& input) {
    const float own = roster[local_slot].Distance;
    QString text = QStringLiteral("Position ") + input.position_text;
    if (input.eta_seconds >= 1) {
        text += QStringLiteral(" - ETA: ") + QString::number(input.eta_seconds);
    }
    text += u'\n' + roster[local_slot].Name + u' ' + QString::number(input.percent) +
            QStringLiteral("/100");
    const float ahead_gap = input.ahead == NoCar ? 0 : roster[input.ahead].Distance - own;
    const float behind_gap = input.behind == NoCar ? 0 : own - roster[input.behind].Distance;
    text += u'\n' + GapLine(roster, input.ahead, ahead_gap, u'+');
    text += u'\n' + GapLine(roster, input.behind, behind_gap, u'-');
    return text;
}

} // namespace tarvex
