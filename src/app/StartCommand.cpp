#include "app/StartCommand.h"

namespace tarvex {

std::optional<StartCommand> ParseStartCommand(const QString& line) {
    if (line.size() <= 1) {
        return std::nullopt;
    }
    const qsizetype dash = line.indexOf(QLatin1Char('-'));
    if (dash < 0 || dash + 1 >= line.size()) {
        return std::nullopt;
    }
    StartCommand command;
    command.mode = line[dash + 1];
    QString* fields[] = {&command.address, &command.port, &command.name};
    qsizetype colon = line.indexOf(QLatin1Char(':'), dash + 2);
    for (QString* field : fields) {
        if (colon < 0) {
            return command;
        }
        const qsizetype next = line.indexOf(QLatin1Char(':'), colon + 1);
        *field = next < 0 ? line.mid(colon + 1) : line.mid(colon + 1, next - colon - 1);
        colon = next;
    }
    if (colon >= 0) {
        command.password = line.mid(colon + 1);
    }
    return command;
}

QString TakeStartCommand(QStringList& arguments) {
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (argument.size() < 2 || argument[0] != QLatin1Char('-') ||
            argument[1] == QLatin1Char('-')) {
            continue;
        }
        // Any mode character may carry fields ("-x:host:2005:Bob:" fills the host fields
        // without starting anything); only a colon-less "-h" or "-v" is an option.
        const bool option_like = argument[1].isLetter() || argument[1] == QLatin1Char('?');
        if (!option_like || argument.contains(QLatin1Char(':'))) {
            return arguments.takeAt(i);
        }
    }
    return {};
}

} // namespace tarvex
