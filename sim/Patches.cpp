#include "Patches.h"

#include "Layout.h"

namespace sim {

namespace {

// Stock code for a patched run: plausible instruction bytes of the same length that differ
// from the patch at every position, so a half-written patch never reads as applied.
std::string StockFor(const std::string& patch, std::uint32_t address) {
    static const char* const filler = "8B4C24088B44240C50E8";
    std::string stock;
    for (std::size_t i = 0; i + 1 < patch.size(); i += 2) {
        std::string pair = {filler[(i + address * 2) % 20], filler[(i + 1 + address * 2) % 20]};
        if (patch[i] != '?' && HexBytes(pair) == HexBytes(patch.substr(i, 2))) {
            pair = "CC";
        }
        stock += pair;
    }
    return stock;
}

std::vector<PatchRow> Rows(int build) {
    struct Source {
        int row;
        std::uint32_t b3, b4;
        bool module;
        const char *p3, *p4;
    };
    static const Source sources[] = {
        {2, 0x6726E, 0x664E8, true, "909090909090", "909090909090"},
        {3, 0x7F0AB, 0x7DB6C, true, "8B", "93"},
        {4, 0x7F0BB, 0x7DB76, true, "8B", "93"},
        {5, 0x7F0CE, 0x7DB7C, true, "8B", "8b"},
        {15, 0x482AF2, 0x48454F, false, "0f8581feffff", "0f8581feffff"},
        {16, 0x482AFF, 0x48455C, false, "e975feffff", "e975feffff"},
        {17, 0x5430CB, 0x539EFB, false, "9090", "9090"},
        {18, 0x492C0F, 0x4934FF, false, "3BD2", "3BD2"},
        {19, 0x4819DC, 0x483405, false, "9090", "9090"},
        {20, 0x492D3E, 0x49362C, false, "909090909090", "909090909090"},
        {21, 0x47DF15, 0x47F9A5, false, "9090909090", "9090909090"},
        {23, 0x493976, 0x494374, false, "6A006A0068F500000068????????FF15e4967200",
         "6A006A0068F500000068????????FF15b4c67100"},
        {25, 0x49399A, 0x494398, false, "9090909090", "9090909090"},
        {26, 0x493663, 0x49401B, false, "909090909090", "909090909090"},
        {27, 0x57A162, 0x5702B7, false, "EB16", "EB10"},
        {28, 0x5B2034, 0x5A7574, false, "E9C7E1E4FF9090", "E9878CE5FF9090"},
        {29, 0x400200, 0x400200, false,
         "8BBC24B8010000893DFC0140008B3DD835890081C77C1B00008B3F3B3DFC014000740C8BBC24B801"
         "0000E90C1E1B00BF40A77F00E9021E1B00",
         "8BBC24B8010000893DFC0140008B3D2857880081C77C1B00008B3F3B3DFC014000740C8BBC24B801"
         "0000E94C731A00BF40b77E00E942731A00"},
        {30, 0x5735D8, 0x569982, false, "C7813801000001000000", "C7813801000001000000"},
        {31, 0x5735E5, 0x56998F, false, "C7813801000001000000", "C7813801000001000000"},
        {32, 0x5735F2, 0x56999C, false, "C7813801000001000000", "C7813801000001000000"},
        {33, 0x5735FF, 0x5699A9, false, "C7813801000001000000", "C7813801000001000000"},
        {34, 0x57360C, 0x5699B6, false, "C7813801000001000000", "C7813801000001000000"},
        {35, 0x5735B9, 0x569969, false, "90909090909090909090909090909090", "90909090909090909090"},
        {38, 0x572E3F, 0x569265, false, "9090909090909090", "90909090909090909090"},
        {39, 0x57A068, 0x570197, false, "9090909090909090", "909090909090"},
        {40, 0x57A0F8, 0x570243, false, "EB19", "EB23"},
        {47, 0x5662A6, 0x55C926, false, "B1??9090", "B1??9090"},
        {49, 0x58BD80, 0x581950, false, "C705000A400001000000C20800", "C705000A400001000000C20800"},
        {51, 0x58D940, 0x583500, false, "C705040A400001000000C20800", "C705040A400001000000C20800"},
        {53, 0x58BEE0, 0x581AB0, false, "C705080A400001000000C20800", "C705080A400001000000C20800"},
    };
    // Row 36 is a list of NOP runs, and row 38 has a second run in build 3.
    struct Run {
        std::uint32_t address;
        const char* bytes;
    };
    static const Run nops3[] = {
        {0x47871E, "90"},         {0x4787D6, "90"},         {0x4787E9, "9090909090"},
        {0x478C10, "90"},         {0x478C1D, "9090909090"}, {0x56EA14, "90"},
        {0x56EA29, "9090909090"}, {0x56EA7F, "90"},         {0x56EAA8, "9090909090"},
        {0x57A3A5, "9090909090"}, {0x57A394, "90"},         {0x5793EB, "9090"}};
    static const Run nops4[] = {
        {0x47A4C3, "90"},         {0x47A4C8, "9090909090"}, {0x47A8B5, "90"},
        {0x47A8D0, "9090909090"}, {0x56501A, "90"},         {0x56503D, "9090909090"},
        {0x565089, "90"},         {0x5650AC, "9090909090"}, {0x57053F, "9090909090"},
        {0x570526, "90"},         {0x5704BC, "90"},         {0x5704CB, "9090909090"},
        {0x56F508, "9090"}};
    std::vector<PatchRow> rows;
    if (build != 3 && build != 4) {
        return rows;
    }
    for (const Source& s : sources) {
        PatchRow row;
        row.row = s.row;
        row.address = build == 3 ? s.b3 : s.b4;
        row.module = s.module;
        row.bytes = build == 3 ? s.p3 : s.p4;
        rows.push_back(row);
    }
    if (build == 3) {
        rows.push_back({38, 0x572E4E, false, "9090909090909090", "", {}, {}});
        for (const Run& run : nops3) {
            rows.push_back({36, run.address, false, run.bytes, "", {}, {}});
        }
    } else {
        for (const Run& run : nops4) {
            rows.push_back({36, run.address, false, run.bytes, "", {}, {}});
        }
    }
    for (PatchRow& row : rows) {
        for (std::size_t i = 0; i + 1 < row.bytes.size(); i += 2) {
            const bool operand = row.bytes[i] == '?';
            row.operand.push_back(operand);
            row.patched.push_back(operand ? 0 : HexBytes(row.bytes.substr(i, 2))[0]);
        }
        if (row.row == 29) {
            row.stock = std::string(row.bytes.size(), 'C'); // padding between functions
        } else if (row.row == 47) {
            row.stock = "8A4E1C90"; // the game reads its own tyre choice here
        } else {
            row.stock = StockFor(row.bytes, row.address);
        }
    }
    return rows;
}

} // namespace

const std::vector<PatchRow>& PatchRows(int build) {
    static const std::vector<PatchRow> rows[5] = {{}, {}, {}, Rows(3), Rows(4)};
    return rows[(build >= 1 && build <= 4) ? build : 0];
}

const PatchRow* FindRow(int build, int row) {
    for (const PatchRow& r : PatchRows(build)) {
        if (r.row == row) {
            return &r;
        }
    }
    return nullptr;
}

bool PatchApplied(const AddressSpace& memory, const PatchRow& row, std::uint32_t module_base) {
    if (row.module && module_base == 0) {
        return false;
    }
    const std::uint32_t address = row.module ? module_base + row.address : row.address;
    std::uint8_t actual[64];
    const std::size_t size = row.patched.size();
    if (size > sizeof actual || !memory.Read(address, actual, size)) {
        return false;
    }
    for (std::size_t i = 0; i < size; ++i) {
        if (!row.operand[i] && row.patched[i] != actual[i]) {
            return false;
        }
    }
    return true;
}

std::uint32_t HookHandleAddress(int build) {
    return build == 3 ? 0x493980 : build == 4 ? 0x49437E : 0;
}

void InstallStockCode(AddressSpace& memory, int build) {
    for (const PatchRow& row : PatchRows(build)) {
        std::string stock = row.stock;
        if (row.row == 23) {
            // The stock call posts to the game's own window procedure.
            stock =
                "8B4D086A0068F5000000" + std::string("FC084000") + "FF15" + row.bytes.substr(32);
        }
        memory.SetHex(row.module ? ModuleBase + row.address : row.address, stock);
    }
}

} // namespace sim
