#pragma once

#include "race/RaceSettings.h"

#include <QString>
#include <array>
#include <cstdint>

namespace tarvex {

// The user's configuration as the settings file stores it. Loaded once at start-up, changed in
// place by the windows (and, on a client, by the host's game data), saved when the host starts
// a server and when a race window closes.
struct Settings {
    // The connect dialog as last used in host mode.
    QString MaxPlayers;
    QString ServerName;
    QString PlayerName;
    QString HostAddress;
    QString HostPort;
    // The connect dialog as last used in client mode.
    QString ClientServerName;
    QString ClientName;
    QString ClientHost;
    QString ClientPort;

    QString BroadcastAddress;
    QString BroadcastPort;
    // "host:port" of a listing server that collects public sessions; empty = none.
    QString ListServer;
    QString GamePath;

    std::uint8_t PublicListing = 0;
    std::uint8_t ShowJoinQuit = 0;
    std::uint8_t ShowAheadBehind = 0;
    std::uint8_t ShowSplits = 0;
    std::uint8_t ChatSeconds = 0;
    std::uint8_t ShowGhost = 0;
    std::uint8_t NameHeight = 0;
    std::uint8_t NameOpacity = 0;

    // Decided by the host and sent to every client with the game data.
    std::uint8_t GhostsDisabled = 0;
    std::uint8_t CheatProtection = 0;
    std::int16_t DataInterval = 0;
    std::uint8_t Compression = 0;
    std::uint8_t ClockWhenPaused = 0;
    std::uint8_t VoteAllowed = 0;
    std::uint8_t RateAuto = 0;
    std::uint8_t Rate = 0;

    std::uint8_t GhostModel = 0;
    std::uint8_t ShowNameTag = 0;
    std::uint8_t BypassProfile = 0;
    std::uint8_t ProfileSlot = 0;

    // Texts of the quick messages F1..F9, at indices 1..9 (index 0 is unused).
    std::array<QString, 10> QuickMessages;
};

// Everything the settings file holds: the record above plus the race fields and both car
// choices (the host's own and the one used when joining as a client).
struct StoredSettings {
    Settings settings;
    RaceSettings race;
    CarSelection host_car;
    CarSelection client_car;
};

} // namespace tarvex
