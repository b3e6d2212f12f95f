#pragma once

#include "app/Settings.h"

namespace tarvex::test {

// A player's settings as a fresh install has them for what the game bridge reads (ghosts
// allowed and shown, the clock running on while paused, split times shown), with the profile
// menu answered by the automation (slot `profile_slot` + 1) and a stage of the catalogue.
inline StoredSettings RaceReadySettings(std::uint8_t profile_slot = 0) {
    StoredSettings stored;
    Settings& s = stored.settings;
    s.GhostsDisabled = 0;
    s.ShowGhost = 1;
    s.ClockWhenPaused = 1;
    s.ShowSplits = 1;
    s.BypassProfile = 1;
    s.ProfileSlot = profile_slot;
    stored.race.StageId = 10;
    stored.race.WeatherPresetName = QStringLiteral("10O_N_nosnow_lightcloud");
    return stored;
}

} // namespace tarvex::test
