#pragma once

#include "chat/GameMessageBox.h"
#include "game/GameProcess.h"

#include <QObject>
#include <QString>
#include <array>
#include <cstdint>
#include <functional>

class QTimer;

namespace tarvex {

class ChatConsole;
class ChatInput;
class Desktop;
class GameBridge;
class KeyboardHook;

// Chat inside the running game. The game draws a message box from a text buffer Tarvex writes
// into its memory: the last four console lines and the line being typed, or, while Tab is held
// and until the start signal, the standings board. T opens the line; the keys typed then are
// watched through the keyboard hook and land in the window's chat line, Enter sends it as the
// window's own Enter would, and F1..F9 say the quick messages.
class InGameChat : public QObject, public GameMessageBox {
    Q_OBJECT

public:
    static constexpr int TextIntervalMs = 100;
    // How long the box stays up after each tick that shows the typed line or the board.
    static constexpr float kHeldSeconds = 5.0f;

    // What the race loop knows that the overlay shows.
    struct Race {
        std::function<bool()> StartGiven;
        // A false start has been reported on this stage: the board no longer hides the chat.
        std::function<bool()> FalseStartSent;
        std::function<QString()> BoardText;
    };

    InGameChat(GameProcess& game, GameBridge& bridge, Desktop& desktop, KeyboardHook& keyboard,
               ChatConsole& console, ChatInput& input, QObject* parent = nullptr);

    void SetRace(Race race) { m_race = std::move(race); }

    // 100 ms, created stopped; it runs while the race window's chat box is open and the race
    // loop is awake.
    QTimer& textTimer() { return *m_text_timer; }
    void SetBoxOpen(bool open);
    void SetAsleep(bool asleep);
    // Whether in-game typing can work here: the keyboard can be watched at all.
    bool CanHookKeyboard();

    void textTimer_Timer();
    // The keys of in-game chat, on each overlay tick and on each frame the patched game reports.
    void PollGameKeys();
    // The console showed a line: the message box stays up for `seconds`.
    void SetDisplaySeconds(float seconds) override;

    bool Typing() const { return m_typing; }
    int ShowStandings() const { return m_show_standings; }
    // Leaves in-game typing; called when the race window closes.
    void UnhookKeyboard();

private:
    void RunTextTimer();

    void HookKeyboard();
    // A key event from the hook while the line is open.
    void DummyWndProc(int virtual_key, std::uint32_t flags);

    GameProcess& m_game;
    GameBridge& m_bridge;
    Desktop& m_desktop;
    KeyboardHook& m_keyboard;
    ChatConsole& m_console;
    ChatInput& m_input;
    Race m_race;
    QTimer* m_text_timer;
    bool m_box_open = false;
    bool m_asleep = false;

    bool m_typing = false;
    bool m_t_pressed = false;
    std::array<bool, 10> m_quick_key_down{};
    int m_show_standings = 0;
};

} // namespace tarvex
