#include "results/Results.h"

#include "results/TimeText.h"

namespace tarvex {

namespace {

constexpr std::uint8_t kReady = 2;

bool ValidSlot(int slot) {
    return slot >= 0 && slot < kResultSlots;
}

} // namespace

Results::Results(QObject* parent)
    : QObject(parent) {
    Reset();
}

const RaceResult& Results::Race(int number) const {
    static const RaceResult kNone;
    return number >= 1 && number <= UpperBound() ? m_races[number] : kNone;
}

RaceResult* Results::Newest() {
    return UpperBound() >= 1 ? &m_races.last() : nullptr;
}

int Results::NewRaceResult(const std::array<ResultSlot, kResultSlots>& roster,
                           const RaceHeader& header, const QDateTime& now, bool is_host) {
    RaceResult race;
    int participants = 0;
    for (int slot = 0; slot < kResultSlots; ++slot) {
        const ResultSlot& entry = roster[slot];
        const bool racing = is_host ? entry.Status == kReady : entry.Status >= kReady;
        if (!entry.InUse || !racing) {
            continue;
        }
        race.DriverName[slot] = entry.Name;
        race.CarName[slot] = entry.Car;
        race.TransmissionName[slot] = entry.Transmission;
        race.TyreName[slot] = entry.Tyre;
        race.Split1[slot] = NoTime;
        race.Split2[slot] = NoTime;
        race.Finish[slot] = NoTime;
        race.StartOk[slot] = true;
        ++participants;
    }
    race.StageName = header.StageName;
    race.WeatherName = header.WeatherName;
    race.DamageName = header.DamageName;
    race.PenaltiesText = BoolText(header.PenaltiesDisabled);
    race.SetupsText = BoolText(header.SetupsAllowed);
    race.StartTime = now;
    m_races.append(race);
    emit Changed();
    return participants;
}

void Results::RecordTime(int kind, int slot, float seconds) {
    RaceResult* race = Newest();
    if (!race || !ValidSlot(slot)) {
        return;
    }
    // A time for a slot that is not in the race is kept all the same; its row stays hidden
    // because the slot has no driver name.
    switch (kind) {
    case 14:
        race->Split1[slot] = seconds;
        break;
    case 15:
        race->Split2[slot] = seconds;
        break;
    case 16:
        race->Finish[slot] = seconds;
        // A finisher has driven the whole stage, whatever progress reached us last: every copy
        // then shows the same row, however many car states it missed.
        race->Percent[slot] = 100;
        break;
    default:
        return;
    }
    emit Changed();
}

void Results::RecordFalseStart(int slot) {
    RaceResult* race = Newest();
    if (!race || !ValidSlot(slot)) {
        return;
    }
    race->StartOk[slot] = false;
    emit Changed();
}

void Results::RecordPercent(int slot, std::uint8_t percent) {
    RaceResult* race = Newest();
    if (race && ValidSlot(slot)) {
        race->Percent[slot] = percent;
    }
}

void Results::Reset() {
    // Entry 0 is never a race: numbers and indexes stay the same.
    m_races = {RaceResult{}};
    emit Changed();
}

} // namespace tarvex
