#pragma once

class QMenu;
class QWidget;

namespace tarvex {

class GhostCar;
struct Settings;

// The race windows' "Ghost" menu (mnuGhost): the eight car models the ghosts can show
// (mnuG1..mnuG8), the current one checked. Choosing one stores it (GMODEL) and tells a running
// game at once. The menu goes into the window layout's menu bar, made when there is none yet.
QMenu* AddGhostMenu(QWidget& window, Settings& settings, GhostCar& ghost);

} // namespace tarvex
