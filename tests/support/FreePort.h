#pragma once

#include <QHostAddress>
#include <QUdpSocket>

namespace tarvex::test {

// A UDP port that nothing on this machine listens on right now.
inline quint16 FreeUdpPort() {
    QUdpSocket probe;
    probe.bind(QHostAddress::LocalHost, 0);
    return probe.localPort();
}

} // namespace tarvex::test
