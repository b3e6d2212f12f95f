#include "app/ConsoleView.h"

#include "chat/ChatConsole.h"

#include <QTextDocument>
#include <QTextEdit>

namespace tarvex {

namespace {

void Append(QTextEdit* MainTXT, const QString& piece) {
    MainTXT->moveCursor(QTextCursor::End);
    // A text box here breaks lines at LF alone; a CR would show as a second break.
    QString text = piece;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    MainTXT->insertPlainText(text);
    MainTXT->ensureCursorVisible();
}

} // namespace

void FollowConsole(ChatConsole& console, QTextEdit* MainTXT) {
    // The box drops its oldest lines as the console does; a line is one block here.
    MainTXT->document()->setMaximumBlockCount(ChatConsole::MaxLines);
    MainTXT->setPlainText(
        QString(console.Text()).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    QObject::connect(&console, &ChatConsole::Appended, MainTXT,
                     [MainTXT](const QString& piece) { Append(MainTXT, piece); });
}

} // namespace tarvex
