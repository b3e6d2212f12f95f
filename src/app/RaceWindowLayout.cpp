#include "app/RaceWindowLayout.h"

#include "app/ChatBox.h"
#include "app/ConsoleView.h"
#include "app/RaceControlsBox.h"
#include "app/Tarvex.h"

#include <QLabel>
#include <QLineEdit>
#include <QTextEdit>
#include <QVBoxLayout>

namespace tarvex {

RaceWindowLayout LayOutRaceWindow(QWidget& window, const QString& object_name, const QString& title,
                                  RaceControlsBox& race, QWidget& rows, Tarvex& tarvex) {
    window.setObjectName(object_name);
    window.setAttribute(Qt::WA_DeleteOnClose);
    window.setWindowTitle(title);

    RaceWindowLayout parts{new QLabel(&window), new QLabel(&window), new QTextEdit(&window),
                           nullptr};
    parts.lblServerName->setObjectName(QStringLiteral("lblServerName"));
    // Session names come from other players: shown as typed, never read as markup.
    parts.lblServerName->setTextFormat(Qt::PlainText);
    parts.lblStatus->setObjectName(QStringLiteral("lblStatus"));
    parts.MainTXT->setObjectName(QStringLiteral("MainTXT"));
    parts.MainTXT->setReadOnly(true);

    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(parts.lblServerName);
    layout->addWidget(parts.lblStatus);
    layout->addWidget(&race);
    layout->addWidget(&rows);
    layout->addWidget(parts.MainTXT);
    FollowConsole(tarvex.console, parts.MainTXT);
    parts.dataTXT = AddChatBox(window, parts.MainTXT, tarvex);
    layout->addWidget(parts.dataTXT);
    parts.dataTXT->setFocus();
    // Back from the game options or the results, the player goes on typing.
    QObject::connect(&race, &RaceControlsBox::subWindowClosed, parts.dataTXT,
                     [&window, dataTXT = parts.dataTXT] {
                         window.activateWindow();
                         dataTXT->setFocus();
                     });
    return parts;
}

} // namespace tarvex
