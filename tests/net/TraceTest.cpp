#include "net/Trace.h"

#include "TestRegistry.h"
#include "net/Messages.h"

#include <QLoggingCategory>
#include <QTest>

using namespace tarvex;

// The packet trace, as someone chasing a protocol problem reads it.
class TraceTest : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { QLoggingCategory::setFilterRules(QString()); }

    void IsSilentUnlessTurnedOn() { QVERIFY(!NetTrace().isDebugEnabled()); }

    void PrintsDirectionPeerNameAndBytes_data() {
        QTest::addColumn<bool>("sent");
        QTest::addColumn<uint>("peer");
        QTest::addColumn<bool>("from_host");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("line");
        QTest::newRow("chat to all") << true << 0u << true << Encode(ChatMsg{0, "hi"})
                                     << "sent to 0x00000000 SendMsg 01 00 02 00 68 69";
        QTest::newRow("vote from a client")
            << false << 0x10002u << false << Encode(VoteRestartMsg{2})
            << "received from 0x00010002 VoteRestart 13 02";
        QTest::newRow("restart from the host")
            << false << 0x10001u << true << Encode(DoRestartMsg{})
            << "received from 0x00010001 DoRestart 13";
        QTest::newRow("empty answer")
            << false << 0x10002u << false << QByteArray() << "received from 0x00010002 (empty)";
        QTest::newRow("unknown type") << false << 0x10002u << false << QByteArray("\x63\x01", 2)
                                      << "received from 0x00010002 unknown 63 01";
    }
    void PrintsDirectionPeerNameAndBytes() {
        QFETCH(bool, sent);
        QFETCH(uint, peer);
        QFETCH(bool, from_host);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, line);
        QLoggingCategory::setFilterRules(QStringLiteral("tarvex.net.trace.debug=true"));
        QTest::ignoreMessage(QtDebugMsg, line.toUtf8().constData());
        TraceMessage(sent ? TraceDirection::Sent : TraceDirection::Received, peer, from_host,
                     bytes);
    }
};

TARVEX_TEST(TraceTest);
#include "TraceTest.moc"
