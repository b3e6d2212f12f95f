#include "app/PlayerRows.h"

#include "net/LagBar.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace tarvex {

namespace {

// The lag bar is laid out in twips, as the strokes' positions are given.
constexpr int TwipsPerPixel = 15;

void Select(QComboBox* list, std::uint8_t index) {
    list->setCurrentIndex(index == RowCar::NoChoice || index >= list->count() ? -1 : index);
}

} // namespace

LagBarWidget::LagBarWidget(QWidget* parent)
    : QWidget(parent) {
    setFixedSize(sizeHint());
}

void LagBarWidget::ShowPing(std::uint8_t lag) {
    m_bar = tarvex::ShowPing(lag, width() * TwipsPerPixel);
    setToolTip(LagTooltip(lag));
    update();
}

void LagBarWidget::Clear() {
    m_bar.reset();
    setToolTip(QString());
    update();
}

void LagBarWidget::paintEvent(QPaintEvent*) {
    if (!m_bar) {
        return;
    }
    QPainter painter(this);
    painter.setPen(QPen(QColor::fromRgb(m_bar->colour), 2));
    for (int x : m_bar->stroke_x) {
        const int px = x / TwipsPerPixel;
        painter.drawLine(px, height(), px, 0);
    }
}

PlayerRows::PlayerRows(const Roster& roster, bool host, QWidget* parent)
    : QWidget(parent)
    , lblNumPlayer(new QLabel(QStringLiteral("Player(s): 1/12"), this))
    , m_roster(roster)
    , m_host(host) {
    lblNumPlayer->setObjectName(QStringLiteral("lblNumPlayer"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(lblNumPlayer);
    for (int slot = 0; slot < RowCount; ++slot) {
        auto* row = new QWidget(this);
        auto* line = new QHBoxLayout(row);
        line->setContentsMargins(0, 0, 0, 0);
        pName[slot] = new QComboBox(row);
        pName[slot]->addItems({QStringLiteral("Open"), QStringLiteral("Kick")});
        pName[slot]->setMinimumWidth(130);
        pCar[slot] = new QComboBox(row);
        pTrans[slot] = new QComboBox(row);
        pTyre[slot] = new QComboBox(row);
        status[slot] = new QLabel(row);
        status[slot]->setFixedSize(20, 20);
        Lag[slot] = new LagBarWidget(row);
        for (QWidget* widget : std::initializer_list<QWidget*>{
                 pName[slot], pCar[slot], pTrans[slot], pTyre[slot], status[slot], Lag[slot]}) {
            line->addWidget(widget);
        }
        pName[slot]->setObjectName(QStringLiteral("pName%1").arg(slot));
        connect(pName[slot], &QComboBox::activated, this,
                [this, slot](int index) { pName_Activated(slot, index); });
        layout->addWidget(row);
        m_rows[slot] = row;
    }
    RefreshAll();
}

QString PlayerRows::StatusPicture(std::uint8_t value) {
    switch (PlayerStatus(value)) {
    case PlayerStatus::Idle:
        return QStringLiteral(":/status/dummyred.png");
    case PlayerStatus::Ready:
        return QStringLiteral(":/status/dummygreen.png");
    case PlayerStatus::Loading:
        return QStringLiteral(":/status/dummyload.png");
    case PlayerStatus::Driving:
        return QStringLiteral(":/status/dummywheel.png");
    case PlayerStatus::Finished:
        return QStringLiteral(":/status/dummyfinish.png");
    case PlayerStatus::Null:
        break;
    }
    return QStringLiteral(":/status/dummygrey.png");
}

void PlayerRows::RefreshSlot(int slot) {
    if (slot < 0 || slot >= RowCount) {
        return;
    }
    const PlayerRecord& record = m_roster[slot];
    pName[slot]->setItemText(0, record.Occupied() ? record.Name : QStringLiteral("Open"));
    pName[slot]->setCurrentIndex(0);
    RefreshStatus(slot);
    RefreshCars(slot);
    if (!record.Occupied()) {
        Lag[slot]->Clear();
    }
}

void PlayerRows::RefreshStatus(int slot) {
    if (slot < 0 || slot >= RowCount) {
        return;
    }
    status[slot]->setPixmap(QPixmap(StatusPicture(m_roster[slot].Status)));
    status[slot]->setProperty("picture", StatusPicture(m_roster[slot].Status));
}

void PlayerRows::RefreshCars(int slot) {
    if (slot < 0 || slot >= RowCount) {
        return;
    }
    const RowCar& car = m_roster.cars[std::size_t(slot)];
    Select(pCar[slot], car.car);
    Select(pTrans[slot], car.transmission);
    Select(pTyre[slot], car.tyre);
}

void PlayerRows::RefreshLag(int slot) {
    if (slot < 0 || slot >= RowCount) {
        return;
    }
    if (m_roster[slot].Occupied()) {
        Lag[slot]->ShowPing(m_roster[slot].Lag);
    } else {
        Lag[slot]->Clear();
    }
}

void PlayerRows::RefreshCount() {
    lblNumPlayer->setText(m_roster.PlayerCountText());
    for (int slot = 0; slot < RowCount; ++slot) {
        m_rows[slot]->setVisible(m_roster.IsRowVisible(slot));
    }
}

void PlayerRows::RefreshAll() {
    for (int slot = 0; slot < RowCount; ++slot) {
        RefreshSlot(slot);
    }
    RefreshCount();
}

void PlayerRows::pName_Activated(int slot, int index) {
    // The list always goes back to showing the name; only the host acts on the choice.
    pName[slot]->setCurrentIndex(0);
    if (index == 1 && m_host && slot != 0) {
        emit KickRequested(slot);
    }
}

} // namespace tarvex
