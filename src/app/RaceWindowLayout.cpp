#include "app/RaceWindowLayout.h"

#include "app/ConsoleView.h"
#include "app/RaceControlsBox.h"

#include <QLabel>
#include <QTextEdit>
#include <QVBoxLayout>

namespace tarvex {

RaceWindowLayout LayOutRaceWindow(QWidget& window, const QString& object_name, const QString& title,
                                  RaceControlsBox& race, QWidget& rows, ChatConsole& console) {
    window.setObjectName(object_name);
    window.setAttribute(Qt::WA_DeleteOnClose);
    window.setWindowTitle(title);

    RaceWindowLayout parts{new QLabel(&window), new QLabel(&window), new QTextEdit(&window)};
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
    FollowConsole(console, parts.MainTXT);
    // Back from the game options or the results, the player goes on where they type.
    QObject::connect(&race, &RaceControlsBox::subWindowClosed, parts.MainTXT,
                     [&window, MainTXT = parts.MainTXT] {
                         window.activateWindow();
                         MainTXT->setFocus();
                     });
    return parts;
}

} // namespace tarvex
