#pragma once

#include <QString>
#include <cstdint>
#include <vector>

class QIODevice;

namespace tarvex {

// One header of a ZIP archive as the walk reads it. Local headers leave the central-only fields
// at 0.
struct ArchiveEntry {
    static constexpr std::uint32_t kLocalHeader = 0x04034B50;
    static constexpr std::uint32_t kCentralHeader = 0x02014B50;
    static constexpr std::uint32_t kEndOfDirectory = 0x06054B50;

    std::uint32_t signature = 0;
    std::uint16_t version_made_by = 0;
    std::uint16_t version_needed = 0;
    std::uint16_t flags = 0;
    std::uint16_t compression = 0;
    std::uint16_t modification_time = 0;
    std::uint16_t modification_date = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t compressed_size = 0;
    std::uint32_t uncompressed_size = 0;
    std::uint16_t name_length = 0;
    std::uint16_t extra_length = 0;
    std::uint16_t comment_length = 0;
    std::uint16_t disk_number = 0;
    std::uint16_t internal_attributes = 0;
    std::uint32_t external_attributes = 0;
    std::uint32_t local_header_offset = 0;
    QString name;
};

// Walks the archive's headers from its first byte: local and central headers in file order, up
// to the end-of-directory record. Any signature that is not central or end-of-directory is read
// as a local header. The walk never reads past the end: it stops at a header or name that does
// not fit, after a header whose lengths run past the end, and after a bounded number of
// headers (more than any archive of this format can hold), so damaged or hostile files end it
// quickly.
std::vector<ArchiveEntry> ReadArchiveHeaders(QIODevice& archive);
// The same on a file; an unreadable file has no headers.
std::vector<ArchiveEntry> ReadArchiveHeaders(const QString& path);

// The stock CRC-32 of a member of the game's physics archive; 0 for folders and for paths that
// are not stock. Paths match exactly, case included.
std::uint32_t ExpectedCrc(const QString& member);

// The first header (in file order) whose CRC-32 is not the stock one, or empty when every one
// matches or the file cannot be read.
QString FindModifiedMember(const QString& path);

} // namespace tarvex
