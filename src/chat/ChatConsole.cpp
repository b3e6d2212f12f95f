#include "chat/ChatConsole.h"

#include "chat/GameMessageBox.h"
#include "net/Messages.h"

namespace tarvex {

ChatConsole::ChatConsole(const std::uint8_t& chat_seconds, QObject* parent)
    : QObject(parent)
    , m_chat_seconds(chat_seconds) {}

void ChatConsole::DisplayMsg(const QString& text, const QString& name) {
    // Whatever a player types stays on its own line: a line break in it could make the rest
    // pass for another player's words or for a line of our own.
    if (text.left(4).compare(QLatin1String("/me "), Qt::CaseInsensitive) == 0) {
        // "/me waves" from Bob reads "* Bob waves": the space after /me stays as the separator.
        const QString line = QStringLiteral("* ") + name + OneLine(text.mid(3));
        Show(line, line);
        return;
    }
    const QString said = OneLine(text);
    Show(u'<' + name + QStringLiteral("> ") + said, name + QStringLiteral("> ") + said);
}

void ChatConsole::DisplayText(const QString& text) {
    Show(text, text);
}

QString ChatConsole::Text() const {
    QString text;
    for (const QString& line : m_lines) {
        if (&line != &m_lines.front()) {
            text += QStringLiteral("\r\n");
        }
        text += line;
    }
    return text;
}

void ChatConsole::Show(const QString& console_line, const QString& overlay_line) {
    const QString piece = m_lines.empty() ? console_line : QStringLiteral("\r\n") + console_line;
    m_lines.push_back(console_line);
    if (m_lines.size() > std::size_t(MaxLines)) {
        m_lines.pop_front();
    }
    emit Appended(piece);

    for (std::size_t i = 0; i < 3; ++i) {
        ChatLines[i] = ChatLines[i + 1];
    }
    ChatLines[3] = overlay_line;

    if (m_game_box) {
        m_game_box->SetDisplaySeconds(float(m_chat_seconds));
    }
}

} // namespace tarvex
