#pragma once

#include <QObject>
#include <QString>
#include <array>
#include <functional>

namespace tarvex {

class ChatConsole;
class Roster;

// The race window's chat input box without the box: the line being typed, the recall of the
// lines sent before, and what Enter does with a line. In-game chat types into the same line and
// sends it through the same Enter, so a line typed in the game counts exactly as one typed in
// the window, host commands included.
class ChatInput : public QObject {
    Q_OBJECT

public:
    // What the host's commands act on: its race control and its player rows. A copy that is
    // not the host has none, and every line it types is chat.
    struct HostCommands {
        // The start button's caption: "Start" or "Stop".
        std::function<QString()> start_caption;
        std::function<void()> cmdStart_Click;
        // The forced start signal.
        std::function<void()> StartRace;
        // Removes the player in a client slot, as choosing "Kick" in its row does.
        std::function<void(int slot)> kick;
    };

    // 10 is the line being typed, 9 the line sent last, 0 the oldest one kept.
    static constexpr int HistorySize = 11;

    // `send` says a line to the session (SendMsg of the role played); `quick_messages` are the
    // settings' texts, 1..9, read when a key asks for one.
    ChatInput(ChatConsole& console, const Roster& roster,
              const std::array<QString, 10>& quick_messages, QObject* parent = nullptr);

    void SetSend(std::function<void(const QString&)> send) { m_send = std::move(send); }
    // Makes this the host's box; empty commands make it a client's again.
    void SetHostCommands(HostCommands commands) { m_commands = std::move(commands); }

    const QString& Text() const { return m_text; }
    // The player edited the box.
    void SetText(const QString& text);
    // Characters typed in the game, and its Backspace.
    void Append(const QString& characters);
    void Backspace();

    // Up and Down arrows: one line further back or forward. False when there is nowhere to go.
    bool Up();
    bool Down();
    // Enter: sends the line or runs the host's command. Nothing happens to an empty line.
    void SendD();
    // One of the nine quick messages; any other index sends nothing.
    void sndQuickMsg(int index);

    std::array<QString, HistorySize> ChatHistory;
    int HistoryPos = 0;
    bool Recalling = false;

signals:
    // The line was set other than by the player's editing (recall, send, in-game typing).
    void TextChanged(const QString& text);

private:
    void Recall();
    void Replace(const QString& text);
    bool RunCommand(const QString& line);

    ChatConsole& m_console;
    const Roster& m_roster;
    const std::array<QString, 10>& m_quick_messages;
    std::function<void(const QString&)> m_send;
    HostCommands m_commands;
    QString m_text;
};

} // namespace tarvex
