#pragma once

namespace tarvex {

// The ghost car as the game bridge needs it while patching the game and on every polling tick.
// The ghost subsystem provides it; the bridge only says when.
class GhostCar {
public:
    virtual ~GhostCar() = default;
    // Writes the four ghost car files into the game folder's CARS/GHOST/.
    virtual void InstallGhostFiles() = 0;
    // Tells the game which car model the ghosts show (or hides them).
    virtual void WriteGhostModel() = 0;
};

} // namespace tarvex
