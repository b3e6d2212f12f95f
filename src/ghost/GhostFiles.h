#pragma once

#include "game/GhostCar.h"

#include <QString>
#include <cstdint>

namespace tarvex {

class GameProcess;
struct Settings;

// Writes one of Tarvex's own resources (type "GHOST", ids 1..4) to a file. An existing file is
// overwritten from its first byte and not shortened first. False on any error, which the
// callers ignore: the game then simply finds no usable ghost car.
bool ExtractResource(std::uint16_t id, const QString& type, const QString& path);

// The ghost car Tarvex carries for the game: its four files, installed into the game folder's
// CARS/GHOST/, and the slot that tells the game which car model the ghosts show.
class GhostFiles final : public GhostCar {
public:
    // The model slot's value that hides every ghost.
    static constexpr std::uint32_t kNoGhosts = 0x19999999;
    // The file names, by resource id 1..4 (index 0 unused).
    static constexpr const char* kFileNames[5] = {nullptr, "ghost.sgc", "ghost.ini",
                                                  "ghost_shaders.ini", "ghostcar.ini"};

    GhostFiles(GameProcess& game, const Settings& settings);

    // Into the running game's folder; relative to the current folder when the game's folder
    // cannot be told. Failures are ignored.
    void InstallGhostFiles() override;
    // GMODEL, or kNoGhosts when this player hides ghosts (DGHOST 0) or the session has none
    // (GHOSTS 1). Builds 1..4.
    void WriteGhostModel() override;

    // The folder the files go to: the game folder's CARS/GHOST/, reusing folders of those names
    // in any case (the game, made for a file system that ignores case, finds them so).
    static QString GhostFolder(const QString& game_folder);

private:
    GameProcess& m_game;
    const Settings& m_settings;
};

} // namespace tarvex
