#include "PhysicsArchive.h"

#include <array>
#include <zlib.h>

namespace sim {

namespace {

void Put16(std::string& out, std::uint32_t v) {
    out.push_back(char(v & 0xFF));
    out.push_back(char((v >> 8) & 0xFF));
}

void Put32(std::string& out, std::uint32_t v) {
    Put16(out, v & 0xFFFF);
    Put16(out, v >> 16);
}

const std::array<std::uint32_t, 256>& CrcTable() {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k) {
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            }
            t[i] = c;
        }
        return t;
    }();
    return table;
}

std::vector<PhysicsMember> Members() {
    struct Car {
        const char* folder;
        std::array<std::uint32_t, 11> crcs;
    };
    static const char* const files[] = {
        "common.lsp",          "gravel.lsp",   "repair.ini",          "r_gravel.lsp",
        "r_snow.lsp",          "r_tarmac.lsp", "setups/d_gravel.lsp", "setups/d_snow.lsp",
        "setups/d_tarmac.lsp", "snow.lsp",     "tarmac.lsp"};
    static const Car cars[] = {
        {"Physics/c_xsara/",
         {0xF14804E4, 0x06D0BA20, 0xE9002DD9, 0xF773B910, 0x0D1FDE52, 0x2DB458FC, 0xE4F80021,
          0xB5B74D99, 0x192FF9E2, 0xAAA55A59, 0x3E74DFCF}},
        {"Physics/h_accent/",
         {0xAA1EC735, 0xC3331543, 0xE9002DD9, 0xF608ABC2, 0xA1DE5A89, 0x7D84C2A3, 0xD6FE7AE2,
          0xB9D84288, 0xF6E85F5E, 0x000A2313, 0x693B684E}},
        {"Physics/mg_zr/",
         {0x09659CF8, 0x122B7D50, 0x52DF2F0B, 0xAF955BCE, 0x356B01AA, 0x7E451570, 0x4522153B,
          0x43C9E33C, 0x0E578789, 0x3CB9F352, 0xB30176A5}},
        {"Physics/m_lancer/",
         {0xC97221DA, 0x628F92CF, 0xE9002DD9, 0x7C90E931, 0x07FBA417, 0xA2D5994D, 0x2FC02D16,
          0x2076F4B3, 0xD5B6BCE8, 0x02876574, 0x4B8CB9FF}},
        {"Physics/p_206/",
         {0xF1A68B17, 0xDE1C8DD8, 0xE9002DD9, 0x3EF70A59, 0xFBB57283, 0x3B74E435, 0x98036C35,
          0x62E5B62C, 0xCCBCDCBF, 0xF7C06234, 0x751A4661}},
        {"Physics/s_i2000/",
         {0xDAA77CE2, 0x0075106A, 0xE9002DD9, 0x4702AB6F, 0xF6474627, 0x2B0E2A7F, 0xCA0E7700,
          0x2D9CC0F3, 0x85E08938, 0xAC342982, 0xDBF5365A}},
        {"Physics/s_i2003/",
         {0xCEB77B50, 0x0075106A, 0xE9002DD9, 0x899A2E28, 0x3BB2AAD4, 0xA09B513B, 0xCA0E7700,
          0x2D9CC0F3, 0x85E08938, 0xAC342982, 0x68333C6B}},
        {"Physics/t_coroll/",
         {0x97B38775, 0x4854A856, 0xE9002DD9, 0xF77A9D47, 0xE0D93200, 0x9D4E4345, 0x2F75016E,
          0x43C9E33C, 0x0E578789, 0xC252CEBD, 0x46997149}},
    };
    std::vector<PhysicsMember> members;
    for (const Car& car : cars) {
        const std::string folder = car.folder;
        members.push_back({folder, 0});
        for (int i = 0; i < 11; ++i) {
            if (i == 6) {
                members.push_back({folder + "setups/", 0});
            }
            members.push_back({folder + files[i], car.crcs[std::size_t(i)]});
        }
    }
    const PhysicsMember others[] = {{"Physics/localphysics.lsp", 0x58F54AC0},
                                    {"Physics/michelin/", 0},
                                    {"Physics/michelin/tyres.lsp", 0x5A0949CE},
                                    {"Physics/pirelli/", 0},
                                    {"Physics/pirelli/tyres.lsp", 0x5A0949CE},
                                    {"Physics/physics.dat", 0xE8C47DA3},
                                    {"Physics/school/", 0},
                                    {"Physics/school/gravel.lsp", 0xA187068B},
                                    {"Physics/school/sfgravel.lsp", 0xAD535385},
                                    {"Physics/school/tarmac.lsp", 0xCF2AC546},
                                    {"Physics/physics.lsp", 0x3BBA3193}};
    for (const PhysicsMember& member : others) {
        members.push_back(member);
    }
    return members;
}

} // namespace

