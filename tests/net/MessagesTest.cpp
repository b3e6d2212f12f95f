#include "net/Messages.h"

#include "TestRegistry.h"
#include "net/Roster.h"

#include <QRandomGenerator>
#include <QTest>
#include <bit>
#include <functional>

using namespace tarvex;

namespace {

// Decodes a whole message (type byte included) and encodes it again; nothing when the decoder
// refuses it.
using Reencoder = std::function<std::optional<QByteArray>(QByteArrayView)>;

template <class Msg, class... Context>
Reencoder Via(Context... context) {
    return [=](QByteArrayView bytes) -> std::optional<QByteArray> {
        WireReader r(bytes);
        r.U8();
        const std::optional<Msg> msg = Msg::decode(r, context...);
        if (!msg) {
            return std::nullopt;
        }
        return Encode(*msg);
    };
}

QByteArray Hex(const char* text) {
    return QByteArray::fromHex(text);
}

float Bits(std::uint32_t bits) {
    return std::bit_cast<float>(bits);
}

CarStateMsg CarState(std::uint8_t compression) {
    CarStateMsg msg;
    msg.compression = compression;
    msg.slot = 1;
    msg.sent_at = 0x01020304;
    msg.distance = 1.5f;
    msg.progress = 42;
    msg.quaternion = {0, 0, 0, 1};
    msg.angles = {0.5f, -0.25f, 2.0f};
    msg.wide_codes = {180, 359, -1};
    msg.byte_codes = {127, 255, 0};
    // The low bytes of the first and last value do not survive the 3-byte packing.
    msg.position = {Bits(0x3F800001), -2.0f, Bits(0x42C80001)};
    return msg;
}

// Host "Hostess" in slot 0, "Bob" in slot 1, and the newcomer "Cy" already placed in slot 2.
Roster ThreePlayers() {
    Roster roster;
    roster.MaxPlayerCount = 8;
    roster.Occupy(0, 0x00010001, QStringLiteral("Hostess"));
    roster[0].Status = 2;
    roster.cars[0] = {2, 1, 0};
    roster.Occupy(1, 0x00010002, QStringLiteral("Bob"));
    roster[1].Status = 1;
    roster.cars[1] = {5, 0, 3};
    roster.Occupy(2, 0x00010003, QStringLiteral("Cy"));
    roster.PlayerCount = 3;
    return roster;
}

LagTableMsg LagsOfSlots013() {
    Roster roster;
    roster.Occupy(0, 1, QStringLiteral("h"));
    roster.Occupy(1, 2, QStringLiteral("a"));
    roster.Occupy(3, 3, QStringLiteral("b"));
    roster[1].Lag = 17;
    roster[3].Lag = 85;
    return roster.LagTable();
}

GameDataMsg SomeGameData() {
    GameDataMsg msg;
    msg.car = 1;
    msg.transmission = 2;
    msg.tyre = 3;
    msg.country = 4;
    msg.stage_index = 5;
    msg.stage_id = 6;
    msg.weather_mode = 7;
    msg.weather_condition = 8;
    msg.weather_preset = 9;
    msg.humidity = 10;
    msg.tyre_wear = 11;
    msg.damage = 12;
    msg.penalties_disabled = 1;
    msg.setups_allowed = 0;
    msg.data_interval = 150;
    msg.compression = 5;
    msg.ghosts_disabled = 1;
    msg.cheat_protection = 0;
    msg.clock_when_paused = 1;
    msg.rate = 0;
    return msg;
}

} // namespace

Q_DECLARE_METATYPE(Reencoder)

