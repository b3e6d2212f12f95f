#include "FreePort.h"
#include "TestRegistry.h"
#include "net/transport/BufferString.h"
#include "net/transport/PublicListing.h"

#include <QNetworkDatagram>
#include <QTest>
#include <QUdpSocket>

using namespace tarvex;

namespace {

QByteArray NextDatagram(QUdpSocket& socket) {
    if (!QTest::qWaitFor([&] { return socket.hasPendingDatagrams(); }, 5000)) {
        return {};
    }
    return socket.receiveDatagram().data();
}

} // namespace

class ListingTest : public QObject {
    Q_OBJECT

private slots:
    void datagramBytes_data() {
        QTest::addColumn<bool>("passworded");
        QTest::addColumn<bool>("start_given");
        QTest::addColumn<QByteArray>("tail");
        QTest::newRow("open, waiting") << false << false << QByteArray("\x00\x01\x0A\xFF", 4);
        QTest::newRow("password, racing") << true << true << QByteArray("\x01\x02\x0A\xFF", 4);
    }
    void datagramBytes() {
        QFETCH(bool, passworded);
        QFETCH(bool, start_given);
        QFETCH(QByteArray, tail);
        ListingInfo info;
        info.player_limit = 12;
        info.player_count = 3;
        info.port = 2005;
        info.server_name = QStringLiteral("Tarvex 3.0 Server");
        info.host_name = QStringLiteral("Ann");
        info.passworded = passworded;
        info.start_given = start_given;
        info.stage_id = 10;
        const QByteArray expected = QByteArray("\x05\x0C\x03\xD5\x07\x00\x00", 7) +
                                    QByteArray("\x11\x00", 2) + "Tarvex 3.0 Server" +
                                    QByteArray("\x03\x00", 2) + "Ann" + tail;
        QCOMPARE(BuildListingDatagram(info), expected);
    }

    // A name too long for its 16-bit count is cut, never in the middle of a character, so the
    // fields after it stay where a reader looks for them.
    void overlongNameIsCutAtACharacter() {
        ListingInfo info;
        // 0xFFFF bytes do not hold a whole number of three-byte characters.
        info.server_name = QString(30000, QChar(0x20AC));
        info.host_name = QStringLiteral("Ann");
        const QByteArray bytes = BuildListingDatagram(info);
        qsizetype pos = 7;
        QCOMPARE(ReadBufferString(bytes, pos),
                 std::optional<QString>(QString(21845, QChar(0x20AC))));
        QCOMPARE(ReadBufferString(bytes, pos), std::optional<QString>(QStringLiteral("Ann")));
        QCOMPARE(bytes.size() - pos, 4);
    }

    // Both endpoints get the same datagram, built afresh at every tick.
    void sendsToListServerAndBroadcast() {
        QUdpSocket list_server;
        QUdpSocket broadcast;
        QVERIFY(list_server.bind(QHostAddress::LocalHost, test::FreeUdpPort()));
        QVERIFY(broadcast.bind(QHostAddress::LocalHost, test::FreeUdpPort()));

        ListingInfo info;
        info.player_limit = 4;
        info.player_count = 1;
        info.port = 2005;
        PublicListing listing([&info] { return info; });
        // A name is looked up on the side; the tick that comes first is sent once it is known.
        listing.SetListServer(QStringLiteral("localhost:%1").arg(list_server.localPort()));
        listing.SetBroadcastTarget(QStringLiteral("127.0.0.1"), broadcast.localPort());
        QVERIFY(listing.LookingUp());

        listing.DoGTimer();
        QVERIFY(listing.IsRunning());
        QCOMPARE(NextDatagram(list_server), BuildListingDatagram(info));
        QCOMPARE(NextDatagram(broadcast), BuildListingDatagram(info));

        info.player_count = 2;
        listing.gTimer_Timer();
        QCOMPARE(NextDatagram(list_server).at(2), '\x02');
        QCOMPARE(NextDatagram(broadcast).at(2), '\x02');

        // Without a listing server only the broadcast endpoint is told.
        listing.SetListServer(QString());
        info.player_count = 3;
        listing.gTimer_Timer();
        QCOMPARE(NextDatagram(broadcast).at(2), '\x03');
        QVERIFY(!list_server.hasPendingDatagrams());
        listing.Stop();
        QVERIFY(!listing.IsRunning());
    }
};

TARVEX_TEST(ListingTest);
#include "ListingTest.moc"
