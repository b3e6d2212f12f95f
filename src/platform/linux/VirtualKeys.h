#pragma once

#include <cstdint>
#include <vector>

namespace tarvex {

// Tarvex speaks Windows virtual-key codes everywhere; X11 speaks keysyms. These two functions
// are the only place the two meet. A virtual key may stand for several keysyms (VK_SHIFT is
// either shift key); the first keysym listed is the one simulated presses use.
std::vector<std::uint32_t> KeysymsForVirtualKey(int virtual_key);
// The virtual key of an unshifted keysym, 0 when Tarvex has no code for it.
int VirtualKeyForKeysym(std::uint32_t keysym);

} // namespace tarvex