class MessagesTest : public QObject {
    Q_OBJECT

private:
    // Every message kind: what our encoder makes, the bytes it must be (written out by hand),
    // how it travels, and how to read it back.
    void AddRows() {
        QTest::addColumn<QByteArray>("encoded");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<std::uint32_t>("flags");
        QTest::addColumn<Reencoder>("reencode");

        QTest::newRow("1 chat") << Encode(ChatMsg{3, QStringLiteral("hi!")})
                                << Hex("01 03 0300 686921") << 0x28u << Via<ChatMsg>();
        QTest::newRow("1 chat, UTF-8") << Encode(ChatMsg{0, QStringLiteral("\u00e9")})
                                       << Hex("01 00 0200 c3a9") << 0x28u << Via<ChatMsg>();
        QTest::newRow("2 welcome to the third player")
            << Encode(ThreePlayers().Welcome(2, 0))
            << Hex("02 02 03 08 00"
                   "00 01000100 02 01 00 02 0700 486f7374657373"
                   "01 02000100 05 00 03 01 0300 426f62")
            << 0x28u << Via<WelcomeMsg>();
        QTest::newRow("2 welcome to the first player, race on")
            << Encode(WelcomeMsg{1,
                                 2,
                                 12,
                                 1,
                                 {{0, 7, RowCar::NoChoice, RowCar::NoChoice, RowCar::NoChoice, 1,
                                   QStringLiteral("H")}}})
            << Hex("02 01 02 0c 01 00 07000000 ff ff ff 01 0100 48") << 0x28u << Via<WelcomeMsg>();
        QTest::newRow("3 quit") << Encode(QuitMsg{1, 2, 8}) << Hex("03 01 02 08") << 0x28u
                                << Via<QuitMsg>();
        QTest::newRow("5 lag table, slots 0 1 3")
            << Encode(LagsOfSlots013()) << Hex("05 00 11 55") << 0x20u << Via<LagTableMsg>(3);
        QTest::newRow("6 join") << Encode(JoinMsg{2, 3, 8, 0x12345678, QStringLiteral("Ann")})
                                << Hex("06 02 03 08 78563412 0300 416e6e") << 0x28u
                                << Via<JoinMsg>();
        QTest::newRow("7 status") << Encode(GameStatusMsg{4, 5}) << Hex("07 04 05") << 0x28u
                                  << Via<GameStatusMsg>();
        QTest::newRow("8 game data")
            << Encode(SomeGameData())
            << Hex("08 01 02 03 04 05 06 07 08 09 0a 0b 0c 01 00 9600 05 01 00 01 00") << 0x28u
            << Via<GameDataMsg>();
        QTest::newRow("9 car choice") << Encode(CarChoiceMsg{3, 7, 1, 2}) << Hex("09 03 07 01 02")
                                      << 0x28u << Via<CarChoiceMsg>();
        QTest::newRow("10 car state, level 0") << Encode(CarState(0))
                                               << Hex("0a 01 04030201 0000c03f 2a"
                                                      "00000000 00000000 00000000 0000803f"
                                                      "0100803f 000000c0 0100c842")
                                               << 0x20u << Via<CarStateMsg>(std::uint8_t(0));
        QTest::newRow("10 car state, level 1") << Encode(CarState(1))
                                               << Hex("0a 01 04030201 0000c03f 2a"
                                                      "0000003f 000080be 00000040"
                                                      "0100803f 000000c0 0100c842")
                                               << 0x20u << Via<CarStateMsg>(std::uint8_t(1));
        QTest::newRow("10 car state, level 2")
            << Encode(CarState(2))
            << Hex("0a 01 04030201 0000c03f 2a b400 6701 ffff 0100803f 000000c0 0100c842") << 0x20u
            << Via<CarStateMsg>(std::uint8_t(2));
        QTest::newRow("10 car state, level 3")
            << Encode(CarState(3))
            << Hex("0a 01 04030201 0000c03f 2a 7f ff 00 0100803f 000000c0 0100c842") << 0x20u
            << Via<CarStateMsg>(std::uint8_t(3));
        QTest::newRow("10 car state, level 4")
            << Encode(CarState(4))
            << Hex("0a 01 04030201 0000c03f 2a b400 6701 ffff 00803f 0000c0 00c842") << 0x20u
            << Via<CarStateMsg>(std::uint8_t(4));
        QTest::newRow("10 car state, level 5")
            << Encode(CarState(5))
            << Hex("0a 01 04030201 0000c03f 2a 7f ff 00 00803f 0000c0 00c842") << 0x20u
            << Via<CarStateMsg>(std::uint8_t(5));
        QTest::newRow("11 race state")
            << Encode(RaceStateMsg{1}) << Hex("0b 01") << 0x28u << Via<RaceStateMsg>();
        QTest::newRow("12 progress")
            << Encode(ProgressMsg{3, 100}) << Hex("0c 03 64") << 0x20u << Via<ProgressMsg>();
        QTest::newRow("13 start") << Encode(StartRaceMsg{}) << Hex("0d") << 0xA8u
                                  << Via<StartRaceMsg>();
        QTest::newRow("14 split 1")
            << Encode(TimeMsg{MessageType::Split1, 2, 12.5f}) << Hex("0e 02 00004841") << 0x28u
            << Via<TimeMsg>(MessageType::Split1);
        QTest::newRow("15 split 2")
            << Encode(TimeMsg{MessageType::Split2, 1, 60.0f}) << Hex("0f 01 00007042") << 0x28u
            << Via<TimeMsg>(MessageType::Split2);
        QTest::newRow("16 finish")
            << Encode(TimeMsg{MessageType::Finish, 0, 83.25f}) << Hex("10 00 0080a642") << 0x28u
            << Via<TimeMsg>(MessageType::Finish);
        QTest::newRow("18 false start")
            << Encode(FalseStartMsg{5}) << Hex("12 05") << 0x28u << Via<FalseStartMsg>();
        QTest::newRow("19 vote") << Encode(VoteRestartMsg{4}) << Hex("13 04") << 0x28u
                                 << Via<VoteRestartMsg>();
        QTest::newRow("19 restart")
            << Encode(DoRestartMsg{}) << Hex("13") << 0x28u << Via<DoRestartMsg>();
        QTest::newRow("21 sync") << Encode(SyncMsg{}) << Hex("15") << 0x28u << Via<SyncMsg>();
        QTest::newRow("21 sync reply")
            << Encode(SyncReplyMsg{-2}) << Hex("15 feffffff") << 0x28u << Via<SyncReplyMsg>();
    }

private slots:
    void EncodesTheWireBytes_data() { AddRows(); }
    void EncodesTheWireBytes() {
        QFETCH(QByteArray, encoded);
        QFETCH(QByteArray, expected);
        QCOMPARE(encoded.toHex(' '), expected.toHex(' '));
    }

