#include "net/transport/PublicListing.h"

#include "net/transport/BufferString.h"

#include <QHostInfo>
#include <QLoggingCategory>
#include <QTimer>
#include <QUdpSocket>

Q_DECLARE_LOGGING_CATEGORY(lcTransport)

namespace tarvex {

namespace {

constexpr quint8 ListingKind = 5;
constexpr quint8 EndMark = 255;

} // namespace

QByteArray BuildListingDatagram(const ListingInfo& info) {
    QByteArray bytes;
    bytes.append(static_cast<char>(ListingKind));
    bytes.append(static_cast<char>(info.player_limit));
    bytes.append(static_cast<char>(info.player_count));
    const auto port = static_cast<quint32>(info.port);
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.append(static_cast<char>((port >> shift) & 0xFF));
    }
    AppendBufferString(bytes, info.server_name);
    AppendBufferString(bytes, info.host_name);
    bytes.append(static_cast<char>(info.passworded ? 1 : 0));
    bytes.append(static_cast<char>(info.start_given ? 2 : 1));
    bytes.append(static_cast<char>(info.stage_id));
    bytes.append(static_cast<char>(EndMark));
    return bytes;
}

PublicListing::PublicListing(std::function<ListingInfo()> current, QObject* parent)
    : QObject(parent)
    , m_current(std::move(current))
    , m_timer(new QTimer(this)) {
    m_list_server.socket = new QUdpSocket(this);
    m_broadcast.socket = new QUdpSocket(this);
    m_timer->setInterval(IntervalMs);
    connect(m_timer, &QTimer::timeout, this, &PublicListing::gTimer_Timer);
}

void PublicListing::SetBroadcastTarget(const QString& address, quint16 port) {
    SetEndpoint(m_broadcast, address, port);
}

void PublicListing::SetListServer(const QString& host_and_port) {
    const qsizetype colon = host_and_port.lastIndexOf(QLatin1Char(':'));
    bool ok = false;
    const uint port = colon > 0 ? host_and_port.mid(colon + 1).toUInt(&ok) : 0;
    if (colon > 0 && (!ok || port == 0 || port > 65535)) {
        qCWarning(lcTransport) << "listing server" << host_and_port << "has no valid port";
    }
    if (!ok || port == 0 || port > 65535) {
        SetEndpoint(m_list_server, QString(), 0);
        return;
    }
    SetEndpoint(m_list_server, host_and_port.left(colon), static_cast<quint16>(port));
}

bool PublicListing::LookingUp() const {
    return m_list_server.looking_up || m_broadcast.looking_up;
}

void PublicListing::SetEndpoint(Endpoint& endpoint, const QString& host, quint16 port) {
    const quint64 generation = ++endpoint.generation;
    endpoint.address.clear();
    endpoint.port = port;
    endpoint.looking_up = false;
    endpoint.owed = false;
    const QString name = host.trimmed();
    if (name.isEmpty() || port == 0 || endpoint.address.setAddress(name)) {
        return;
    }
    // A name that does not resolve leaves that endpoint silent instead of holding up the host.
    endpoint.looking_up = true;
    QHostInfo::lookupHost(name, this, [this, &endpoint, generation](const QHostInfo& info) {
        if (generation != endpoint.generation) {
            return;
        }
        endpoint.looking_up = false;
        for (const QHostAddress& address : info.addresses()) {
            if (address.protocol() == QAbstractSocket::IPv4Protocol) {
                endpoint.address = address;
                break;
            }
        }
        if (endpoint.address.isNull()) {
            qCWarning(lcTransport)
                << "listing endpoint" << info.hostName() << "could not be resolved";
        } else if (endpoint.owed && IsRunning()) {
            SendTo(endpoint, BuildListingDatagram(m_current()));
        }
        endpoint.owed = false;
    });
}

void PublicListing::SendTo(Endpoint& endpoint, const QByteArray& datagram) {
    if (endpoint.looking_up) {
        endpoint.owed = true;
    } else if (!endpoint.address.isNull() && endpoint.port != 0) {
        endpoint.socket->writeDatagram(datagram, endpoint.address, endpoint.port);
    }
}

void PublicListing::DoGTimer() {
    m_timer->start();
    gTimer_Timer();
}

void PublicListing::Stop() {
    m_timer->stop();
}

bool PublicListing::IsRunning() const {
    return m_timer->isActive();
}

void PublicListing::gTimer_Timer() {
    const QByteArray datagram = BuildListingDatagram(m_current());
    SendTo(m_list_server, datagram);
    SendTo(m_broadcast, datagram);
}

} // namespace tarvex
