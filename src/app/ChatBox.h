#pragma once

class QLineEdit;
class QTextEdit;
class QWidget;

namespace tarvex {

class Tarvex;

// The chat part of a race window below the console: the input box `dataTXT`, which shows and
// edits the copy's chat line (Up and Down recall, Enter sends), links opened by a double-click
// in the console, and keys typed anywhere else in the window going to the box.
QLineEdit* AddChatBox(QWidget& window, QTextEdit* MainTXT, Tarvex& tarvex);

} // namespace tarvex
