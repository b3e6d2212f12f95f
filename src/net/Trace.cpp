#include "net/Trace.h"

#include "net/Messages.h"

namespace tarvex {

Q_LOGGING_CATEGORY(NetTrace, "tarvex.net.trace", QtInfoMsg)

void TraceMessage(TraceDirection direction, std::uint32_t peer, bool from_host,
                  QByteArrayView bytes) {
    if (!NetTrace().isDebugEnabled()) {
        return;
    }
    QString line = (direction == TraceDirection::Sent ? QStringLiteral("sent to 0x")
                                                      : QStringLiteral("received from 0x")) +
                   QString::number(peer, 16).rightJustified(8, u'0') + u' ';
    if (bytes.isEmpty()) {
        line += QStringLiteral("(empty)");
    } else {
        line += QLatin1String(MessageTypeName(std::uint8_t(bytes[0]), from_host)) + u' ' +
                QString::fromLatin1(bytes.toByteArray().toHex(' '));
    }
    qCDebug(NetTrace).noquote() << line;
}

} // namespace tarvex
