#include "chat/InGameChat.h"

#include "FreePort.h"
#include "InProcessGame.h"
#include "RealMachine.h"
#include "TestRegistry.h"
#include "XProgram.h"
#include "app/ClientFRM.h"
#include "app/ServerFRM.h"
#include "app/Tarvex.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace tarvex;
using test::InProcessGame;

namespace {

sim::Options Build(int build) {
    sim::Options options;
    options.build = build;
    return options;
}

QByteArray Bytes(sim::AddressSpace& memory, std::uint32_t address, qsizetype size) {
    const std::vector<std::uint8_t> bytes = memory.Bytes(address, std::size_t(size));
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size()));
}

QByteArray Utf16(const QString& text) {
    QByteArray bytes;
    for (QChar c : text) {
        bytes.append(char(c.unicode() & 0xFF)).append(char(c.unicode() >> 8));
    }
    return bytes;
}

QString Overlay(const test::Machine& machine) {
    return machine.Status().value(QStringLiteral("overlay_text")).toString();
}

// Keys pressed on a machine's keyboard, as a player presses them: each held for two ticks of
// the key poll, so that the poll sees it down however busy the machine is.
struct Keyboard {
    Tarvex& tarvex;

    void Hold(int key) {
        tarvex.platform().desktop->SendKey(key, true);
        WaitTicks(2);
    }
    void Release(int key) {
        tarvex.platform().desktop->SendKey(key, false);
        WaitTicks(2);
    }
    void Press(int key) {
        Hold(key);
        Release(key);
    }
    // Typed characters reach the chat line through the hook, which needs no poll.
    void Type(const QString& keys) {
        for (QChar key : keys) {
            tarvex.platform().desktop->SendKey(key.toUpper().unicode(), true);
            tarvex.platform().desktop->SendKey(key.toUpper().unicode(), false);
        }
    }
    void WaitTicks(int ticks) {
        QSignalSpy spy(&tarvex.in_game_chat().textTimer(), &QTimer::timeout);
        QTRY_VERIFY(spy.size() >= ticks);
    }
};

constexpr int kT = 'T', kTab = 9, kEnter = 13, kUp = 38, kF3 = 114;

} // namespace

// The overlay as each build of the game receives it, on the game's own side of its memory.
class InGameChatTest : public QObject {
    Q_OBJECT

private slots:
    void WritesTheOverlayIntoEveryBuild_data() {
        QTest::addColumn<int>("build");
        QTest::addColumn<quint32>("buffer");
        QTest::newRow("build 1") << 1 << 0x7D2800u;
        QTest::newRow("build 2") << 2 << 0x7F5000u;
        QTest::newRow("build 3") << 3 << 0x7FA740u;
        QTest::newRow("build 4") << 4 << 0x7EB740u;
    }
    void WritesTheOverlayIntoEveryBuild() {
        QFETCH(int, build);
        QFETCH(quint32, buffer);
        InProcessGame game(Build(build));
        test::TempFolder folder;
        Tarvex tarvex(game.TarvexPlatform(), folder.Path());
        tarvex.IsHost = true; // the host writes every build too
        tarvex.flags.StartGiven = 1;
        tarvex.settings.ChatSeconds = 9;
        const std::uint32_t block = game.Game().RaceBlock();

        // Each console line keeps the game's box up for the chat time.
        tarvex.console.DisplayText(QStringLiteral("* Join: (Åsa)"));
        QCOMPARE(game.Memory().F32(block + 0x2D0), 9.0f);
        tarvex.console.DisplayMsg(QStringLiteral("Привет ☃ \U0001F3C1"), QStringLiteral("Zoë"));
        tarvex.chat_input.SetText(QStringLiteral("draft"));
        const QString text = QStringLiteral("\n\n* Join: (Åsa)\nZoë> Привет ☃ \U0001F3C1\ndraft");
        const std::uint32_t after = buffer + std::uint32_t(2 * text.size() + 8);
        game.Memory().SetU32(after, 0xFFFFFFFF);
        tarvex.in_game_chat().textTimer_Timer();

        // UTF-16, ended by four NULs and nothing more.
        QCOMPARE(game.Memory().U32(block + 0x12C), buffer);
        QCOMPARE(Bytes(game.Memory(), buffer, 2 * text.size() + 12),
                 Utf16(text) + QByteArray(8, '\0') + QByteArray(4, '\xFF'));
        QCOMPARE(game.Memory().U8(block + 0x138), 1);
        QVERIFY(game.RunUntil([&] { return !game.Status().overlay_text.empty(); }, 1000));
        QCOMPARE(QString::fromStdString(game.Status().overlay_text), text);
        QCOMPARE(game.Status().box,
                 (std::array<float, 6>{370.0f, 87.0f, 640.0f, 10.0f, 600.0f, 60.0f}));
    }

