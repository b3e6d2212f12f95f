#include "app/Tarvex.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tarvex"));
    QApplication::setApplicationVersion(QStringLiteral(TARVEX_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Multiplayer sessions for Duneholt Rally."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(app);
    return 0;
}