    // Decoding the hand-written bytes and encoding the result gives them back, so every field
    // was read from its own place.
    void DecodesTheWireBytes_data() { AddRows(); }
    void DecodesTheWireBytes() {
        QFETCH(QByteArray, expected);
        QFETCH(Reencoder, reencode);
        const std::optional<QByteArray> again = reencode(expected);
        QVERIFY(again);
        QCOMPARE(again->toHex(' '), expected.toHex(' '));
    }

    // A message is exactly its layout: one byte short or one byte over, and it is not ours to
    // act on or to relay.
    void RefusesEveryOtherLength_data() { AddRows(); }
    void RefusesEveryOtherLength() {
        QFETCH(QByteArray, expected);
        QFETCH(Reencoder, reencode);
        for (qsizetype size = 0; size < expected.size(); ++size) {
            QVERIFY2(!reencode(expected.left(size)), qPrintable(QString::number(size)));
        }
        QVERIFY(!reencode(expected + '\0'));
        QVERIFY(!reencode(expected + QByteArray(65000, 'x')));
    }

    // Random bytes never crash a decoder, and what a decoder accepts from them is exactly the
    // bytes it got (texts kept to printable ASCII so they survive the round trip byte for
    // byte).
    void SurvivesGarbage_data() { AddRows(); }
    void SurvivesGarbage() {
        QFETCH(QByteArray, expected);
        QFETCH(Reencoder, reencode);
        QRandomGenerator random(0x7a5e + quint32(expected[0]));
        for (int round = 0; round < 2000; ++round) {
            QByteArray garbage(random.bounded(0, 48), Qt::Uninitialized);
            const bool ascii = round % 2 == 0;
            for (char& byte : garbage) {
                byte = char(ascii ? random.bounded(0x20, 0x7F) : random.bounded(0, 0x100));
            }
            // Small text lengths make it past the length check now and then.
            if (garbage.size() > 8 && round % 4 == 0) {
                garbage[2] = char(random.bounded(0, 8));
                garbage[3] = 0;
            }
            garbage.prepend(expected[0]);
            const std::optional<QByteArray> decoded = reencode(garbage);
            if (decoded && ascii) {
                QCOMPARE(decoded->toHex(), garbage.toHex());
            }
        }
    }

