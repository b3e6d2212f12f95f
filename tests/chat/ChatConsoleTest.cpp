#include "chat/ChatConsole.h"

#include "TestRegistry.h"
#include "chat/GameMessageBox.h"
#include "chat/Handover.h"
#include "platform/fake/FakeShell.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace tarvex;

namespace {

class RecordingMessageBox final : public GameMessageBox {
public:
    void SetDisplaySeconds(float seconds) override { seconds_written.append(seconds); }
    QList<float> seconds_written;
};

} // namespace

class ChatConsoleTest : public QObject {
    Q_OBJECT

private slots:
    void FormsChatLines_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("console");
        QTest::addColumn<QString>("overlay");
        const auto row = [](const char* name, const char* text, const char* console,
                            const char* overlay) {
            QTest::newRow(name) << QString::fromLatin1(text) << QString::fromLatin1(console)
                                << QString::fromLatin1(overlay);
        };
        row("plain", "hello all", "<Bob> hello all", "Bob> hello all");
        row("/me", "/me waves", "* Bob waves", "* Bob waves");
        row("/ME in capitals", "/ME waves", "* Bob waves", "* Bob waves");
        row("/Me alone with its space", "/Me ", "* Bob ", "* Bob ");
        row("/me without a space", "/mewaves", "<Bob> /mewaves", "Bob> /mewaves");
        row("/me without anything", "/me", "<Bob> /me", "Bob> /me");
        // What a player types cannot start a line of its own that passes for someone else's.
        row("line breaks", "hi\r\n<Ann> I quit\n", "<Bob> hi  <Ann> I quit ",
            "Bob> hi  <Ann> I quit ");
        row("/me with a line break", "/me waves\r* Join: (Cy)\t", "* Bob waves * Join: (Cy) ",
            "* Bob waves * Join: (Cy) ");
        row("/me after a line break", "/me\nwaves", "<Bob> /me waves", "Bob> /me waves");
        row("empty", "", "<Bob> ", "Bob> ");
    }
    void FormsChatLines() {
        QFETCH(QString, text);
        QFETCH(QString, console);
        QFETCH(QString, overlay);
        const std::uint8_t seconds = 10;
        ChatConsole chat(seconds);
        chat.DisplayMsg(text, QStringLiteral("Bob"));
        QCOMPARE(chat.Text(), console);
        QCOMPARE(chat.ChatLines[3], overlay);
    }

    // The first line starts the box; each later one goes after a CR LF, and the overlay keeps
    // the newest four, oldest first.
    void AppendsLinesAndKeepsTheLastFour() {
        const std::uint8_t seconds = 10;
        ChatConsole chat(seconds);
        QSignalSpy appended(&chat, &ChatConsole::Appended);
        chat.ChatLines[4] = QStringLiteral(">typing");

        chat.DisplayText(QStringLiteral("* Join: (Ann)"));
        chat.DisplayMsg(QStringLiteral("hi"), QStringLiteral("Ann"));
        chat.DisplayText(QStringLiteral("three"));
        chat.DisplayText(QStringLiteral("four"));
        chat.DisplayMsg(QStringLiteral("/me leaves"), QStringLiteral("Ann"));

        QCOMPARE(chat.Text(), QStringLiteral("* Join: (Ann)\r\n<Ann> hi\r\nthree\r\nfour\r\n"
                                             "* Ann leaves"));
        QCOMPARE(appended.size(), 5);
        QCOMPARE(appended[0][0].toString(), QStringLiteral("* Join: (Ann)"));
        QCOMPARE(appended[1][0].toString(), QStringLiteral("\r\n<Ann> hi"));
        const std::array<QString, 5> expected = {
            QStringLiteral("Ann> hi"), QStringLiteral("three"), QStringLiteral("four"),
            QStringLiteral("* Ann leaves"), QStringLiteral(">typing")};
        QCOMPARE(chat.ChatLines, expected);
    }

    // Each line keeps the game's message box up for the configured time, read when the line is
    // shown; without a game there is nowhere to write and nothing else changes.
    void KeepsTheGameMessageBoxOpen() {
        std::uint8_t seconds = 7;
        ChatConsole chat(seconds);
        chat.DisplayText(QStringLiteral("before any game"));

        RecordingMessageBox box;
        chat.SetGameMessageBox(&box);
        chat.DisplayMsg(QStringLiteral("go"), QStringLiteral("Ann"));
        seconds = 0;
        chat.DisplayText(QStringLiteral("quiet"));
        QCOMPARE(box.seconds_written, (QList<float>{7.0f, 0.0f}));
        QCOMPARE(chat.Text(), QStringLiteral("before any game\r\n<Ann> go\r\nquiet"));
    }

    void OpensInTheGameFolder_data() {
        QTest::addColumn<QString>("game_path");
        QTest::addColumn<QString>("folder");
        QTest::newRow("registry path") << "C:\\Games\\Duneholt Rally\\DuneholtRally.exe"
                                       << "C:\\Games\\Duneholt Rally";
        QTest::newRow("unix path") << "/opt/duneholt/DuneholtRally"
                                   << "/opt/duneholt";
        QTest::newRow("mixed") << "/home/u/.wine/drive_c/Games\\DuneholtRally.exe"
                               << "/home/u/.wine/drive_c/Games";
        QTest::newRow("failed registry lookup") << "\\DuneholtRally.exe"
                                                << "";
        QTest::newRow("unset") << ""
                               << "";
    }
    void OpensInTheGameFolder() {
        QFETCH(QString, game_path);
        QFETCH(QString, folder);
        FakeShell shell;
        QVERIFY(ShellOpen(shell, QStringLiteral("https://example.org/x"), game_path));
        QCOMPARE(shell.calls.size(), 1);
        QCOMPARE(shell.calls[0].target, QStringLiteral("https://example.org/x"));
        QCOMPARE(shell.calls[0].working_folder, folder);
    }

    // The cues the native sound plays are built into the program as playable WAVE files.
    void BuildsTheCuesIn_data() {
        QTest::addColumn<QString>("resource");
        QTest::newRow("TEST") << ":/sounds/test.wav";
        QTest::newRow("GO") << ":/sounds/go.wav";
    }
    void BuildsTheCuesIn() {
        QFETCH(QString, resource);
        QFile file(resource);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QVERIFY(bytes.size() > 1000);
        QCOMPARE(bytes.mid(0, 4), QByteArray("RIFF"));
        QCOMPARE(bytes.mid(8, 8), QByteArray("WAVEfmt "));
    }
};

TARVEX_TEST(ChatConsoleTest);
#include "ChatConsoleTest.moc"
