#include "net/Trace.h"

#include "net/Messages.h"

namespace tarvex {

Q_LOGGING_CATEGORY(NetTrace, "tarvex.net.trace", QtInfoMsg)

void TraceMessage(TraceDirection direction, std::uint32_t peer, bool from_host,
                  QByteArrayView bytes) {
    if (!NetTrace().isDebugEnabled()) {
        return;
    }
    const char* name =
        bytes.isEmpty() ? "(empty)" : MessageTypeName(std::uint8_t(bytes[0]), from_host);
    qCDebug(NetTrace).noquote().nospace()
        << (direction == TraceDirection::Sent ? "sent to " : "received from ") << "0x"
        << QString::number(peer, 16).rightJustified(8, u'0') << ' ' << name << ' '
        << bytes.toByteArray().toHex(' ');
}

} // namespace tarvex