    // Values no copy of ours sends: they come only from a broken or hostile peer, and would
    // otherwise index past a table or reach a conversion that has no answer for them.
    void RefusesImpossibleValues_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<Reencoder>("reencode");
        QTest::newRow("chat from slot 13") << Hex("01 0d 0000") << Via<ChatMsg>();
        QTest::newRow("chat of 256 characters")
            << Encode(ChatMsg{1, QString(256, u'x')}) << Via<ChatMsg>();
        QTest::newRow("chat of 128 surrogate pairs")
            << Encode(ChatMsg{1, QString::fromUtf16(u"\U0001F600").repeated(128)})
            << Via<ChatMsg>();
        QTest::newRow("chat whose count alone is too long")
            << Hex("01 01 ffff") + QByteArray(0xFFFF, 'x') << Via<ChatMsg>();
        QTest::newRow("status of slot 12") << Hex("07 0c 01") << Via<GameStatusMsg>();
        QTest::newRow("car choice of slot 12") << Hex("09 0c 01 01 01") << Via<CarChoiceMsg>();
        QTest::newRow("false start of slot 12") << Hex("12 0c") << Via<FalseStartMsg>();
        QTest::newRow("progress of 101 %") << Hex("0c 03 65") << Via<ProgressMsg>();
        QTest::newRow("race state 2") << Hex("0b 02") << Via<RaceStateMsg>();
        QTest::newRow("join into slot 12") << Hex("06 0c 03 08 78563412 0000") << Via<JoinMsg>();
        QTest::newRow("join into the host's slot")
            << Hex("06 00 03 08 78563412 0000") << Via<JoinMsg>();
        QTest::newRow("join with a limit of 13")
            << Hex("06 02 03 0d 78563412 0000") << Via<JoinMsg>();
        QTest::newRow("join of a 33-character name")
            << Encode(JoinMsg{2, 3, 8, 7, QString(33, u'x')}) << Via<JoinMsg>();
        QTest::newRow("quit of the host") << Hex("03 00 02 08") << Via<QuitMsg>();
        QTest::newRow("welcome into slot 12") << Hex("02 0c 01 08 00") << Via<WelcomeMsg>();
        QTest::newRow("welcome into the host's slot") << Hex("02 00 01 08 00") << Via<WelcomeMsg>();
        QTest::newRow("welcome with 13 players")
            << Hex("02 01 0d 0c 00") + QByteArray(12 * 11, '\0') << Via<WelcomeMsg>();
        QTest::newRow("welcome entry in slot 12")
            << Hex("02 01 02 08 00 0c 01000000 00 00 00 01 0000") << Via<WelcomeMsg>();
        QTest::newRow("welcome entry in the newcomer's own slot")
            << Hex("02 01 02 08 00 01 01000000 00 00 00 01 0000") << Via<WelcomeMsg>();
        QTest::newRow("welcome naming one slot twice")
            << Hex("02 01 03 08 00 00 01000000 00 00 00 01 0000 00 02000000 00 00 00 01 0000")
            << Via<WelcomeMsg>();
        QTest::newRow("finish at NaN")
            << Hex("10 01 0000c07f") << Via<TimeMsg>(MessageType::Finish);
        QTest::newRow("finish at infinity")
            << Hex("10 01 0000807f") << Via<TimeMsg>(MessageType::Finish);
        QTest::newRow("split at -1e30")
            << Encode(TimeMsg{MessageType::Split1, 1, -1e30f}) << Via<TimeMsg>(MessageType::Split1);
        QTest::newRow("split past the results' no-time")
            << Encode(TimeMsg{MessageType::Split2, 1, 10000.5f})
            << Via<TimeMsg>(MessageType::Split2);
        QTest::newRow("car state at distance NaN")
            << Hex("0a 01 04030201 0000c07f 2a 7f ff 00 00803f 0000c0 00c842")
            << Via<CarStateMsg>(std::uint8_t(5));
        QTest::newRow("car state at 101 %")
            << Hex("0a 01 04030201 0000c03f 65 7f ff 00 00803f 0000c0 00c842")
            << Via<CarStateMsg>(std::uint8_t(5));
        QTest::newRow("car state with an infinite packed position")
            << Hex("0a 01 04030201 0000c03f 2a 7f ff 00 00807f 0000c0 00c842")
            << Via<CarStateMsg>(std::uint8_t(5));
        QTest::newRow("car state with a quaternion part of 1e30")
            << Hex("0a 01 04030201 0000c03f 2a 00000000 00000000 cdcc4c72 0000803f"
                   "0000803f 000000c0 0000c842")
            << Via<CarStateMsg>(std::uint8_t(0));
        QTest::newRow("status of slot 200") << Hex("07 c8 01") << Via<GameStatusMsg>();
        QTest::newRow("status 6") << Hex("07 01 06") << Via<GameStatusMsg>();
        QTest::newRow("quit of slot 13") << Hex("03 0d 02 08") << Via<QuitMsg>();
        QTest::newRow("join into slot 255") << Hex("06 ff 03 08 78563412 0000") << Via<JoinMsg>();
        QTest::newRow("welcome into slot 13") << Hex("02 0d 01 08 00") << Via<WelcomeMsg>();
        QTest::newRow("welcome with no players") << Hex("02 01 00 08 00") << Via<WelcomeMsg>();
        QTest::newRow("game data at level 6")
            << Hex("08 01 02 03 04 05 06 07 08 09 0a 0b 0c 01 00 9600 06 01 00 01 00")
            << Via<GameDataMsg>();
        QTest::newRow("car state at level 6")
            << Hex("0a 01 04030201 0000c03f 2a") + QByteArray(28, '\0')
            << Via<CarStateMsg>(std::uint8_t(6));
        QTest::newRow("lag table longer than the roster")
            << Hex("05 00 11 55 01") << Via<LagTableMsg>(3);
        QTest::newRow("text longer than the message") << Hex("01 00 0500 6869") << Via<ChatMsg>();
    }
    void RefusesImpossibleValues() {
        QFETCH(QByteArray, bytes);
        QFETCH(Reencoder, reencode);
        QVERIFY(!reencode(bytes));
    }

    // A name or a chat line arrives as one line: nothing a text box would break a line at
    // survives, and a TAB is a space. Texts at their caps still pass.
    void ReadsTextsAsOneLine_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<Reencoder>("reencode");
        QTest::addColumn<QString>("text");
        // Where the text field starts in the message.
        QTest::addColumn<int>("text_at");
        const QString forged =
            QString::fromUtf16(u"hi\r\n\u2028\u2029\u0085\t\x0b\x0c* Quit: (Bob)");
        const QString one_line = QStringLiteral("hi        * Quit: (Bob)");
        QTest::newRow("chat") << Encode(ChatMsg{1, forged}) << Via<ChatMsg>() << one_line << 2;
        QTest::newRow("joiner's name")
            << Encode(JoinMsg{2, 3, 8, 7, forged}) << Via<JoinMsg>() << one_line << 8;
        QTest::newRow("name in a welcome")
            << Encode(WelcomeMsg{1, 2, 8, 0, {{0, 7, 1, 1, 1, 1, forged}}}) << Via<WelcomeMsg>()
            << one_line << 14;
        QTest::newRow("chat of 255 characters")
            << Encode(ChatMsg{1, QString(255, u'x')}) << Via<ChatMsg>() << QString(255, u'x') << 2;
        QTest::newRow("name of 32 three-byte characters")
            << Encode(JoinMsg{2, 3, 8, 7, QString(32, QChar(0x20AC))}) << Via<JoinMsg>()
            << QString(32, QChar(0x20AC)) << 8;
    }
    void ReadsTextsAsOneLine() {
        QFETCH(QByteArray, bytes);
        QFETCH(Reencoder, reencode);
        QFETCH(QString, text);
        QFETCH(int, text_at);
        const std::optional<QByteArray> again = reencode(bytes);
        QVERIFY(again);
        WireReader r(*again);
        r.Skip(std::size_t(text_at));
        QCOMPARE(r.Text(MaxChatChars), text);
    }

    // What this copy sends is cut to the caps, never in the middle of a character.
    void CutsOwnTextsToTheirCaps() {
        const QString pair = QString::fromUtf16(u"\U0001F600");
        QCOMPARE(SeatedName(QString(31, u'a') + pair), QString(31, u'a'));
        QCOMPARE(SeatedName(QString(30, u'a') + pair + u'b'), QString(30, u'a') + pair);
        QCOMPARE(SeatedName(QStringLiteral("Ann\r\nBob")), QStringLiteral("Ann  Bob"));
        QCOMPARE(ChatText(QString(300, u'x')), QString(255, u'x'));
    }
};

TARVEX_TEST(MessagesTest);
#include "MessagesTest.moc"
