#include "app/QtDialogs.h"
#include "app/SettingsFile.h"
#include "app/StartCommand.h"
#include "app/StartUp.h"
#include "app/Tarvex.h"
#include "game/ProbeGame.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPixmap>
#include <QTextStream>
#include <QTimer>
#include <QWidget>
#include <cstring>
#include <memory>

namespace {

using namespace tarvex;

// Options that only print something: they must work without a display.
bool WantsConsoleOnly(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        for (const char* option : {"--print-settings", "--probe-game", "--help", "-h", "--help-all",
                                   "--version", "-v"}) {
            if (std::strcmp(argv[i], option) == 0) {
                return true;
            }
        }
    }
    return false;
}

// For the demo and for bug reports: the window in front as the user sees it, without needing a
// screen grabber on the machine.
void SaveScreenshotLater(const QString& file) {
    QTimer::singleShot(1500, qApp, [file] {
        QWidget* window = QApplication::activeWindow();
        for (QWidget* candidate : QApplication::topLevelWidgets()) {
            if (!window && candidate->isVisible()) {
                window = candidate;
            }
        }
        const bool saved = window && window->grab().save(file, "PNG");
        const QString path = QDir::toNativeSeparators(QFileInfo(file).absoluteFilePath());
        if (saved) {
            QTextStream(stdout) << "screenshot: " << path << '\n';
        } else {
            QTextStream(stderr) << "screenshot failed: " << path << '\n';
        }
        QCoreApplication::exit(saved ? 0 : 1);
    });
}

} // namespace

int main(int argc, char** argv) {
    const bool console_only = WantsConsoleOnly(argc, argv);
    std::unique_ptr<QCoreApplication> app;
    if (console_only) {
        app = std::make_unique<QCoreApplication>(argc, argv);
    } else {
        app = std::make_unique<QApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("Tarvex"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TARVEX_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Multiplayer sessions for Duneholt Rally.\n\n"
                       "-M:A:B:C:P fills the start-up window: M is 1 to host at once, 2 to join "
                       "at once, 3 to prepare hosting; A address, B port, C nickname, "
                       "P password."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption config_option(
        QStringLiteral("config"),
        QStringLiteral("Keep Tarvex.ini and template.htm in <folder> instead of the program "
                       "folder."),
        QStringLiteral("folder"));
    const QCommandLineOption print_option(
        QStringLiteral("print-settings"),
        QStringLiteral("Print the effective settings, one key per line, and exit."));
    const QCommandLineOption screenshot_option(
        QStringLiteral("screenshot"),
        QStringLiteral("Save a picture of the screen to <file> once the windows are up, then "
                       "exit."),
        QStringLiteral("file"));
    parser.addOption(config_option);
    parser.addOption(print_option);
    const QCommandLineOption probe_option(
        QStringLiteral("probe-game"),
        QStringLiteral("Look for the running game, print what Tarvex sees of it, and exit."));
    parser.addOption(screenshot_option);
    parser.addOption(probe_option);
    // The quick-start argument looks like an option to the parser; it is read by the start-up
    // window, so unknown options are not an error here.
    parser.parse(QCoreApplication::arguments());
    if (parser.isSet(QStringLiteral("help"))) {
        parser.showHelp(0);
    }
    if (parser.isSet(QStringLiteral("version"))) {
        parser.showVersion();
    }

    const QString folder =
        ProgramFolder(parser.value(config_option), QCoreApplication::applicationDirPath());
    Platform platform = Platform::Native();
    if (!console_only) {
        platform.dialogs = std::make_shared<QtDialogs>();
    }
    Tarvex tarvex(std::move(platform), folder);

    if (parser.isSet(probe_option)) {
        QTextStream out(stdout);
        return ProbeGame(out, tarvex.platform());
    }
    if (parser.isSet(print_option)) {
        LoadSettings(tarvex, LoadMode::Quiet);
        QTextStream out(stdout);
        PrintSettings(tarvex, out);
        return 0;
    }
    if (parser.isSet(screenshot_option)) {
        SaveScreenshotLater(parser.value(screenshot_option));
    }
    QStringList arguments = QCoreApplication::arguments();
    return RunStartUp(tarvex, TakeStartCommand(arguments));
}
