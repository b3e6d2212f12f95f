#include "chat/InGameChat.h"

#include "InProcessGame.h"
#include "TestRegistry.h"
#include "app/Tarvex.h"

#include <QTest>

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
};

TARVEX_TEST(InGameChatTest);
#include "InGameChatTest.moc"
