#include "RealMachine.h"

#include "RaceReadySettings.h"
#include "app/Tarvex.h"
#include "platform/linux/MonotonicClock.h"
#include "platform/linux/ProcfsProcessMemory.h"
#include "platform/linux/XInputKeyboardHook.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbDesktop.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <xcb/xcb.h>

namespace tarvex::test {

QString BuiltGame() {
    const QString built =
        qEnvironmentVariable("TARVEX_BINARY_DIR") + QStringLiteral("/sim/DuneholtRally");
    return QFile::exists(built) ? built : QString();
}

Platform NativeOn(const QString& display, Platform base) {
    base.clock = std::make_shared<MonotonicClock>();
    base.memory = std::make_shared<ProcfsProcessMemory>();
    base.desktop = std::make_shared<XcbDesktop>(std::make_shared<XcbConnection>(display));
    base.keyboard = std::make_shared<XInputKeyboardHook>(std::make_shared<XcbConnection>(display));
    return base;
}

RunningGame::RunningGame(const QString& executable, const QString& display,
                         const QStringList& arguments, const QString& status_file) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), display);
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setWorkingDirectory(QFileInfo(executable).path());
    QStringList all = arguments;
    if (!status_file.isEmpty()) {
        all << QStringLiteral("--status") << status_file;
    }
    m_process.start(executable, all);
    m_process.waitForStarted(5000);
}

RunningGame::~RunningGame() {
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

QJsonObject LastStatus(const QString& status_file) {
    QFile file(status_file);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last()).object();
}

QImage Screenshot(const QString& display) {
    xcb_connection_t* xcb = xcb_connect(display.toLatin1().constData(), nullptr);
    QImage image;
    if (!xcb_connection_has_error(xcb)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data;
        xcb_get_image_reply_t* reply = xcb_get_image_reply(
            xcb,
            xcb_get_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, 0,
                          screen->width_in_pixels, screen->height_in_pixels, ~0u),
            nullptr);
        if (reply) {
            image = QImage(xcb_get_image_data(reply), screen->width_in_pixels,
                           screen->height_in_pixels, QImage::Format_RGB32)
                        .copy();
            std::free(reply);
        }
    }
    xcb_disconnect(xcb);
    return image;
}

Machine::Machine(const QString& executable, QStringList arguments)
    : m_arguments(std::move(arguments)) {
    if (m_server.Display().isEmpty()) {
        return;
    }
    const QString game = m_game_folder.File(QStringLiteral("DuneholtRally"));
    QFile::copy(executable, game);
    Platform platform = NativeOn(m_server.Display(), fake.AsPlatform());
    // The machine starts its own game on its own display; nothing else is opened.
    platform.shell = std::shared_ptr<Shell>(this, [](Shell*) {});
    tarvex = std::make_unique<Tarvex>(platform, m_config.Path());
    tarvex->stored = RaceReadySettings();
    tarvex->settings.GamePath = game;
    tarvex->settings.BroadcastAddress = QStringLiteral("127.0.0.1");
}

Machine::~Machine() {
    // Tarvex lets go of the display before its server goes.
    tarvex.reset();
    m_game.reset();
}

QJsonObject Machine::Status() const {
    return LastStatus(m_game_folder.File(QStringLiteral("status.json")));
}

bool Machine::GameRunning() const {
    return m_game && m_game->Process().state() == QProcess::Running;
}

void Machine::ReleaseLaunch() {
    m_held = false;
    if (m_pending) {
        m_pending = false;
        StartGame();
    }
}

bool Machine::Open(const QString& target, const QString&) {
    if (QFileInfo(target) != QFileInfo(m_game_folder.File(QStringLiteral("DuneholtRally")))) {
        return false;
    }
    if (m_held) {
        m_pending = true;
    } else {
        StartGame();
    }
    return true;
}

void Machine::StartGame() {
    if (GameRunning()) {
        return;
    }
    m_game.reset();
    m_game = std::make_unique<RunningGame>(m_game_folder.File(QStringLiteral("DuneholtRally")),
                                           m_server.Display(), m_arguments,
                                           m_game_folder.File(QStringLiteral("status.json")));
}

} // namespace tarvex::test
