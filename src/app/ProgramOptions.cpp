#include "app/ProgramOptions.h"

#include "app/StartCommand.h"

#include <QCoreApplication>
#include <QTextStream>
#include <cstdlib>

namespace tarvex {

ProgramOptions::ProgramOptions()
    : m_config(QStringLiteral("config"),
               QStringLiteral("Keep Tarvex.ini and template.htm in <folder> instead of the "
                              "program folder."),
               QStringLiteral("folder"))
    , m_print(QStringLiteral("print-settings"),
              QStringLiteral("Print the effective settings, one key per line, and exit."))
    , m_screenshot(QStringLiteral("screenshot"),
                   QStringLiteral("Save a picture of the screen to <file> once the windows are "
                                  "up, then exit."),
                   QStringLiteral("file"))
    , m_probe(QStringLiteral("probe-game"),
              QStringLiteral("Look for the running game, print what Tarvex sees of it, and "
                             "exit."))
    , m_ready(QStringLiteral("ready"), QStringLiteral("Tick Ready as soon as the session is open."))
    , m_start_when_ready(QStringLiteral("start-when-ready"),
                         QStringLiteral("Host: press Start once <count> players, the host "
                                        "included, are Ready."),
                         QStringLiteral("count"))
    , m_results(QStringLiteral("results"),
                QStringLiteral("Keep <file> written with the results table whenever it "
                               "changes: fixed-width text, or the HTML page for a name ending "
                               "in .htm or .html. May be given more than once."),
                QStringLiteral("file"))
    , m_quit(QStringLiteral("quit-when-finished"),
             QStringLiteral("End the program once every driver of a launched race has "
                            "finished or left."))
    , m_finish_screenshot(QStringLiteral("finish-screenshot"),
                          QStringLiteral("Save a picture of the race window to <file> once every "
                                         "driver of a launched race has finished or left."),
                          QStringLiteral("file"))
    , m_stages(QStringLiteral("stages"),
               QStringLiteral("Host: hold one race on each of these stages in turn, given as "
                              "positions in the stage list counted from 0 (as STAGE in "
                              "Tarvex.ini), separated by commas. Each race is stopped once its "
                              "drivers have finished or left, and the next stage chosen."),
               QStringLiteral("list"))
    , m_races(QStringLiteral("races"),
              QStringLiteral("With --quit-when-finished and --finish-screenshot: wait for "
                             "<count> races instead of one (the host: as many as --stages "
                             "lists)."),
              QStringLiteral("count"))
    , m_session_log(QStringLiteral("session-log"),
                    QStringLiteral("Add to <file> every console line, every change of a "
                                   "player's status and of the own Ready box, each with the "
                                   "time."),
                    QStringLiteral("file"))
    , m_check(QStringLiteral("check-game-files"),
              QStringLiteral("Check the game in <folder> for stock physics as a host with cheat "
                             "protection demands, print what is wrong (or \"game files: ok\"), "
                             "and exit."),
              QStringLiteral("folder")) {
    m_parser.setApplicationDescription(
        QStringLiteral("Multiplayer sessions for Duneholt Rally.\n\n"
                       "-M:A:B:C:P fills the start-up window: M is 1 to host at once, 2 to join "
                       "at once, 3 to prepare hosting; A address, B port, C nickname, "
                       "P password."));
    m_parser.addHelpOption();
    m_parser.addVersionOption();
    m_parser.addOption(m_config);
    m_parser.addOption(m_print);
    m_parser.addOption(m_screenshot);
    m_parser.addOption(m_probe);
    m_parser.addOption(m_check);
    m_parser.addOption(m_ready);
    m_parser.addOption(m_start_when_ready);
    m_parser.addOption(m_results);
    m_parser.addOption(m_quit);
    m_parser.addOption(m_finish_screenshot);
    m_parser.addOption(m_stages);
    m_parser.addOption(m_races);
    m_parser.addOption(m_session_log);
}

int ProgramOptions::StartWhenReady() const {
    bool ok = false;
    const int count = m_parser.value(m_start_when_ready).toInt(&ok);
    return ok && count > 0 ? count : 0;
}

QList<int> ProgramOptions::Stages() const {
    QList<int> stages;
    for (const QString& item : m_parser.value(m_stages).split(u',', Qt::SkipEmptyParts)) {
        bool ok = false;
        const int stage = item.trimmed().toInt(&ok);
        if (ok && stage >= 0) {
            stages.append(stage);
        }
    }
    return stages;
}

int ProgramOptions::Races() const {
    bool ok = false;
    const int count = m_parser.value(m_races).toInt(&ok);
    return ok && count > 0 ? count : 0;
}

bool ProgramOptions::Parse(QStringList arguments) {
    // The quick-start argument goes before the parser sees it: it would read "-2:host:2005:Dave:"
    // as a bundle of one-letter options, with an "h" asking for help and a "v" for the version.
    m_start_command = TakeStartCommand(arguments);
    m_program = arguments.value(0);
    // The windowing system has already taken its own options out of the arguments, so what
    // is left and unknown is a mistake worth telling rather than a window opened regardless.
    return m_parser.parse(arguments);
}

void ProgramOptions::ShowError() {
    QTextStream err(stderr);
    err << QCoreApplication::applicationName() << ": " << ErrorText() << "\n\n"
        << m_parser.helpText();
    err.flush();
    std::exit(2);
}

bool ProgramOptions::WantsHelp() const {
    return m_parser.isSet(QStringLiteral("help")) || m_parser.isSet(QStringLiteral("help-all"));
}

void ProgramOptions::ShowHelp() {
    if (m_parser.isSet(QStringLiteral("help-all"))) {
        // Only the parser's own handling lists Qt's options with ours; it prints and exits.
        m_parser.process(QStringList{m_program, QStringLiteral("--help-all")});
    }
    m_parser.showHelp(0);
}

bool ProgramOptions::WantsVersion() const {
    return m_parser.isSet(QStringLiteral("version"));
}

} // namespace tarvex