const std::vector<PhysicsMember>& StockPhysicsMembers() {
    static const std::vector<PhysicsMember> members = Members();
    return members;
}

std::string ForgeContent(const std::string& path, std::uint32_t crc) {
    if (crc == 0) {
        return {};
    }
    const auto& table = CrcTable();
    std::string content = "; Duneholt Rally physics: " + path + "\r\n";
    std::uint32_t state = 0xFFFFFFFFu;
    for (unsigned char c : content) {
        state = (state >> 8) ^ table[(state ^ c) & 0xFF];
    }
    // After four more bytes the register depends only on the four table rows they select, so
    // those rows can be found from the wanted register, top byte first, and the bytes follow.
    std::uint32_t want = crc ^ 0xFFFFFFFFu;
    std::array<std::uint8_t, 4> rows{};
    for (int k = 3; k >= 0; --k) {
        for (std::uint32_t i = 0; i < 256; ++i) {
            if ((table[i] >> 24) == (want >> 24)) {
                rows[std::size_t(k)] = std::uint8_t(i);
                want = (want ^ table[i]) << 8;
                break;
            }
        }
    }
    for (std::uint8_t row : rows) {
        const std::uint8_t byte = std::uint8_t((state ^ row) & 0xFF);
        content.push_back(char(byte));
        state = (state >> 8) ^ table[row];
    }
    return content;
}

std::string BuildPhysicsArchive() {
    std::string archive;
    std::string directory;
    const std::uint32_t dos_time = (12u << 11) | (0u << 5);
    const std::uint32_t dos_date = ((2004u - 1980u) << 9) | (3u << 5) | 15u;
    int count = 0;
    for (const PhysicsMember& member : StockPhysicsMembers()) {
        const std::string content = ForgeContent(member.path, member.crc);
        const std::uint32_t crc = std::uint32_t(
            ::crc32(0, reinterpret_cast<const Bytef*>(content.data()), uInt(content.size())));
        const std::uint32_t offset = std::uint32_t(archive.size());
        Put32(archive, 0x04034B50);
        Put16(archive, 10);
        Put16(archive, 0);
        Put16(archive, 0);
        Put16(archive, dos_time);
        Put16(archive, dos_date);
        Put32(archive, crc);
        Put32(archive, std::uint32_t(content.size()));
        Put32(archive, std::uint32_t(content.size()));
        Put16(archive, std::uint32_t(member.path.size()));
        Put16(archive, 0);
        archive += member.path;
        archive += content;

        Put32(directory, 0x02014B50);
        Put16(directory, 20);
        Put16(directory, 10);
        Put16(directory, 0);
        Put16(directory, 0);
        Put16(directory, dos_time);
        Put16(directory, dos_date);
        Put32(directory, crc);
        Put32(directory, std::uint32_t(content.size()));
        Put32(directory, std::uint32_t(content.size()));
        Put16(directory, std::uint32_t(member.path.size()));
        Put16(directory, 0);
        Put16(directory, 0);
        Put16(directory, 0);
        Put16(directory, 0);
        Put32(directory, member.path.back() == '/' ? 0x10 : 0x20);
        Put32(directory, offset);
        directory += member.path;
        ++count;
    }
    const std::uint32_t directory_offset = std::uint32_t(archive.size());
    archive += directory;
    Put32(archive, 0x06054B50);
    Put16(archive, 0);
    Put16(archive, 0);
    Put16(archive, std::uint32_t(count));
    Put16(archive, std::uint32_t(count));
    Put32(archive, std::uint32_t(directory.size()));
    Put32(archive, directory_offset);
    Put16(archive, 0);
    return archive;
}

} // namespace sim
