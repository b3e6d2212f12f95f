#include "TestRegistry.h"

#include <QApplication>
#include <QStandardPaths>
#include <QTest>
#include <memory>
#include <vector>

namespace tarvex::test {

namespace {

struct Entry {
    const char* name;
    std::function<QObject*()> factory;
};

std::vector<Entry>& Entries() {
    static std::vector<Entry> entries;
    return entries;
}

} // namespace

int Register(const char* name, std::function<QObject*()> factory) {
    Entries().push_back({name, std::move(factory)});
    return int(Entries().size());
}

} // namespace tarvex::test

// Runs every registered class; "-class Name" (repeatable) picks some, the remaining arguments go
// to QTest as usual.
int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);

    QStringList wanted;
    QStringList pass_on;
    const QStringList args = app.arguments();
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("-class") && i + 1 < args.size()) {
            wanted << args[++i];
        } else {
            pass_on << args[i];
        }
    }

    int failed = 0;
    for (const auto& entry : tarvex::test::Entries()) {
        if (!wanted.isEmpty() && !wanted.contains(QLatin1String(entry.name))) {
            continue;
        }
        std::unique_ptr<QObject> object(entry.factory());
        failed += QTest::qExec(object.get(), pass_on);
    }
    return failed == 0 ? 0 : 1;
}
