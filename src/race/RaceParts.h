#pragma once

#include <functional>

namespace tarvex {

class GameProcess;
class GameStateReader;
class RaceChoices;
class Results;
class Roster;
class Shell;
class Sound;
struct RaceSettings;
struct SessionFlags;
struct Settings;

// What host race control and a client's race flow work with; all of it belongs to one copy of
// Tarvex.
struct RaceParts {
    Roster& roster;
    SessionFlags& flags;
    Results& results;
    RaceChoices& choices;
    const RaceSettings& race;
    const Settings& settings;
    GameProcess& game;
    GameStateReader& reader;
    Sound& sound;
    Shell& shell;
    // The game bridge: the game is about to be started by us (it may be closed again later),
    // and the ghost objects of the game run are to be located afresh.
    std::function<void()> ClearGameClosing;
    std::function<void()> ClearGhostsReady;
};

// Starts the game from its executable, as a user would.
void LaunchGame(const RaceParts& parts);
// Sends the game back to the start line of the stage it is on, for a restart.
void ReloadGameStage(const RaceParts& parts);

} // namespace tarvex
