#pragma once

#include "results/RaceResult.h"

#include <QList>
#include <QObject>

namespace tarvex {

// The races of this session as this copy saw them, oldest first. Race numbers start at 1;
// times and false starts always go to the newest race.
class Results : public QObject {
    Q_OBJECT

public:
    explicit Results(QObject* parent = nullptr);

    // Number of the newest race; 0 while none has been recorded.
    int UpperBound() const { return int(m_races.size()) - 1; }
    // Race `number` (1..UpperBound); an empty record for any other number.
    const RaceResult& Race(int number) const;

    // Opens the record of a race that starts now and returns how many drivers take part. The
    // host counts the players who are Ready (status 2); a client, hearing of the start later,
    // also counts those already loading, driving or finished.
    int NewRaceResult(const std::array<ResultSlot, kResultSlots>& roster, const RaceHeader& header,
                      const QDateTime& now, bool is_host);

    // kind 14: first split, 15: second split, 16: finish.
    void RecordTime(int kind, int slot, float seconds);
    void RecordFalseStart(int slot);
    // Stored for the next display; progress arrives too often to redraw for each.
    void RecordPercent(int slot, std::uint8_t percent);

    // "Reset All Times": back to no race at all.
    void Reset();

signals:
    // The newest race changed and should be shown.
    void Changed();

private:
    RaceResult* Newest();

    QList<RaceResult> m_races;
};

} // namespace tarvex
