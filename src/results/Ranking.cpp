#include "results/Ranking.h"

#include <utility>

namespace tarvex {

void QuickSortVariants(SortKeys& keys, SlotOrder& order, int low, int high) {
    int i = low;
    int j = high;
    const float pivot = keys[(low + high) / 2];
    while (i <= j) {
        while (keys[i] < pivot && i < high) {
            ++i;
        }
        while (pivot < keys[j] && j > low) {
            --j;
        }
        if (i <= j) {
            std::swap(keys[i], keys[j]);
            std::swap(order[i], order[j]);
            ++i;
            --j;
        }
    }
    if (low < j) {
        QuickSortVariants(keys, order, low, j);
    }
    if (i < high) {
        QuickSortVariants(keys, order, i, high);
    }
}

SlotOrder RankSlots(const RaceResult& race) {
    SlotOrder order;
    SortKeys keys = race.Finish;
    for (int i = 0; i < kResultSlots; ++i) {
        order[i] = i;
        // Not finished: rank by progress after every finisher (a finish takes under 10000 s).
        if (keys[i] == NoTime) {
            keys[i] = NoTime - float(race.Percent[i]);
        }
    }
    QuickSortVariants(keys, order, 0, kResultSlots - 1);
    return order;
}

} // namespace tarvex
