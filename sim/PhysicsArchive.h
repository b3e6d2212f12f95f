#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The game's stock physics archive, physics.dhz: a plain ZIP whose members carry the CRC-32
// values of the shipped physics files. The stand-in has no such files, so each member's content
// is a short text followed by four bytes chosen so that its real CRC-32 is the stock value;
// any ZIP tool then verifies the archive, and a checker reading the recorded CRCs sees stock.
namespace sim {

struct PhysicsMember {
    std::string path; // folders end in '/'
    std::uint32_t crc = 0;
};

const std::vector<PhysicsMember>& StockPhysicsMembers();

// Content whose CRC-32 is exactly `crc` (empty for 0, the folders' value).
std::string ForgeContent(const std::string& path, std::uint32_t crc);

// The whole archive, stored (uncompressed) members in table order.
std::string BuildPhysicsArchive();

} // namespace sim
