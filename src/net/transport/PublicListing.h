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
// Endpoints given by name are looked up without holding up the host; an endpoint whose name
// is still being looked up at a tick gets that tick's datagram once its address is known.
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
    // True while a name given for an endpoint is still being looked up.
    bool LookingUp() const;

    // Starts the timer and sends one datagram at once.
    void DoGTimer();
    void Stop();
    bool IsRunning() const;

    // The tick: builds the datagram and sends it to both endpoints.
    void gTimer_Timer();

private:
    struct Endpoint {
        QUdpSocket* socket = nullptr;
        QHostAddress address;
        quint16 port = 0;
        // Which setting a look-up answers; a newer setting makes older answers void.
        quint64 generation = 0;
        bool looking_up = false;
        bool owed = false;
    };

    void SetEndpoint(Endpoint& endpoint, const QString& host, quint16 port);
    void SendTo(Endpoint& endpoint, const QByteArray& datagram);

    std::function<ListingInfo()> m_current;
    QTimer* m_timer;
    Endpoint m_list_server;
    Endpoint m_broadcast;
};

} // namespace tarvex
