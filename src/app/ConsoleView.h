#pragma once

class QTextEdit;

namespace tarvex {

class ChatConsole;

// Makes a race window's MainTXT show the console: what it holds now, then every line added,
// always at the end and scrolled to the newest.
void FollowConsole(ChatConsole& console, QTextEdit* MainTXT);

} // namespace tarvex
