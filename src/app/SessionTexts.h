#pragma once

#include "net/transport/ResultCodes.h"

#include <QString>
#include <optional>

namespace tarvex {

// What a client tells its user about the outcome of a connect attempt: nothing for success
// or a cancelled attempt, else the line the connect dialog shows.
inline std::optional<QString> ConnectRefusalText(dpn::ResultCode result) {
    switch (result) {
    case dpn::DPN_OK:
    case dpn::DPNERR_USERCANCEL:
        return std::nullopt;
    case dpn::DPNERR_SESSIONFULL:
        return QStringLiteral("Session Full");
    case dpn::DPNERR_INVALIDPASSWORD:
        return QStringLiteral("Invalid Password");
    case dpn::DPNERR_INVALIDAPPLICATION:
        return QStringLiteral("Wrong Version");
    default:
        return QStringLiteral("Error: 0x") + dpn::HexCode(result);
    }
}

// The console line of a client whose session ended.
inline QString TerminationLine(dpn::ResultCode result) {
    return result == dpn::DPNERR_HOSTTERMINATEDSESSION
               ? QStringLiteral("* Disconnected from Server")
               : QStringLiteral("* Connection Lost");
}

} // namespace tarvex
