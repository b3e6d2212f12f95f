// The settings reader on any file a user or another program may have left as Tarvex.ini.
#include "app/SettingsFile.h"
#include "app/Tarvex.h"
#include "platform/fake/FakePlatform.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

using namespace tarvex;

namespace {
QTemporaryDir* g_folder = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    static QTemporaryDir folder;
    g_folder = &folder;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QFile ini(g_folder->filePath(QStringLiteral("Tarvex.ini")));
    if (!ini.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return 0;
    }
    ini.write(reinterpret_cast<const char*>(data), qint64(size));
    ini.close();
    FakePlatform platform;
    Tarvex tarvex(platform.AsPlatform(), g_folder->path());
    LoadSettings(tarvex, LoadMode::Quiet);
    return 0;
}
