#pragma once

#include <QByteArrayView>
#include <QLoggingCategory>
#include <cstdint>

namespace tarvex {

// Every session message sent or received, one line each. Off by default; turn it on with
//   QT_LOGGING_RULES="tarvex.net.trace.debug=true"
Q_DECLARE_LOGGING_CATEGORY(NetTrace)

enum class TraceDirection { Sent, Received };

// "sent to 0x00010002 SendMsg 01 00 03 00 68 69 21": direction, the peer's player id (0 = all),
// the message's name and its bytes. `from_host` tells the two meanings of the shared type
// numbers apart.
void TraceMessage(TraceDirection direction, std::uint32_t peer, bool from_host,
                  QByteArrayView bytes);

} // namespace tarvex
