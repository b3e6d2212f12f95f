#pragma once

#include "app/Settings.h"
#include "net/Messages.h"
#include "net/Roster.h"
#include "race/RaceChoices.h"
#include "results/Results.h"

namespace tarvex {

// The host's game data: its own car, the whole race and the options every client applies.
GameDataMsg MakeGameData(const StoredSettings& stored);

// A client takes the host's game data: the race, the host's car and options, and the data
// rate (0 means "automatic").
void ApplyGameData(const GameDataMsg& msg, StoredSettings& stored);

// The client's own car choice for the host.
CarChoiceMsg MakeCarChoice(int slot, const CarSelection& car);

// Applies the host's game data on a client's race window: the values, the host's row, then the
// whole display again, which proposes (and sends) this player's tyre for the new conditions.
void ShowGameData(const GameDataMsg& msg, StoredSettings& stored, RaceChoices& choices);

// The race's conditions as the results table names them.
RaceHeader DescribeRace(const RaceSettings& race);

// The roster's players with the texts their row lists show, for a new race record.
std::array<ResultSlot, kResultSlots> ResultRoster(const Roster& roster, const RaceChoices& choices);

// Opens the record of a race that starts now: every slot's distance back to 0, then the race
// record of the racing players with their row lists' texts and the race's conditions. Returns
// how many players take part.
int NewRaceResult(Results& results, Roster& roster, const RaceChoices& choices,
                  const RaceSettings& race, const QDateTime& now, bool is_host);

} // namespace tarvex
