#pragma once

namespace tarvex {

// The game's in-race message box, as the console needs it: each shown line keeps the box open
// for a while. The game bridge implements it by writing the display time into the running game;
// while no game runs the write just fails, which nobody needs to hear about.
class GameMessageBox {
public:
    virtual ~GameMessageBox() = default;
    virtual void SetDisplaySeconds(float seconds) = 0;
};

} // namespace tarvex
