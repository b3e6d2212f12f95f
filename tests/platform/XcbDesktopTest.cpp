#include "platform/linux/XcbDesktop.h"

#include "TestRegistry.h"
#include "XProgram.h"
#include "platform/Platform.h"
#include "platform/linux/XInputKeyboardHook.h"
#include "platform/linux/XcbConnection.h"

#include <QScopeGuard>
#include <QTest>
#include <memory>

using namespace tarvex;

namespace {

std::unique_ptr<XcbDesktop> NewDesktop(const QString& display = {}) {
    return std::make_unique<XcbDesktop>(std::make_shared<XcbConnection>(display));
}

struct Stroke {
    int virtual_key;
    std::uint32_t flags;
    QString text;
    bool operator==(const Stroke&) const = default;
};

} // namespace

class XcbDesktopTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        if (qEnvironmentVariableIsEmpty("DISPLAY")) {
            QSKIP("needs an X server");
        }
    }

    void findsWindowsByClassAnywhereInTheTree() {
        test::XProgram program;
        auto desktop = NewDesktop();
        const xcb_window_t game = program.CreateWindow("D3D Window", 4242);
        const xcb_window_t intro = program.CreateWindow("DHRVideoPlayerDS", 4343);
        // A window manager puts programs' windows inside frames of its own, which have no class.
        const xcb_window_t frame = program.CreateWindow({}, 0);
        const xcb_window_t framed = program.CreateWindow("Framed", 4444, frame);
        // Children of a window that has a class belong to that program and are not searched.
        const xcb_window_t inner = program.CreateWindow("Inner", 1, game);

        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("D3D Window")), game);
        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("d3d window")), game);
        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("DHRVideoPlayerDS")), intro);
        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("Framed")), framed);
        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("Inner")), WindowHandle(0));
        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("prog")), WindowHandle(0)); // instance
        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("D3D")), WindowHandle(0));

        QCOMPARE(desktop->WindowProcessId(game), 4242u);
        QCOMPARE(desktop->WindowProcessId(framed), 4444u);
        QCOMPARE(desktop->WindowProcessId(frame), 0u); // no _NET_WM_PID
        QCOMPARE(desktop->WindowProcessId(0), 0u);

        QVERIFY(desktop->IsWindow(game));
        program.Destroy(game);
        QVERIFY(!desktop->IsWindow(game));
        QVERIFY(!desktop->IsWindow(inner));
        QVERIFY(!desktop->IsWindow(0));
        QCOMPARE(desktop->FindWindowByClass(QStringLiteral("D3D Window")), WindowHandle(0));
        QCOMPARE(desktop->WindowProcessId(game), 0u);
        // A class found nowhere is found as soon as a window of it appears.
        const xcb_window_t restarted = program.CreateWindow("D3D Window", 4545);
        QTRY_COMPARE(desktop->FindWindowByClass(QStringLiteral("D3D Window")), restarted);
        program.Destroy(restarted);
        program.Destroy(intro);
        program.Destroy(frame);
    }

    void foregroundIsTheFocusedTopLevel() {
        test::XProgram program;
        auto desktop = NewDesktop();
        const xcb_window_t game = program.CreateWindow("D3D Window", 4242);
        const xcb_window_t child = program.CreateWindow({}, 0, game);
        program.Map(child);
        program.Map(game);

        program.Focus(game);
        QCOMPARE(desktop->ForegroundWindow(), game);
        program.Focus(child);
        QCOMPARE(desktop->ForegroundWindow(), game);
        program.Focus(XCB_INPUT_FOCUS_POINTER_ROOT);
        QCOMPARE(desktop->ForegroundWindow(), WindowHandle(0));
        program.Focus(XCB_NONE);
        QCOMPARE(desktop->ForegroundWindow(), WindowHandle(0));

        // Under a window manager its active window is the foreground, wherever the focus is.
        const xcb_window_t check = program.CreateWindow({}, 0);
        const xcb_window_t other = program.CreateWindow("Other", 1);
        program.SetWindowProperty(check, "_NET_SUPPORTING_WM_CHECK", check);
        program.SetWindowProperty(program.Root(), "_NET_SUPPORTING_WM_CHECK", check);
        program.SetWindowProperty(program.Root(), "_NET_ACTIVE_WINDOW", other);
        program.Focus(game);
        const WindowHandle managed = desktop->ForegroundWindow();
        // A window manager that has gone leaves its properties behind: the focus counts again.
        program.Destroy(check);
        const WindowHandle after_manager = desktop->ForegroundWindow();
        program.DeleteProperty(program.Root(), "_NET_SUPPORTING_WM_CHECK");
        program.DeleteProperty(program.Root(), "_NET_ACTIVE_WINDOW");
        QCOMPARE(managed, other);
        QCOMPARE(after_manager, game);
        program.Destroy(game);
        program.Destroy(other);
    }

    void closeAsksTheWindowToClose() {
        test::XProgram program;
        auto desktop = NewDesktop();
        const xcb_window_t game = program.CreateWindow("D3D Window", 4242);
        desktop->CloseWindow(game);
        const auto event = program.WaitForEvent(XCB_CLIENT_MESSAGE);
        QVERIFY(event);
        const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event->data());
        QCOMPARE(message.window, game);
        QCOMPARE(message.type, program.Atom("WM_PROTOCOLS"));
        QCOMPARE(message.data.data32[0], program.Atom("WM_DELETE_WINDOW"));
        QVERIFY(desktop->IsWindow(game)); // closing is the program's own decision
        program.Destroy(game);

        // A window that cannot be asked goes with its program's connection.
        test::XProgram stubborn;
        const xcb_window_t window = stubborn.CreateWindow("Stubborn", 1, XCB_NONE, false);
        desktop->CloseWindow(window);
        QVERIFY(!stubborn.WaitForEvent(XCB_CLIENT_MESSAGE));
        QVERIFY(stubborn.IsBroken());
        QVERIFY(!desktop->IsWindow(window));
    }

    void raiseStacksOnTopAndFocuses() {
        test::XProgram program;
        auto desktop = NewDesktop();
        const xcb_window_t lower = program.CreateWindow("Tarvex", 1);
        const xcb_window_t upper = program.CreateWindow("Other", 2);
        program.Map(lower);
        program.Map(upper);
        desktop->RaiseWindow(lower);
        program.Sync();
        const std::vector<xcb_window_t> stack = program.Children(program.Root());
        QVERIFY(!stack.empty());
        QCOMPARE(stack.back(), lower);
        QCOMPARE(desktop->ForegroundWindow(), lower);
        program.Destroy(lower);
        program.Destroy(upper);
    }

    void keysReachTheFocusedWindow_data() {
        QTest::addColumn<int>("virtual_key");
        QTest::addColumn<std::uint32_t>("keysym"); // as the server's own core keymap names it
        QTest::addColumn<QString>("text");
        QTest::newRow("Enter") << 13 << 0xff0du << "\r";
        QTest::newRow("Escape") << 27 << 0xff1bu << "\x1b";
        QTest::newRow("Tab") << 9 << 0xff09u << "\t";
        QTest::newRow("T") << 84 << 0x74u << "t";
        QTest::newRow("7") << 55 << 0x37u << "7";
        QTest::newRow("up") << 38 << 0xff52u << "";
        QTest::newRow("down") << 40 << 0xff54u << "";
        QTest::newRow("F9") << 120 << 0xffc6u << "";
        QTest::newRow("shift") << 16 << 0xffe1u << "";
    }

    void keysReachTheFocusedWindow() {
        QFETCH(int, virtual_key);
        QFETCH(std::uint32_t, keysym);
        QFETCH(QString, text);
        test::XProgram program;
        auto desktop = NewDesktop();
        XInputKeyboardHook translator(std::make_shared<XcbConnection>());
        QList<Stroke> strokes;
        QVERIFY(translator.Hook([&](int key, std::uint32_t flags) {
            strokes.append({key, flags, translator.ToAscii(key, flags)});
        }));
        const xcb_window_t game = program.CreateWindow("D3D Window", 1);
        program.Map(game);
        program.Focus(game);

        QVERIFY(!desktop->IsKeyDown(virtual_key));
        desktop->SendKey(virtual_key, true);
        QVERIFY(desktop->IsKeyDown(virtual_key));
        const auto press = program.WaitForEvent(XCB_KEY_PRESS);
        desktop->SendKey(virtual_key, false);
        QVERIFY(!desktop->IsKeyDown(virtual_key));
        QVERIFY(press);
        const auto& key = *reinterpret_cast<const xcb_key_press_event_t*>(press->data());
        QCOMPARE(key.event, game);
        QCOMPARE(program.KeysymOf(key.detail), keysym);

        // The hook sees the same key: its virtual key, its scan code, and the release bits.
        QTRY_COMPARE(strokes.size(), 2);
        const std::uint32_t scan = std::uint32_t(key.detail - 8) << 16;
        QCOMPARE(strokes[0], (Stroke{virtual_key, 0x00000001u | scan, text}));
        QCOMPARE(strokes[1].virtual_key, virtual_key);
        QCOMPARE(strokes[1].flags, 0xC0000001u | scan);
        program.Destroy(game);
    }

    void hookKeepsItsOwnModifierState() {
        auto desktop = NewDesktop();
        XInputKeyboardHook hook(std::make_shared<XcbConnection>());
        QString typed;
        const auto type_into = [&](int key, std::uint32_t flags) {
            if (!(flags & 0x80000000u)) {
                typed += hook.ToAscii(key, flags);
            }
        };
        const auto stroke = [&](int key) {
            desktop->SendKey(key, true);
            desktop->SendKey(key, false);
        };
        QVERIFY(hook.Hook(type_into));
        stroke('A');
        QTRY_COMPARE(typed, QStringLiteral("a"));

        // Unhooked, nothing arrives; hooked again while shift is held, the shift still counts.
        hook.Unhook();
        QVERIFY(!hook.Hooked());
        stroke('B');
        desktop->SendKey(16, true);
        QTest::qWait(50);
        QVERIFY(hook.Hook(type_into));
        QVERIFY(hook.Hooked());
        stroke('C');
        desktop->SendKey(16, false);
        stroke('D');
        // Shifted digits give their symbol; Backspace and Enter give their control characters.
        desktop->SendKey(16, true);
        stroke('1');
        desktop->SendKey(16, false);
        stroke(8);
        stroke(13);
        QTRY_COMPARE(typed, QStringLiteral("aCd!\b\r"));
        hook.Unhook();
    }

    void hookFollowsAKeymapChange() {
        test::XProgram settings; // the desktop's keyboard settings, switching the layout
        auto desktop = NewDesktop();
        XInputKeyboardHook hook(std::make_shared<XcbConnection>());
        QList<int> keys;
        QString typed;
        QVERIFY(hook.Hook([&](int key, std::uint32_t flags) {
            if (!(flags & 0x80000000u)) {
                keys.append(key);
                typed += hook.ToAscii(key, flags);
            }
        }));
        desktop->SendKey('A', true); // read the desktop's keymap before the change
        desktop->SendKey('A', false);
        QTRY_COMPARE(typed, QStringLiteral("a"));

        // The key that typed "a" now types "q", as on a French layout.
        const xcb_keycode_t key_a = settings.KeycodeOf(0x61);
        QVERIFY(key_a != 0);
        const std::vector<std::uint32_t> original = settings.KeysymsOf(key_a);
        const auto restore = qScopeGuard([&] { settings.SetKeysyms(key_a, original); });
        settings.SetKeysyms(key_a, {0x71, 0x51, 0x71, 0x51});
        desktop->SendKey('A', true); // the same physical key as before
        desktop->SendKey('A', false);
        QTRY_COMPARE(typed, QStringLiteral("aq"));
        QCOMPARE(keys, (QList<int>{'A', 'Q'}));
    }

    void hookButtonReceivesTheGamesClicks() {
        test::XProgram game;
        auto desktop = NewDesktop();
        int clicks = 0;
        const WindowHandle button = desktop->CreateHookButton([&] { ++clicks; });
        QVERIFY(button != 0);
        QVERIFY(desktop->IsWindow(button));
        for (int i = 0; i < 3; ++i) {
            game.SendClick(button);
        }
        QTRY_COMPARE(clicks, 3);

        // A click may arrive while the desktop is busy answering a lookup: it is not lost.
        game.SendClick(button);
        desktop->FindWindowByClass(QStringLiteral("D3D Window"));
        QTRY_COMPARE(clicks, 4);

        desktop->DestroyHookButton(button);
        QVERIFY(!desktop->IsWindow(button));
        game.SendClick(button);
        QTest::qWait(50);
        QCOMPARE(clicks, 4);
    }

    void withoutADisplayNothingIsFound() {
        QVERIFY(!XcbConnection(QStringLiteral(":4999")).IsOpen());
        const QByteArray display = qgetenv("DISPLAY");
        qunsetenv("DISPLAY");
        const Platform platform = Platform::Native();
        qputenv("DISPLAY", display);
        QCOMPARE(platform.desktop->FindWindowByClass(QStringLiteral("D3D Window")),
                 WindowHandle(0));
        QCOMPARE(platform.desktop->CreateHookButton([] {}), WindowHandle(0));
        QVERIFY(!platform.keyboard->Hook([](int, std::uint32_t) {}));
        QVERIFY(platform.memory);
    }
};

TARVEX_TEST(XcbDesktopTest);
#include "XcbDesktopTest.moc"
