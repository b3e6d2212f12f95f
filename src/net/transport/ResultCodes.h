#pragma once

#include <QString>
#include <cstdint>

// The numbers the rest of Tarvex speaks with its session layer. They keep the values of the
// DirectPlay8 interface the program was designed against, so result codes shown to users and
// flags passed by callers mean what they always meant.
namespace tarvex::dpn {

using ResultCode = std::uint32_t;

// Player identifiers: non-zero 32-bit values chosen by the host (kept below 0x80000000 so they
// survive being stored as signed Longs). Zero addresses every player.
using PlayerId = std::uint32_t;
inline constexpr PlayerId DPNID_ALL_PLAYERS_GROUP = 0;

// The application identity; a different text on the joining side is a different version.
inline constexpr char ApplicationGuid[] = "{4726CF1F-714B-5108-28BC-EF9C95D9EA19}";

inline constexpr ResultCode DPN_OK = 0;
inline constexpr ResultCode DPNERR_GENERIC = 0x80004005;
inline constexpr ResultCode DPNERR_OUTOFMEMORY = 0x8007000E;
inline constexpr ResultCode DPNERR_ADDRESSING = 0x80158040;
inline constexpr ResultCode DPNERR_CONNECTIONLOST = 0x80158160;
inline constexpr ResultCode DPNERR_HOSTTERMINATEDSESSION = 0x80158270;
inline constexpr ResultCode DPNERR_INVALIDAPPLICATION = 0x80158300;
inline constexpr ResultCode DPNERR_INVALIDPASSWORD = 0x80158410;
inline constexpr ResultCode DPNERR_NORESPONSE = 0x80158530;
inline constexpr ResultCode DPNERR_SESSIONFULL = 0x80158610;
inline constexpr ResultCode DPNERR_USERCANCEL = 0x80158650;

// Send flags. Callers combine them as the three fixed sets below.
inline constexpr std::uint32_t DPNSEND_GUARANTEED = 0x08;
inline constexpr std::uint32_t DPNSEND_NOLOOPBACK = 0x20;
inline constexpr std::uint32_t DPNSEND_PRIORITY_HIGH = 0x80;

// Reliable, ordered per sender: all ordinary traffic.
inline constexpr std::uint32_t SendReliable = DPNSEND_GUARANTEED | DPNSEND_NOLOOPBACK; // 0x28
// Best effort: car states, lag tables, progress.
inline constexpr std::uint32_t SendUnreliable = DPNSEND_NOLOOPBACK; // 0x20
// Reliable on its own lane so nothing queued before it holds it back: the start signal.
inline constexpr std::uint32_t SendUrgent = SendReliable | DPNSEND_PRIORITY_HIGH; // 0xA8

// "80158610": the code as users see it after "0x", upper case without leading zeros.
inline QString HexCode(ResultCode code) {
    return QString::number(code, 16).toUpper();
}

} // namespace tarvex::dpn
