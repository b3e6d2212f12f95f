#include "app/CaretRest.h"
#include "app/ProgramOptions.h"
#include "app/QtDialogs.h"
#include "app/SettingsFile.h"
#include "app/StartUp.h"
#include "app/Tarvex.h"
#include "fairplay/PhysicsCheck.h"
#include "game/ProbeGame.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
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
        for (const char* option : {"--print-settings", "--probe-game", "--check-game-files",
                                   "--help", "-h", "--help-all", "--version", "-v"}) {
            const std::size_t length = std::strlen(option);
            // "--check-game-files=FOLDER" counts as well as the option and its value apart.
            if (std::strncmp(argv[i], option, length) == 0 &&
                (argv[i][length] == '\0' || argv[i][length] == '=')) {
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

// The folder of the executable, when it may hold the settings: not for an installed copy (its
// data folder beside bin/), which keeps them in the user's configuration folder even where it
// could write beside itself (run as root, or installed under the user's home).
QString PortableFolder() {
    const QString folder = QCoreApplication::applicationDirPath();
    return QDir(folder).exists(QStringLiteral(TARVEX_BIN_TO_DATA)) ? QString() : folder;
}

} // namespace

int main(int argc, char** argv) {
    const bool console_only = WantsConsoleOnly(argc, argv);
    std::unique_ptr<QCoreApplication> app;
    if (console_only) {
        app = std::make_unique<QCoreApplication>(argc, argv);
    } else {
        app = std::make_unique<QApplication>(argc, argv);
        // The installed menu entry and icon; desktops match windows to the entry by this name.
        QGuiApplication::setDesktopFileName(QStringLiteral("tarvex"));
        QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("tarvex")));
    }
    std::unique_ptr<CaretRest> caret_rest;
    if (!console_only) {
        caret_rest = std::make_unique<CaretRest>();
    }
    QCoreApplication::setApplicationName(QStringLiteral("Tarvex"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TARVEX_VERSION));

    ProgramOptions options;
    if (!options.Parse(QCoreApplication::arguments())) {
        options.ShowError();
    }
    if (options.WantsHelp()) {
        options.ShowHelp();
    }
    if (options.WantsVersion()) {
        options.ShowVersion();
    }

    if (!options.CheckGameFiles().isEmpty()) {
        QTextStream out(stdout);
        return CheckGameFiles(out, options.CheckGameFiles());
    }

    const QString folder = ProgramFolder(options.ConfigFolder(), PortableFolder());
    Platform platform = Platform::Native();
    if (!console_only) {
        platform.dialogs = std::make_shared<QtDialogs>();
    }
    Tarvex tarvex(std::move(platform), folder);

    if (options.WantsProbeGame()) {
        QTextStream out(stdout);
        return ProbeGame(out, tarvex.platform());
    }
    if (options.WantsPrintSettings()) {
        LoadSettings(tarvex, LoadMode::Quiet);
        QTextStream out(stdout);
        PrintSettings(tarvex, out);
        return 0;
    }
    if (!options.Screenshot().isEmpty()) {
        SaveScreenshotLater(options.Screenshot());
    }
    UnattendedOptions unattended;
    unattended.ready = options.WantsReady();
    unattended.start_when_ready = options.StartWhenReady();
    unattended.results_files = options.ResultsFiles();
    unattended.quit_when_finished = options.WantsQuitWhenFinished();
    unattended.finish_screenshot = options.FinishScreenshot();
    unattended.stages = options.Stages();
    unattended.races = options.Races();
    unattended.session_log = options.SessionLog();
    return RunStartUp(tarvex, options.StartCommand(), unattended);
}
