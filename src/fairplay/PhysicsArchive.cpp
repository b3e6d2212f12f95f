#include "fairplay/PhysicsArchive.h"

#include <QFile>
#include <QHash>
#include <QIODevice>
#include <array>

namespace tarvex {

namespace {

constexpr qint64 kLocalSize = 30;
constexpr qint64 kCentralSize = 46;
// A local and a central header for each of the 65535 members the format can count.
constexpr std::size_t kMaxHeaders = 2 * 65535;

// Little-endian fields of a header read into memory.
class Fields {
public:
    explicit Fields(const QByteArray& bytes)
        : m_bytes(bytes) {}
    std::uint16_t U16() {
        const auto* p = reinterpret_cast<const unsigned char*>(m_bytes.constData()) + m_at;
        m_at += 2;
        return std::uint16_t(p[0] | (p[1] << 8));
    }
    std::uint32_t U32() {
        const std::uint32_t low = U16();
        return low | (std::uint32_t(U16()) << 16);
    }

private:
    const QByteArray& m_bytes;
    qsizetype m_at = 0;
};

// The stock physics files. Each car folder holds the same eleven files.
QHash<QString, std::uint32_t> StockTable() {
    static const char* const kCarFiles[11] = {
        "common.lsp",          "gravel.lsp",   "repair.ini",          "r_gravel.lsp",
        "r_snow.lsp",          "r_tarmac.lsp", "setups/d_gravel.lsp", "setups/d_snow.lsp",
        "setups/d_tarmac.lsp", "snow.lsp",     "tarmac.lsp"};
    struct Car {
        const char* folder;
        std::array<std::uint32_t, 11> crc;
    };
    static const Car kCars[] = {
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
    static const std::pair<const char*, std::uint32_t> kOthers[] = {
        {"Physics/localphysics.lsp", 0x58F54AC0},
        {"Physics/michelin/", 0},
        {"Physics/michelin/tyres.lsp", 0x5A0949CE},
        {"Physics/pirelli/", 0},
        {"Physics/pirelli/tyres.lsp", 0x5A0949CE},
        {"Physics/physics.dat", 0xE8C47DA3},
        {"Physics/school/", 0},
        {"Physics/school/gravel.lsp", 0xA187068B},
        {"Physics/school/sfgravel.lsp", 0xAD535385},
        {"Physics/school/tarmac.lsp", 0xCF2AC546},
        {"Physics/physics.lsp", 0x3BBA3193},
    };
    QHash<QString, std::uint32_t> table;
    for (const Car& car : kCars) {
        const QString folder = QLatin1String(car.folder);
        table.insert(folder, 0);
        table.insert(folder + QStringLiteral("setups/"), 0);
        for (std::size_t i = 0; i < car.crc.size(); ++i) {
            table.insert(folder + QLatin1String(kCarFiles[i]), car.crc[i]);
        }
    }
    for (const auto& [path, crc] : kOthers) {
        table.insert(QLatin1String(path), crc);
    }
    return table;
}

} // namespace

std::vector<ArchiveEntry> ReadArchiveHeaders(QIODevice& archive) {
    std::vector<ArchiveEntry> entries;
    const qint64 size = archive.size();
    qint64 position = 0;
    // The position only ever grows by at least a whole header, and all arithmetic is 64-bit, so
    // no length in a header can wrap it back.
    while (position < size - 1 && entries.size() < kMaxHeaders) {
        if (!archive.seek(position)) {
            break;
        }
        const QByteArray signature_bytes = archive.read(4);
        if (signature_bytes.size() < 4) {
            break;
        }
        const std::uint32_t signature = Fields(signature_bytes).U32();
        if (signature == ArchiveEntry::kEndOfDirectory) {
            break; // the rest of the record says nothing the check needs
        }
        const bool central = signature == ArchiveEntry::kCentralHeader;
        const qint64 header_size = central ? kCentralSize : kLocalSize;
        const QByteArray header = archive.read(header_size - 4);
        if (header.size() < header_size - 4) {
            break;
        }
        ArchiveEntry entry;
        entry.signature = signature;
        Fields fields(header);
        if (central) {
            entry.version_made_by = fields.U16();
        }
        entry.version_needed = fields.U16();
        entry.flags = fields.U16();
        entry.compression = fields.U16();
        entry.modification_time = fields.U16();
        entry.modification_date = fields.U16();
        entry.crc32 = fields.U32();
        entry.compressed_size = fields.U32();
        entry.uncompressed_size = fields.U32();
        entry.name_length = fields.U16();
        entry.extra_length = fields.U16();
        if (central) {
            entry.comment_length = fields.U16();
            entry.disk_number = fields.U16();
            entry.internal_attributes = fields.U16();
            entry.external_attributes = fields.U32();
            entry.local_header_offset = fields.U32();
        }
        const QByteArray name = archive.read(entry.name_length);
        if (name.size() < entry.name_length) {
            break;
        }
        entry.name = QString::fromLatin1(name);
        entries.push_back(entry);
        position += header_size + entry.name_length + entry.extra_length +
                    (central ? entry.comment_length : entry.compressed_size);
        if (position > size) {
            break;
        }
    }
    return entries;
}

std::vector<ArchiveEntry> ReadArchiveHeaders(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return ReadArchiveHeaders(file);
}

std::uint32_t ExpectedCrc(const QString& member) {
    static const QHash<QString, std::uint32_t> kStock = StockTable();
    return kStock.value(member, 0);
}

QString FindModifiedMember(const QString& path) {
    for (const ArchiveEntry& entry : ReadArchiveHeaders(path)) {
        if (entry.crc32 != ExpectedCrc(entry.name)) {
            return entry.name;
        }
    }
    return {};
}

} // namespace tarvex
