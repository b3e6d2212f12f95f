#include "net/transport/Handshake.h"

#include "TestRegistry.h"

#include <QTest>

using namespace tarvex;
using namespace tarvex::handshake;

class HandshakeTest : public QObject {
    Q_OBJECT

private slots:
    void admitsOrRefusesInOrder_data() {
        QTest::addColumn<QString>("guid");
        QTest::addColumn<QString>("client_password");
        QTest::addColumn<QString>("host_password");
        QTest::addColumn<int>("players");
        QTest::addColumn<int>("limit");
        QTest::addColumn<quint32>("verdict");

        const QString ours = QLatin1String(dpn::ApplicationGuid);
        const QString other = QStringLiteral("{4726CF1F-714B-5108-28BC-EF9C95D9EA18}");
        QTest::newRow("open session") << ours << ""
                                      << "" << 1 << 12 << dpn::DPN_OK;
        QTest::newRow("open session ignores a password") << ours << "x"
                                                         << "" << 5 << 12 << dpn::DPN_OK;
        QTest::newRow("right password") << ours << "pw"
                                        << "pw" << 11 << 12 << dpn::DPN_OK;
        QTest::newRow("wrong password") << ours << "pW"
                                        << "pw" << 1 << 12 << dpn::DPNERR_INVALIDPASSWORD;
        QTest::newRow("no password") << ours << ""
                                     << "pw" << 1 << 12 << dpn::DPNERR_INVALIDPASSWORD;
        QTest::newRow("full") << ours << ""
                              << "" << 2 << 2 << dpn::DPNERR_SESSIONFULL;
        QTest::newRow("version beats password")
            << other << "pw"
            << "pw" << 1 << 12 << dpn::DPNERR_INVALIDAPPLICATION;
        QTest::newRow("version beats wrong password")
            << other << "no"
            << "pw" << 12 << 12 << dpn::DPNERR_INVALIDAPPLICATION;
        QTest::newRow("password beats full") << ours << "no"
                                             << "pw" << 12 << 12 << dpn::DPNERR_INVALIDPASSWORD;
    }
    void admitsOrRefusesInOrder() {
        QFETCH(QString, guid);
        QFETCH(QString, client_password);
        QFETCH(QString, host_password);
        QFETCH(int, players);
        QFETCH(int, limit);
        QFETCH(quint32, verdict);

        const QByteArray nonce = NewNonce();
        const Hello hello{guid, QStringLiteral("Bob"), PasswordProof(nonce, client_password)};
        // Through the wire form, as the host sees it.
        const auto parsed = ParseHello(BuildHello(hello));
        QVERIFY(parsed);
        QCOMPARE(Admit(*parsed, {nonce, host_password, players, limit}), verdict);
    }

    void proofIsBoundToTheNonce() {
        const QByteArray nonce = NewNonce();
        const Hello replayed{QLatin1String(dpn::ApplicationGuid), QStringLiteral("Eve"),
                             PasswordProof(nonce, QStringLiteral("pw"))};
        QCOMPARE(Admit(replayed, {NewNonce(), QStringLiteral("pw"), 1, 12}),
                 dpn::DPNERR_INVALIDPASSWORD);
        QCOMPARE(PasswordProof(QByteArray(16, 'a'), QStringLiteral("pw")).toHex(),
                 QByteArray("eb2f5eb25fc27e54c65208053471878538613b436e540ed2467bc5471dfb6bbf"));
    }

    void acceptHasItsLayout() {
        const QByteArray bytes = BuildAccept({0x01020304, 0x0A0B0C0D, QStringLiteral("Rally"), 8});
        QCOMPARE(bytes, QByteArray("\x03\x04\x03\x02\x01\x0D\x0C\x0B\x0A\x05\x00Rally\x08", 17));
        const auto accept = ParseAccept(bytes);
        QVERIFY(accept);
        QCOMPARE(accept->player_id, 0x01020304u);
        QCOMPARE(accept->host_player_id, 0x0A0B0C0Du);
        QCOMPARE(accept->session_name, QStringLiteral("Rally"));
        QCOMPARE(accept->player_limit, quint8(8));
    }

    void packetsCutShortOrPaddedAreRefused() {
        const QByteArray hello = BuildHello(
            {QLatin1String(dpn::ApplicationGuid), QStringLiteral("Bob"), QByteArray(32, 'p')});
        const QByteArray accept = BuildAccept({7, 9, QStringLiteral("S"), 4});
        const QByteArray challenge = BuildChallenge(QByteArray(16, 'n'));
        for (qsizetype size = 0; size < hello.size(); ++size) {
            QVERIFY(!ParseHello(hello.left(size)));
        }
        for (qsizetype size = 0; size < accept.size(); ++size) {
            QVERIFY(!ParseAccept(accept.left(size)));
        }
        for (qsizetype size = 0; size < challenge.size(); ++size) {
            QVERIFY(!ParseChallenge(challenge.left(size)));
        }
        QVERIFY(!ParseHello(hello + 'x'));
        QVERIFY(!ParseAccept(accept + 'x'));
        QVERIFY(!ParseChallenge(challenge + 'x'));
        // Each kind is only read as itself.
        QVERIFY(!ParseAccept(hello));
        QVERIFY(!ParseHello(challenge));
        QVERIFY(ParseHello(hello) && ParseAccept(accept) && ParseChallenge(challenge));
    }
};

TARVEX_TEST(HandshakeTest);
#include "HandshakeTest.moc"
