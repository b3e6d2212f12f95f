#include "net/StandingsBoard.h"

#include <QStringList>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace tarvex {

namespace {

constexpr float NotFinished = 10000.0f;

QString Percent(float distance, float stage_length) {
    if (!(stage_length > 0)) {
        return QStringLiteral("0");
    }
    return QString::number(std::lround(double(distance) / double(stage_length) * 100.0));
}

} // namespace

QString PadCell(const QString& text, int width) {
    if (text.size() <= width) {
        return text.leftJustified(width, u' ');
    }
    return text.left(width);
}

QString StandingsBoard(const Roster& roster, const BoardInput& input) {
    QStringList lines;
    lines << PadCell(QStringLiteral("Name"), 20) + PadCell(QStringLiteral("Percent"), 10) +
                 PadCell(QStringLiteral("Ping"), 10) + PadCell(QStringLiteral("Status"), 10) +
                 PadCell(QStringLiteral("Time"), 10);
    if (input.is_host) {
        if (!input.start_given) {
            lines << QStringLiteral("Type '/fstart' to force start");
        } else if (input.finish_sent) {
            lines << QStringLiteral("Type '/stop' to stop race");
        } else {
            lines << QString();
        }
    }

    // Finished players sort by their time; the others after them, the furthest first.
    std::array<float, RowCount> key{};
    for (int slot = 0; slot < RowCount; ++slot) {
        const float finish = input.finish[std::size_t(slot)];
        key[std::size_t(slot)] = (finish == NotFinished || finish == 0)
                                     ? NotFinished - float(input.progress[std::size_t(slot)])
                                     : finish;
    }
    std::array<int, RowCount> order{};
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return key[std::size_t(a)] < key[std::size_t(b)]; });

    for (int slot : order) {
        const PlayerRecord& record = roster[slot];
        if (!record.Occupied()) {
            continue;
        }
        const QString time =
            input.format_time ? input.format_time(input.finish[std::size_t(slot)]) : QString();
        lines << PadCell(record.Name, 20) +
                     PadCell(Percent(record.Distance, input.stage_length), 10) +
                     PadCell(LagTooltip(record.Lag), 10) +
                     PadCell(StatusName(record.Status, input.start_given), 10) + PadCell(time, 10);
    }
    return lines.join(u'\n');
}

} // namespace tarvex
