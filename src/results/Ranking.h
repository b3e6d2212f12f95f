#pragma once

#include "results/RaceResult.h"

#include <array>

namespace tarvex {

using SortKeys = std::array<float, kResultSlots>;
using SlotOrder = std::array<int, kResultSlots>;

// Sorts keys[low..high] ascending and applies every swap to `order` too. Equal keys end up in
// whatever order these swaps leave them; the table and every export rely on that exact order.
void QuickSortVariants(SortKeys& keys, SlotOrder& order, int low, int high);

// Slots of a race, best first: finishers by time, then the others by progress (more first).
SlotOrder RankSlots(const RaceResult& race);

} // namespace tarvex
