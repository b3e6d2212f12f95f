#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>

namespace tarvex {

// The program's command line: its few options and the quick-start argument -M:A:B:C:P.
class ProgramOptions {
public:
    ProgramOptions();

    // `arguments` starts with the program's name, as QCoreApplication::arguments() does.
    // False when an option is unknown or lacks its value; ErrorText() says which.
    bool Parse(QStringList arguments);
    QString ErrorText() const { return m_parser.errorText(); }

    bool WantsHelp() const;
    bool WantsVersion() const;
    bool WantsPrintSettings() const { return m_parser.isSet(m_print); }
    bool WantsProbeGame() const { return m_parser.isSet(m_probe); }
    // The game folder to check, empty when not asked.
    QString CheckGameFiles() const { return m_parser.value(m_check); }
    QString ConfigFolder() const { return m_parser.value(m_config); }
    QString Screenshot() const { return m_parser.value(m_screenshot); }
    // Unattended races: tick Ready once seated, start once N players are Ready (host), keep a
    // results file, end once the race is over. 0 and empty mean "not asked for".
    bool WantsReady() const { return m_parser.isSet(m_ready); }
    int StartWhenReady() const;
    QStringList ResultsFiles() const { return m_parser.values(m_results); }
    bool WantsQuitWhenFinished() const { return m_parser.isSet(m_quit); }
    QString FinishScreenshot() const { return m_parser.value(m_finish_screenshot); }
    // Host: the stage list positions of the session's races, in order; empty when not asked.
    QList<int> Stages() const;
    // How many races the session holds before --quit-when-finished ends it; 0 when not asked.
    int Races() const;
    QString SessionLog() const { return m_parser.value(m_session_log); }
    // The quick-start argument, empty when there is none.
    const QString& StartCommand() const { return m_start_command; }

    [[noreturn]] void ShowHelp();
    [[noreturn]] void ShowVersion() { m_parser.showVersion(); }
    // The parse error and the usage on the error output, then the end of the program with 2.
    [[noreturn]] void ShowError();

private:
    QCommandLineParser m_parser;
    QCommandLineOption m_config;
    QCommandLineOption m_print;
    QCommandLineOption m_screenshot;
    QCommandLineOption m_probe;
    QCommandLineOption m_ready;
    QCommandLineOption m_start_when_ready;
    QCommandLineOption m_results;
    QCommandLineOption m_quit;
    QCommandLineOption m_finish_screenshot;
    QCommandLineOption m_stages;
    QCommandLineOption m_races;
    QCommandLineOption m_session_log;
    QCommandLineOption m_check;
    QString m_start_command;
    QString m_program;
};

} // namespace tarvex
