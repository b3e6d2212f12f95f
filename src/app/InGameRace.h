#pragma once

#include "chat/InGameChat.h"

namespace tarvex {

class Tarvex;

// What the in-game chat shows of this copy's race: the start signal, a false start, and the
// standings board from the roster and the newest results.
InGameChat::Race InGameRace(Tarvex& tarvex);

} // namespace tarvex
