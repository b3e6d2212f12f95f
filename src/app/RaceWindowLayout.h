#pragma once

#include <QString>

class QLabel;
class QLineEdit;
class QTextEdit;
class QWidget;

namespace tarvex {

class RaceControlsBox;
class Tarvex;

// What the host's and the client's windows have alike, top to bottom: the server-name and
// status labels, the race controls, the player rows, the console and the chat input box.
struct RaceWindowLayout {
    QLabel* lblServerName;
    QLabel* lblStatus;
    QTextEdit* MainTXT;
    QLineEdit* dataTXT;
};

RaceWindowLayout LayOutRaceWindow(QWidget& window, const QString& object_name, const QString& title,
                                  RaceControlsBox& race, QWidget& rows, Tarvex& tarvex);

} // namespace tarvex
