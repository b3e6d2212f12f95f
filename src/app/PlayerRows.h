#pragma once

#include "net/LagBar.h"
#include "net/Roster.h"

#include <QWidget>
#include <array>
#include <optional>

class QComboBox;
class QLabel;

namespace tarvex {

// The lag bar of one row: strokes in green, yellow or red, more for a slower link.
class LagBarWidget : public QWidget {
    Q_OBJECT

public:
    explicit LagBarWidget(QWidget* parent = nullptr);

    void ShowPing(std::uint8_t lag);
    void Clear();
    // How many strokes are drawn (0 when cleared) and in which colour, for tests.
    int Strokes() const { return m_bar ? int(m_bar->stroke_x.size()) : 0; }
    std::uint32_t Colour() const { return m_bar ? m_bar->colour : 0; }

    QSize sizeHint() const override { return {70, 18}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<LagBar> m_bar;
};

// The twelve player rows of the race windows and the player count above them. The rows only
// show the roster; they follow the session's signals through Follow(). On the host the second
// entry of a name list, "Kick", asks for the player to be removed.
class PlayerRows : public QWidget {
    Q_OBJECT

public:
    PlayerRows(const Roster& roster, bool host, QWidget* parent = nullptr);

    // Keeps the rows in step with a ServerSide or ClientSide.
    template <class Side>
    void Follow(Side* side) {
        connect(side, &Side::SlotChanged, this, &PlayerRows::RefreshSlot);
        connect(side, &Side::StatusChanged, this, &PlayerRows::RefreshStatus);
        connect(side, &Side::CarChoiceChanged, this, &PlayerRows::RefreshCars);
        connect(side, &Side::LagChanged, this, &PlayerRows::RefreshLag);
        connect(side, &Side::CountChanged, this, &PlayerRows::RefreshCount);
    }

    void RefreshSlot(int slot);
    void RefreshStatus(int slot);
    void RefreshCars(int slot);
    void RefreshLag(int slot);
    void RefreshCount();
    void RefreshAll();

    // The resource of the picture that stands for a status.
    static QString StatusPicture(std::uint8_t status);

    QLabel* lblNumPlayer;
    std::array<QComboBox*, RowCount> pName{};
    std::array<QComboBox*, RowCount> pCar{};
    std::array<QComboBox*, RowCount> pTrans{};
    std::array<QComboBox*, RowCount> pTyre{};
    std::array<QLabel*, RowCount> status{};
    std::array<LagBarWidget*, RowCount> Lag{};

    // An entry of a row's name list chosen, by a click or by the host's "/kick".
    void pName_Activated(int slot, int index);

signals:
    void KickRequested(int slot);

private:
    const Roster& m_roster;
    bool m_host;
    std::array<QWidget*, RowCount> m_rows{};
};

} // namespace tarvex
