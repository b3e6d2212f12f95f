#include "chat/ChatInput.h"

#include "chat/ChatConsole.h"
#include "net/Roster.h"
#include "net/TextRules.h"

namespace tarvex {

namespace {

bool StartsWith(const QString& line, QLatin1String command) {
    return line.startsWith(command, Qt::CaseInsensitive);
}

} // namespace

ChatInput::ChatInput(ChatConsole& console, const Roster& roster,
                     const std::array<QString, 10>& quick_messages, QObject* parent)
    : QObject(parent)
    , m_console(console)
    , m_roster(roster)
    , m_quick_messages(quick_messages) {}

void ChatInput::SetText(const QString& text) {
    // No more than a chat line can say: the rest would be cut off when sent, and the line being
    // typed is also written into the game's text buffer, which has no room for a long one.
    m_text = Capped(text, MaxChatChars);
    // A recalled line is not what the player typed: the line being typed stays as it was, to be
    // found again below the newest sent line.
    if (!Recalling) {
        ChatHistory[HistorySize - 1] = m_text;
    }
}

void ChatInput::Replace(const QString& text) {
    if (text == m_text) {
        return;
    }
    SetText(text);
    emit TextChanged(m_text);
}

void ChatInput::Append(const QString& characters) {
    Replace(m_text + characters);
}

void ChatInput::Backspace() {
    if (!m_text.isEmpty()) {
        // A character outside the basic plane is two units; it goes as one.
        const qsizetype cut = m_text.size() >= 2 && m_text.back().isLowSurrogate() &&
                                      m_text[m_text.size() - 2].isHighSurrogate()
                                  ? 2
                                  : 1;
        Replace(m_text.chopped(cut));
    }
}

bool ChatInput::Up() {
    if (HistoryPos >= HistorySize - 1) {
        return false;
    }
    ++HistoryPos;
    Recall();
    return true;
}

bool ChatInput::Down() {
    if (HistoryPos < 1) {
        return false;
    }
    --HistoryPos;
    Recall();
    return true;
}

void ChatInput::Recall() {
    Recalling = true;
    SetText(ChatHistory[std::size_t(HistorySize - 1 - HistoryPos)]);
    Recalling = false;
    // Also when the recalled line is the one in the box: the caret goes to its end all the same.
    emit TextChanged(m_text);
}

void ChatInput::SendD() {
    if (m_text.isEmpty()) {
        return;
    }
    const QString line = m_text;
    if (HistoryPos > 0) {
        ChatHistory[HistorySize - 1] = line;
    }
    // Commands go into the history like any line, so a mistyped one can be fetched and mended.
    for (std::size_t k = 1; k < ChatHistory.size(); ++k) {
        ChatHistory[k - 1] = ChatHistory[k];
    }
    ChatHistory[HistorySize - 1].clear();
    HistoryPos = 0;

    const bool handled = m_commands.start_caption && RunCommand(line);
    if (!handled && m_send) {
        m_send(line);
    }
    Replace(QString());
}

bool ChatInput::RunCommand(const QString& line) {
    const QString caption = m_commands.start_caption();
    if (StartsWith(line, QLatin1String("/stop"))) {
        if (caption == QLatin1String("Stop")) {
            m_commands.cmdStart_Click();
        } else {
            m_console.DisplayText(QStringLiteral("Error: Game Not Started"));
        }
        return true;
    }
    if (StartsWith(line, QLatin1String("/start"))) {
        if (caption == QLatin1String("Start")) {
            m_commands.cmdStart_Click();
        } else {
            m_console.DisplayText(QStringLiteral("Error: Game Already Started"));
        }
        return true;
    }
    // Before a race there is nothing to force, and the line is said as typed.
    if (StartsWith(line, QLatin1String("/fstart")) && caption == QLatin1String("Stop")) {
        m_commands.StartRace();
        return true;
    }
    if (StartsWith(line, QLatin1String("/kick "))) {
        const QString name = line.mid(6);
        // A free row reads "Open", but there is nobody in it to remove.
        for (int slot = 1; slot <= 11; ++slot) {
            const PlayerRecord& player = m_roster[slot];
            if (player.Occupied() && player.Name.compare(name, Qt::CaseInsensitive) == 0) {
                m_commands.kick(slot);
                return true;
            }
        }
        m_console.DisplayText(
            QStringLiteral("Error: Player Not Found - Syntax:  /kick [playername]"));
        return true;
    }
    return false;
}

void ChatInput::sndQuickMsg(int index) {
    // An emptied quick message is a key the player has switched off, not a blank line to say.
    if (index < 1 || index > 9 || m_quick_messages[std::size_t(index)].isEmpty() || !m_send) {
        return;
    }
    m_send(m_quick_messages[std::size_t(index)]);
}

} // namespace tarvex
