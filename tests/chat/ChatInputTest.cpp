#include "chat/ChatInput.h"

#include "TestRegistry.h"
#include "chat/ChatConsole.h"
#include "net/Roster.h"

#include <QTest>

using namespace tarvex;

namespace {

// A chat line with the host's race control behind it, recording what each line did.
struct Box {
    std::uint8_t seconds = 5;
    ChatConsole console{seconds};
    Roster roster;
    std::array<QString, 10> quick;
    ChatInput input{console, roster, quick};
    QStringList sent;
    QStringList actions;

    explicit Box(const QString& caption = {}) {
        input.SetSend([this](const QString& text) { sent << text; });
        if (!caption.isEmpty()) {
            ChatInput::HostCommands commands;
            commands.start_caption = [caption] {
                return caption;
            };
            commands.cmdStart_Click = [this] {
                actions << QStringLiteral("click");
            };
            commands.StartRace = [this] {
                actions << QStringLiteral("force");
            };
            commands.kick = [this](int slot) {
                actions << QStringLiteral("kick %1").arg(slot);
            };
            input.SetHostCommands(commands);
        }
        roster.Occupy(0, 1, QStringLiteral("Hostess"));
        roster.Occupy(1, 2, QStringLiteral("Ann"));
        roster.Occupy(3, 3, QStringLiteral("Bob"));
    }
    void Enter(const QString& line) {
        input.SetText(line);
        input.SendD();
    }
};

} // namespace

class ChatInputTest : public QObject {
    Q_OBJECT

private slots:
    // The host's commands, tried in their order on the start of the line in any letter case;
    // a client has none, and whatever is not a command is said as typed.
    void HandlesCommands_data() {
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("error");
        const QString none;
        const QString not_started = QStringLiteral("Error: Game Not Started");
        const QString started = QStringLiteral("Error: Game Already Started");
        const QString not_found =
            QStringLiteral("Error: Player Not Found - Syntax:  /kick [playername]");
        QTest::newRow("/stop racing") << "Stop"
                                      << "/stop" << none << "click" << none;
        QTest::newRow("/STOPPED racing") << "Stop"
                                         << "/STOPPED now" << none << "click" << none;
        QTest::newRow("/stop idle") << "Start"
                                    << "/stop" << none << none << not_started;
        QTest::newRow("/start idle") << "Start"
                                     << "/Start" << none << "click" << none;
        QTest::newRow("/start racing") << "Stop"
                                       << "/start" << none << none << started;
        QTest::newRow("/fstart racing") << "Stop"
                                        << "/FSTART" << none << "force" << none;
        QTest::newRow("/fstart idle") << "Start"
                                      << "/fstart"
                                      << "/fstart" << none << none;
        QTest::newRow("/kick any case") << "Stop"
                                        << "/kick BOB" << none << "kick 3" << none;
        QTest::newRow("/kick the host") << "Start"
                                        << "/kick Hostess" << none << none << not_found;
        QTest::newRow("/kick a free row") << "Start"
                                          << "/kick Open" << none << none << not_found;
        QTest::newRow("/kick nobody") << "Start"
                                      << "/kick " << none << none << not_found;
        QTest::newRow("/kick no space") << "Start"
                                        << "/kick"
                                        << "/kick" << none << none;
        QTest::newRow("chat") << "Stop"
                              << " /stop"
                              << " /stop" << none << none;
        QTest::newRow("client /stop") << ""
                                      << "/stop"
                                      << "/stop" << none << none;
        QTest::newRow("client /kick") << ""
                                      << "/kick Bob"
                                      << "/kick Bob" << none << none;
    }
    void HandlesCommands() {
        QFETCH(QString, caption);
        QFETCH(QString, line);
        QFETCH(QString, sent);
        QFETCH(QString, action);
        QFETCH(QString, error);
        Box box(caption);
        box.Enter(line);
        QCOMPARE(box.sent, sent.isEmpty() ? QStringList() : QStringList{sent});
        QCOMPARE(box.actions, action.isEmpty() ? QStringList() : QStringList{action});
        QCOMPARE(box.console.Text(), error);
        QCOMPARE(box.input.Text(), QString());
        QCOMPARE(box.input.ChatHistory[9], line); // commands are recalled like any line
    }

    void RecallsSentLines() {
        Box box;
        QVERIFY(box.input.Up()); // nothing sent yet: an empty line
        QCOMPARE(box.input.Text(), QString());
        QVERIFY(box.input.Down());

        box.input.SendD(); // an empty line is neither sent nor kept
        for (int i = 1; i <= 12; ++i) {
            box.Enter(QStringLiteral("line %1").arg(i));
        }
        QCOMPARE(box.sent.size(), 12);
        box.input.SetText(QStringLiteral("draft"));

        // Ten lines are kept; the eleventh Up has nowhere to go.
        QStringList seen;
        for (int i = 0; i < 10; ++i) {
            QVERIFY(box.input.Up());
            seen << box.input.Text();
        }
        QCOMPARE(seen.first(), QStringLiteral("line 12"));
        QCOMPARE(seen.last(), QStringLiteral("line 3"));
        QVERIFY(!box.input.Up());
        QCOMPARE(box.input.Text(), QStringLiteral("line 3"));
        for (int i = 0; i < 10; ++i) {
            QVERIFY(box.input.Down());
        }
        QCOMPARE(box.input.Text(), QStringLiteral("draft")); // the line being typed is kept
        QVERIFY(!box.input.Down());

        // A recalled line, edited and sent, becomes the newest.
        box.input.Up();
        box.input.Append(QStringLiteral("!"));
        box.input.SendD();
        QCOMPARE(box.sent.last(), QStringLiteral("line 12!"));
        box.input.Up();
        QCOMPARE(box.input.Text(), QStringLiteral("line 12!"));
        box.input.Up();
        QCOMPARE(box.input.Text(), QStringLiteral("line 12"));
    }

    void SendsQuickMessagesAndTypedCharacters() {
        Box box;
        box.quick[3] = QStringLiteral("Nice Pass!");
        box.quick[9] = QStringLiteral("My car is damaged!");
        for (int index : {0, 3, 5, 9, 10, -1}) {
            box.input.sndQuickMsg(index);
        }
        QCOMPARE(box.sent, (QStringList{"Nice Pass!", "My car is damaged!"}));

        box.input.Backspace();                           // nothing to remove
        box.input.Append(QStringLiteral("a\U0001F600")); // a character of two UTF-16 units
        box.input.Backspace();
        QCOMPARE(box.input.Text(), QStringLiteral("a"));

        // A pasted 64 KB line, typed on in the game, keeps what one chat line can say.
        box.input.SetText(QString(65536, u'x'));
        box.input.Append(QStringLiteral("y"));
        QCOMPARE(box.input.Text(), QString(255, u'x'));
    }
};

TARVEX_TEST(ChatInputTest);
#include "ChatInputTest.moc"
