#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace tarvex {

// The quick-start command line -M:A:B:C:P: a mode character M, then an address, a port, a
// nickname and a password, each possibly empty. P is everything after the fourth colon, so a
// password may itself hold colons. A line with fewer colons fills the fields it reaches.
struct StartCommand {
    QChar mode;
    QString address;
    QString port;
    QString name;
    QString password;
};

// Nothing for a line of one character or less, or one without a "-".
std::optional<StartCommand> ParseStartCommand(const QString& line);

// Takes the quick-start argument out of the program's arguments: the first one that starts
// with a single "-" and either holds a colon or goes on with a character that is not a letter
// (a lone "-h" stays an option). Empty when there is none.
QString TakeStartCommand(QStringList& arguments);

} // namespace tarvex
