#include "chat/InGameChat.h"

#include "chat/ChatConsole.h"
#include "chat/ChatInput.h"
#include "game/GameBridge.h"
#include "game/GameMap.h"
#include "game/GameText.h"
#include "game/RaceBlock.h"
#include "platform/Desktop.h"
#include "platform/KeyboardHook.h"

#include <QStringList>
#include <QTimer>

namespace tarvex {

namespace rb = gamemap::raceblock;

namespace {

constexpr int kKeyT = 84, kKeyTab = 9, kKeyEnter = 13, kKeyBackspace = 8, kKeyF1 = 112;
// Bit 31 of the keystroke flags: the key is going up.
constexpr std::uint32_t kKeyUp = 0x80000000u;

bool Ask(const std::function<bool()>& flag) {
    return flag && flag();
}

} // namespace

InGameChat::InGameChat(GameProcess& game, GameBridge& bridge, Desktop& desktop,
                       KeyboardHook& keyboard, ChatConsole& console, ChatInput& input,
                       QObject* parent)
    : QObject(parent)
    , m_game(game)
    , m_bridge(bridge)
    , m_desktop(desktop)
    , m_keyboard(keyboard)
    , m_console(console)
    , m_input(input)
    , m_text_timer(new QTimer(this)) {
    m_text_timer->setObjectName(QStringLiteral("textTimer"));
    m_text_timer->setInterval(TextIntervalMs);
    connect(m_text_timer, &QTimer::timeout, this, &InGameChat::textTimer_Timer);
}

void InGameChat::SetBoxOpen(bool open) {
    m_box_open = open;
    RunTextTimer();
}

void InGameChat::SetAsleep(bool asleep) {
    m_asleep = asleep;
    RunTextTimer();
}

void InGameChat::RunTextTimer() {
    if (m_box_open && !m_asleep) {
        if (!m_text_timer->isActive()) {
            m_text_timer->start();
        }
    } else {
        m_text_timer->stop();
    }
}

bool InGameChat::CanHookKeyboard() {
    if (m_keyboard.Hooked()) {
        return true;
    }
    const bool ok = m_keyboard.Hook([](int, std::uint32_t) {});
    m_keyboard.Unhook();
    return ok;
}

void InGameChat::HookKeyboard() {
    // Without a hook the line still opens and can be sent; only what is typed does not arrive,
    // which the window said when it loaded.
    m_keyboard.Hook(
        [this](int virtual_key, std::uint32_t flags) { DummyWndProc(virtual_key, flags); });
}

void InGameChat::UnhookKeyboard() {
    m_keyboard.Unhook();
}

void InGameChat::DummyWndProc(int virtual_key, std::uint32_t flags) {
    if ((flags & kKeyUp) != 0) {
        return;
    }
    const QString typed = m_keyboard.ToAscii(virtual_key, flags);
    // One character, which outside the basic plane takes two units. Enter is the poll's.
    const bool one = typed.size() == 1 || (typed.size() == 2 && typed[0].isHighSurrogate());
    const char32_t code = one ? typed.toUcs4().value(0) : 0;
    if (one && code >= 32 && QChar::isPrint(code)) {
        m_input.Append(typed);
    } else if (one && code == kKeyEnter) {
        return;
    } else if (virtual_key == kKeyBackspace) {
        m_input.Backspace();
    }
}

void InGameChat::PollGameKeys() {
    if (!m_game.IsGameForeground()) {
        return;
    }
    auto down = [this](int virtual_key) {
        return m_desktop.IsKeyDown(virtual_key);
    };
    // The line opens when T comes up, so the T itself is not typed into it.
    if (down(kKeyT) && !m_typing) {
        m_t_pressed = true;
    } else if (m_t_pressed) {
        HookKeyboard();
        m_typing = true;
        m_t_pressed = false;
    }
    // Until the start the board stands in for the chat: the drivers see who they wait for.
    m_show_standings =
        !down(kKeyTab) && (Ask(m_race.StartGiven) || Ask(m_race.FalseStartSent)) ? 0 : 1;
    if (down(kKeyEnter) && m_typing) {
        // The last characters typed may still wait on the hook's connection, behind the poll.
        m_keyboard.Drain();
        UnhookKeyboard();
        m_input.SendD();
        m_typing = false;
    }
    for (int k = 1; k <= 9; ++k) {
        const bool held = down(kKeyF1 - 1 + k);
        if (held && !m_quick_key_down[std::size_t(k)]) {
            m_input.sndQuickMsg(k);
        }
        m_quick_key_down[std::size_t(k)] = held;
    }
}

void InGameChat::textTimer_Timer() {
    // Also looks the game up again, so a game started since the last tick is written to.
    const GameBuild build = m_game.GetGameBuild();
    if (!m_game.IsGameForeground()) {
        // The player switched away with the line open: it closes, and what was typed stays in
        // the window's box.
        m_typing = false;
        UnhookKeyboard();
    }
    std::array<QString, 5>& lines = m_console.ChatLines;
    lines[4] = m_input.Text();
    if (m_typing) {
        lines[4].prepend(u'>');
    }
    const std::uint32_t block = GetRaceBlock(m_game, build);
    if (block != 0) {
        if (m_typing) {
            m_game.WriteGameSingle(block + rb::kMessageBoxTime, kHeldSeconds);
        }
        QString text;
        if (m_show_standings == 0) {
            m_bridge.SetMessageBoxPlacement(GameBridge::kNormalBox);
            // Four NULs end the chat text; the text helper writes the last of them.
            text = QStringList(lines.begin(), lines.end()).join(u'\n') + QString(3, QChar(0));
        } else {
            m_bridge.SetMessageBoxPlacement(GameBridge::kBoardBox);
            m_game.WriteGameSingle(block + rb::kMessageBoxTime, kHeldSeconds);
            text = m_race.BoardText ? m_race.BoardText() : QString();
        }
        // Every build gets its text, on the host as on a client: a host driving an older build
        // reads the chat too.
        if (const std::uint32_t buffer = gamemap::MessageBoxBuffer(build)) {
            m_game.WriteGameLong(block + rb::kMessageBoxText, std::int32_t(buffer));
            WriteGameText(m_game, buffer, text);
        }
        m_game.WriteGameByte(block + rb::kMessageBoxReady, 1);
    }
    PollGameKeys();
}

void InGameChat::SetDisplaySeconds(float seconds) {
    if (const std::uint32_t block = GetRaceBlock(m_game, m_game.GetGameBuild())) {
        m_game.WriteGameSingle(block + rb::kMessageBoxTime, seconds);
    }
}

} // namespace tarvex
