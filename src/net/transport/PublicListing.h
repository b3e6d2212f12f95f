#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QString>
#include <functional>

class QTimer;
class QUdpSocket;

namespace tarvex {

// What a host announces about its session.
struct ListingInfo {
    quint8 player_limit = 0;
    quint8 player_count = 0;
    qint32 port = 0;
    QString server_name;
    QString host_name;
    bool passworded = false;
    bool start_given = false;
    quint8 stage_id = 0;
};

// The listing datagram:
//   [5] [player limit: u8] [player count: u8] [port: i32 LE] [server name: text]
//   [host name: text] [passworded: u8 0/1] [racing: u8, 1 before the start signal, 2 after]
//   [stage id: u8] [255]
QByteArray BuildListingDatagram(const ListingInfo& info);

// Announces a hosted session every 10 s over UDP: first to the listing server (when one is
// configured), then to the broadcast endpoint. Nothing is ever received on these sockets.
class PublicListing : public QObject {
    Q_OBJECT

public:
    static constexpr int IntervalMs = 10000;

    // `current` is asked for fresh values at every tick.
    explicit PublicListing(std::function<ListingInfo()> current, QObject* parent = nullptr);

    // The broadcast endpoint (BroadcastAddress, BroadcastPort as a number).
    void SetBroadcastTarget(const QString& address, quint16 port);
    // The listing server as "host:port"; empty or unreadable means there is none.
    void SetListServer(const QString& host_and_port);

    // Starts the timer and sends one datagram at once.
    void DoGTimer();
    void Stop();
    bool IsRunning() const;

    // The tick: builds the datagram and sends it to both endpoints.
    void gTimer_Timer();

private:
    std::function<ListingInfo()> m_current;
    QTimer* m_timer;
    QUdpSocket* m_global_socket;
    QUdpSocket* m_broadcast_socket;
    QHostAddress m_broadcast_address;
    quint16 m_broadcast_port = 0;
    QHostAddress m_list_server_address;
    quint16 m_list_server_port = 0;
};

} // namespace tarvex
