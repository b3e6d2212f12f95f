#include "net/transport/Handshake.h"

#include "TestRegistry.h"

#include <QTest>

using namespace tarvex;
using namespace tarvex::handshake;

class HandshakeTest : public QObject {
    Q_OBJECT

private slots:
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
