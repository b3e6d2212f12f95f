#pragma once

#include <QObject>
#include <QString>
#include <array>
#include <cstdint>
#include <deque>

namespace tarvex {

class GameMessageBox;

// The session's console: every chat line and system line, as the race window's text box shows
// it, plus the last four lines the in-game overlay repeats.
class ChatConsole : public QObject {
    Q_OBJECT

public:
    // `chat_seconds` is the setting that says how long the game shows a new line; it is read at
    // each line, so a change in the settings dialog applies at once.
    explicit ChatConsole(const std::uint8_t& chat_seconds, QObject* parent = nullptr);

    // A chat line said by `name`.
    void DisplayMsg(const QString& text, const QString& name);
    // A system line, shown as it is.
    void DisplayText(const QString& text);

    // A long session does not grow without end: the console keeps this many of the newest
    // lines, and so does the text box that shows it.
    static constexpr int MaxLines = 5000;

    // The lines kept, separated by CR LF.
    QString Text() const;

    // None until a game bridge exists; the console works without one.
    void SetGameMessageBox(GameMessageBox* box) { m_game_box = box; }

    // 0..3: the last four shown lines, oldest first; 4: the in-game input line (the overlay's).
    std::array<QString, 5> ChatLines;

signals:
    // `piece` was added at the end of the text: the line, after a CR LF unless it is the first.
    void Appended(const QString& piece);

private:
    void Show(const QString& console_line, const QString& overlay_line);

    const std::uint8_t& m_chat_seconds;
    GameMessageBox* m_game_box = nullptr;
    std::deque<QString> m_lines;
};

} // namespace tarvex