    // Anna hosts and Bob joins, each with a real game on a display of their own, and Anna
    // starts a race from her chat box. Bob chats in his game with his machine's keyboard; both
    // consoles and both games show it.
    void ChatsInsideRealGames() {
        const QString built = test::BuiltGame();
        if (built.isEmpty()) {
            QSKIP("the stand-in game is not built");
        }
        test::Machine anna(built, {});
        test::Machine bob(built, {});
        if (!anna.Started() || !bob.Started()) {
            QSKIP("could not start the X servers");
        }
        Tarvex& host = *anna.tarvex;
        Tarvex& client = *bob.tarvex;
        host.IsHost = true;
        host.MyName = QStringLiteral("Anna");
        client.MyName = QStringLiteral("Bob");
        for (Tarvex* copy : {&host, &client}) {
            copy->settings.ChatSeconds = 10;
            copy->settings.QuickMessages[3] = QStringLiteral("Nice Pass!");
        }
        ServerFRM server(host);
        server.setAttribute(Qt::WA_DeleteOnClose, false);
        ClientFRM window(client);
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        const quint16 port = test::FreeUdpPort();
        QVERIFY(host.server().InitServer(QStringLiteral("Chat"), 4, port, {}));
        server.PrepareSession(QStringLiteral("Chat"));
        QVERIFY(client.client().Connect(QStringLiteral("127.0.0.1"), port, client.MyName, {}));
        QTRY_VERIFY_WITH_TIMEOUT(client.client_side().Welcomed(), 10000);
        // The keyboard can be watched on both machines: nobody is told otherwise.
        QVERIFY(anna.fake.dialogs->messages.isEmpty() && bob.fake.dialogs->messages.isEmpty());

        // Both Ready; Anna's game is slow to come up, so the start waits for her.
        host.chkReady().SetTicked(true);
        client.chkReady().SetTicked(true);
        QTRY_COMPARE(host.roster[1].Status, std::uint8_t(PlayerStatus::Ready));
        anna.HoldLaunch();
        QLineEdit* box = server.findChild<QLineEdit*>(QStringLiteral("dataTXT"));
        QTest::keyClicks(box, QStringLiteral("/start"));
        QTest::keyClick(box, Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(bob.GameRunning(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(client.game().IsGameForeground(), 10000);

        // At the line before the start signal, the board stands in Bob's message box.
        QTRY_VERIFY_WITH_TIMEOUT(Overlay(bob).startsWith(QStringLiteral("Name ")) &&
                                     Overlay(bob).contains(QStringLiteral("\nBob ")),
                                 30000);
        // Bob jumps the start from the line: the chat lines come back.
        QTRY_VERIFY_WITH_TIMEOUT(client.reader().InStage(), 30000);
        Keyboard keys{client};
        keys.Press(kUp);
        QTRY_VERIFY(client.reader().FalseStartSent());
        QTRY_COMPARE(Overlay(bob), QStringLiteral("\n\n\n\n"));
        anna.ReleaseLaunch();
        QTRY_VERIFY_WITH_TIMEOUT(client.flags.StartGiven == 1 && host.flags.StartGiven == 1, 30000);

        // T opens the line when it comes up; what Bob types shows behind ">" in his game; Enter
        // says it to everyone.
        keys.Hold(kT);
        QVERIFY(!client.in_game_chat().Typing());
        keys.Release(kT);
        QVERIFY(client.in_game_chat().Typing());
        keys.Type(QStringLiteral("hi"));
        QTRY_COMPARE(client.chat_input.Text(), QStringLiteral("hi"));
        QTRY_VERIFY(Overlay(bob).endsWith(QStringLiteral("\n>hi")));
        // Enter straight after the last characters, polled before the event loop has taken them
        // off the hook's connection: the line still goes out whole.
        keys.Type(QStringLiteral(" all"));
        client.platform().desktop->SendKey(kEnter, true);
        client.in_game_chat().PollGameKeys();
        keys.Release(kEnter);
        QVERIFY(!client.in_game_chat().Typing());
        for (test::Machine* machine : {&anna, &bob}) {
            QTRY_COMPARE(machine->tarvex->console.Text(), QStringLiteral("<Bob> hi all"));
            QTRY_VERIFY(Overlay(*machine).endsWith(QStringLiteral("\nBob> hi all\n")));
        }

        // F3 held for a while says its quick message once; pressed again, once more.
        keys.Hold(kF3);
        keys.WaitTicks(3);
        keys.Release(kF3);
        QTRY_VERIFY(host.console.Text().endsWith(QStringLiteral("<Bob> Nice Pass!")));
        keys.Press(kF3);
        QTRY_COMPARE(host.console.Text().count(QStringLiteral("<Bob> Nice Pass!")), 2);
        QCOMPARE(client.console.Text().count(QStringLiteral("<Bob> Nice Pass!")), 2);

        // Tab shows the board for as long as it is held.
        keys.Hold(kTab);
        QTRY_VERIFY(Overlay(bob).startsWith(QStringLiteral("Name ")));
        keys.Release(kTab);
        QTRY_VERIFY(Overlay(bob).endsWith(QStringLiteral("\nBob> Nice Pass!\n")));

        // Switching away from the game closes the line; what was typed stays in the box, unsent.
        keys.Press(kT);
        keys.Type(QStringLiteral("later"));
        QTRY_COMPARE(client.chat_input.Text(), QStringLiteral("later"));
        test::XProgram other(bob.Display());
        const xcb_window_t elsewhere = other.CreateWindow("Terminal");
        other.Map(elsewhere);
        other.Focus(elsewhere);
        keys.WaitTicks(2);
        QVERIFY(!client.in_game_chat().Typing());
        keys.Press(kEnter);
        QCOMPARE(window.findChild<QLineEdit*>(QStringLiteral("dataTXT"))->text(),
                 QStringLiteral("later"));
        QVERIFY(!host.console.Text().contains(QStringLiteral("later")));
    }
};

TARVEX_TEST(InGameChatTest);
#include "InGameChatTest.moc"
