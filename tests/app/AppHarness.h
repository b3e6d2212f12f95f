#pragma once

#include "FreePort.h"
#include "TempFolder.h"
#include "app/ClientFRM.h"
#include "app/ConnectFRM.h"
#include "app/ConnectLogic.h"
#include "app/ServerFRM.h"
#include "app/StartUp.h"
#include "app/Tarvex.h"
#include "platform/fake/FakePlatform.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <memory>

namespace tarvex::test {

// One Tarvex run on a settings file of the test's making, from start-up on. Its public
// listing only ever points at this machine.
struct App {
    TempFolder folder;
    FakePlatform fake;
    std::unique_ptr<Tarvex> tarvex;
    std::unique_ptr<StartUp> start_up;
    int ends = 0;

    explicit App(const QByteArray& main_keys = QByteArray()) {
        folder.Write(QStringLiteral("DuneholtRally"), "game");
        folder.Write(QStringLiteral("Tarvex.ini"),
                     // The first of two equal keys counts, so the test's own keys go first.
                     "[MAIN]\n" + main_keys +
                         "GPATH=" + folder.File(QStringLiteral("DuneholtRally")).toUtf8() +
                         "\nBROADCASTIP=127.0.0.1\nPUBLIC=0\n");
        tarvex = std::make_unique<Tarvex>(fake.AsPlatform(), folder.Path());
        TransportTimeouts timeouts;
        timeouts.silence_ms = 3000;
        tarvex->client().SetTimeouts(timeouts);
        tarvex->server().SetTimeouts(timeouts);
        start_up = std::make_unique<StartUp>(*tarvex);
        QObject::connect(start_up.get(), &StartUp::programEnds, [this] { ++ends; });
    }

    ConnectLogic& Logic() { return start_up->Logic(); }

    template <typename T>
    T* Control(const char* name) {
        ConnectFRM* form = start_up->ConnectForm();
        return form ? form->findChild<T*>(QLatin1String(name)) : nullptr;
    }
    void Click(const char* name) { QTest::mouseClick(Control<QPushButton>(name), Qt::LeftButton); }
    void Type(const char* name, const QString& text) {
        QLineEdit* edit = Control<QLineEdit>(name);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, text);
    }
    QString Status() { return Control<QLabel>("lblStat")->text(); }
    QString Ini() { return QString::fromUtf8(folder.Read(QStringLiteral("Tarvex.ini"))); }
};

} // namespace tarvex::test
