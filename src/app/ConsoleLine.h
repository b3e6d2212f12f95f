#pragma once

#include <QString>

class QTextEdit;

namespace tarvex {

// Adds a line to a race window's chat console exactly as given: lines carry names and chat
// from other players, which QTextEdit::append would read as markup when they look like it.
void AppendConsoleLine(QTextEdit& console, const QString& line);

} // namespace tarvex
