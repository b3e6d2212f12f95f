#include "app/GhostMenu.h"

#include "app/Settings.h"
#include "game/GhostCar.h"

#include <QActionGroup>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>

namespace tarvex {

QMenu* AddGhostMenu(QWidget& window, Settings& settings, GhostCar& ghost) {
    static const char* const kModels[8] = {
        "Citroen Xsara", "Hyundai Accent",      "MG ZR Super 1600", "Mitsubishi Lancer Evo VII",
        "Peugeot 206",   "Subaru Impreza 2003", "Toyota Corolla",   "Subaru Impreza 2000"};

    QLayout* layout = window.layout();
    QMenuBar* bar = layout ? qobject_cast<QMenuBar*>(layout->menuBar()) : nullptr;
    if (!bar) {
        bar = new QMenuBar(&window);
        if (layout) {
            layout->setMenuBar(bar);
        }
    }
    QMenu* menu = bar->addMenu(QStringLiteral("Ghost"));
    menu->setObjectName(QStringLiteral("mnuGhost"));
    auto* group = new QActionGroup(menu);
    for (int model = 1; model <= 8; ++model) {
        QAction* action = menu->addAction(QLatin1String(kModels[model - 1]));
        action->setObjectName(QStringLiteral("mnuG%1").arg(model));
        action->setCheckable(true);
        group->addAction(action);
        QObject::connect(action, &QAction::triggered, menu, [&settings, &ghost, model] {
            settings.GhostModel = std::uint8_t(model);
            ghost.WriteGhostModel();
        });
    }
    // The model also changes outside the menu (the automation picks one as it passes the main
    // menu), so the check follows the setting whenever the menu opens.
    const auto check_current = [menu, &settings] {
        for (QAction* action : menu->actions()) {
            action->setChecked(action->objectName() ==
                               QStringLiteral("mnuG%1").arg(settings.GhostModel));
        }
    };
    QObject::connect(menu, &QMenu::aboutToShow, menu, check_current);
    check_current();
    return menu;
}

} // namespace tarvex
