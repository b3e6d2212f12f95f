#include "app/ConsoleLine.h"

#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

namespace tarvex {

void AppendConsoleLine(QTextEdit& console, const QString& line) {
    QTextCursor cursor(console.document());
    cursor.movePosition(QTextCursor::End);
    if (!console.document()->isEmpty()) {
        cursor.insertBlock();
    }
    cursor.insertText(line);
}

} // namespace tarvex
