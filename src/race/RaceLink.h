#pragma once

#include "app/Settings.h"
#include "net/ClientSide.h"
#include "net/Roster.h"
#include "net/ServerSide.h"
#include "race/RaceChoices.h"
#include "results/Results.h"

namespace tarvex {

// Keeps one role's race controls, the roster's row cars and the results table in step with
// the session. The host broadcasts every change of the race and records what its clients
// report; a client applies the host's game data, reports its own car and records what the
// host relays.
void LinkHostRace(RaceChoices& choices, StoredSettings& stored, Roster& roster, ServerSide& side,
                  Results& results);
void LinkClientRace(RaceChoices& choices, StoredSettings& stored, Roster& roster, ClientSide& side,
                    Results& results);

RowCar ToRowCar(const CarSelection& car);
CarSelection ToCarSelection(const RowCar& car);

} // namespace tarvex
