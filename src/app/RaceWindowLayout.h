#pragma once

#include <QString>

class QLabel;
class QTextEdit;
class QWidget;

namespace tarvex {

class ChatConsole;
class RaceControlsBox;

// What the host's and the client's windows have alike, top to bottom: the server-name and
// status labels, the race controls, the player rows, and the console.
struct RaceWindowLayout {
    QLabel* lblServerName;
    QLabel* lblStatus;
    QTextEdit* MainTXT;
};

RaceWindowLayout LayOutRaceWindow(QWidget& window, const QString& object_name, const QString& title,
                                  RaceControlsBox& race, QWidget& rows, ChatConsole& console);

} // namespace tarvex
