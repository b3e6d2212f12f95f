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

// Names are looked up once, when the listing starts; a name that does not resolve leaves that
// endpoint silent instead of holding up the host.
QHostAddress Resolve(const QString& host) {
    QHostAddress literal;
    if (literal.setAddress(host)) {
        return literal;
    }
    const QHostInfo info = QHostInfo::fromName(host);
    for (const QHostAddress& address : info.addresses()) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol) {
            return address;
        }
    }
    qCWarning(lcTransport) << "listing endpoint" << host << "could not be resolved";
    return {};
}

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
    , m_timer(new QTimer(this))
    , m_global_socket(new QUdpSocket(this))
    , m_broadcast_socket(new QUdpSocket(this)) {
    m_timer->setInterval(IntervalMs);
    connect(m_timer, &QTimer::timeout, this, &PublicListing::gTimer_Timer);
}

void PublicListing::SetBroadcastTarget(const QString& address, quint16 port) {
    m_broadcast_address = Resolve(address);
    m_broadcast_port = port;
}

void PublicListing::SetListServer(const QString& host_and_port) {
    m_list_server_address.clear();
    m_list_server_port = 0;
    const qsizetype colon = host_and_port.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0) {
        return;
    }
    bool ok = false;
    const uint port = host_and_port.mid(colon + 1).toUInt(&ok);
    if (!ok || port == 0 || port > 65535) {
        qCWarning(lcTransport) << "listing server" << host_and_port << "has no valid port";
        return;
    }
    m_list_server_address = Resolve(host_and_port.left(colon));
    m_list_server_port = static_cast<quint16>(port);
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
    if (!m_list_server_address.isNull() && m_list_server_port != 0) {
        m_global_socket->writeDatagram(datagram, m_list_server_address, m_list_server_port);
    }
    if (!m_broadcast_address.isNull() && m_broadcast_port != 0) {
        m_broadcast_socket->writeDatagram(datagram, m_broadcast_address, m_broadcast_port);
    }
}

} // namespace tarvex
