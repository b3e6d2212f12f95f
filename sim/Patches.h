#pragma once

#include "AddressSpace.h"

#include <cstdint>
#include <string>
#include <vector>

// The code locations that Tarvex patches, as the game knows them: which bytes there mean "the
// patched routine is in place" and which stock bytes the game ships with. The game recognises
// a patch by reading its bytes back, every frame, exactly as listed.
namespace sim {

struct PatchRow {
    int row = 0;
    std::uint32_t address = 0; // absolute, or relative to M when module is true
    bool module = false;
    std::string bytes; // the patched bytes; '?' pairs are operands that may hold anything
    std::string stock; // what the game ships with
    std::vector<std::uint8_t> patched; // `bytes` decoded
    std::vector<bool> operand;         // true where `bytes` has "??"
};

// Rows of one build (3 or 4); other builds have none. Rows that are operands (addresses,
// singles, the hook handle) are not listed: the game reads those as values.
const std::vector<PatchRow>& PatchRows(int build);

// Whether the bytes in memory equal the row's patched bytes (operand pairs "??" match anything).
bool PatchApplied(const AddressSpace& memory, const PatchRow& row, std::uint32_t module_base);

// Writes every row's stock bytes and the stock operand values of one build.
void InstallStockCode(AddressSpace& memory, int build);

// Rows looked up by number; nullptr when the build has no such row.
const PatchRow* FindRow(int build, int row);

// The hook call's handle operand and its stock value.
std::uint32_t HookHandleAddress(int build);
constexpr std::uint32_t HookStockHandle = 0x004008FC;

} // namespace sim
