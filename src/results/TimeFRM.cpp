#include "results/TimeFRM.h"

#include "platform/Dialogs.h"
#include "results/RaceTable.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFontMetrics>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QShowEvent>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QVBoxLayout>

namespace tarvex {

namespace {

// Column starts of the driver list, in dialog units (a quarter of the average character
// width), after the name column that starts at 0.
constexpr int kTabStops[] = {87, 184, 242, 285, 323, 360, 391, 418};

// A horizontal dialog unit in pixels. The stops were laid out for a narrow system font; the
// fonts here run wider for the same average, so the unit is stretched to keep times whole.
double DialogUnit(const QFont& font) {
    return QFontMetrics(font).averageCharWidth() / 4.0 * 1.5;
}

// Draws a TAB-separated row in the list's tab-stop columns, as a tabbed list box does.
class TabStopDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem plain = option;
        initStyleOption(&plain, index);
        const QStringList cells = plain.text.split(QLatin1Char('\t'));
        plain.text.clear();
        QStyle* style = plain.widget ? plain.widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &plain, painter, plain.widget);

        const double unit = DialogUnit(option.font);
        painter->save();
        painter->setPen(option.palette.color(
            option.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text));
        const QRect area = option.rect.adjusted(2, 0, 0, 0);
        for (int i = 0; i < cells.size(); ++i) {
            const int x = i == 0 ? 0 : int(kTabStops[qMin(i - 1, 7)] * unit);
            const int next = i < 8 ? int(kTabStops[i] * unit) : area.width();
            const QRect cell(area.left() + x, area.top(), qMax(next - x - 2, 10), area.height());
            painter->drawText(cell, Qt::AlignVCenter | Qt::AlignLeft, cells[i]);
        }
        painter->restore();
    }
};

QLabel* AddField(QGridLayout* grid, int row, int column, const QString& caption, const char* name,
                 QWidget* parent) {
    grid->addWidget(new QLabel(caption, parent), row, column);
    auto* value = new QLabel(parent);
    value->setObjectName(QLatin1String(name));
    grid->addWidget(value, row, column + 1);
    return value;
}

} // namespace

TimeFRM::TimeFRM(Results& results, Dialogs& dialogs, Hooks hooks, QWidget* owner)
    : QWidget(owner, Qt::Window)
    , m_results(results)
    , m_dialogs(dialogs)
    , m_hooks(std::move(hooks)) {
    setObjectName(QStringLiteral("TimeFRM"));
    setWindowTitle(QStringLiteral("Time Recorder"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto* fields = new QGridLayout;
    lblStage = AddField(fields, 0, 0, tr("Stage:"), "lblStage", this);
    lblWeather = AddField(fields, 1, 0, tr("Weather:"), "lblWeather", this);
    lblDamage = AddField(fields, 2, 0, tr("Damage:"), "lblDamage", this);
    lblPenalties = AddField(fields, 0, 2, tr("Penalties Disabled:"), "lblPenalties", this);
    lblSetups = AddField(fields, 1, 2, tr("Setups:"), "lblSetups", this);
    lblTime = AddField(fields, 2, 2, tr("Start Time:"), "lblTime", this);
    lblNum = new QLabel(this);
    lblNum->setObjectName(QStringLiteral("lblNum"));
    fields->addWidget(lblNum, 0, 4);

    rScroll = new QScrollBar(Qt::Horizontal, this);
    rScroll->setObjectName(QStringLiteral("rScroll"));
    rScroll->setRange(1, 1);
    connect(rScroll, &QScrollBar::valueChanged, this,
            [this](int value) { ShowTimes(value, true); });

    tList = new QListWidget(this);
    tList->setObjectName(QStringLiteral("tList"));
    tList->setItemDelegate(new TabStopDelegate(tList));
    tList->setMinimumWidth(int(450 * DialogUnit(font())));
    tList->viewport()->installEventFilter(this);

    Command2 = new QPushButton(tr("Refresh"), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    Command1 = new QPushButton(tr("Reset All Times"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    cmdExport = new QPushButton(tr("Export"), this);
    cmdExport->setObjectName(QStringLiteral("cmdExport"));
    connect(Command2, &QPushButton::clicked, this, &TimeFRM::Command2_Click);
    connect(Command1, &QPushButton::clicked, this, &TimeFRM::Command1_Click);

    mnuMode = new QMenu(QStringLiteral("Mode"), this);
    mnuMode->setObjectName(QStringLiteral("mnuMode"));
    mnuMode->addSeparator();
    const std::pair<const char*, int> modes[] = {
        {"Fixed Width", FixedWidth}, {"Tab Delimited", TabDelimited}, {"HTML Dump", HtmlDump}};
    for (const auto& [caption, mode] : modes) {
        mnuMode->addAction(QLatin1String(caption), this, [this, mode = mode] { Export(mode); });
    }
    connect(cmdExport, &QPushButton::clicked, this,
            [this] { mnuMode->popup(cmdExport->mapToGlobal(QPoint(0, cmdExport->height()))); });

    mnuCopy = new QMenu(this);
    mnuCopy->setObjectName(QStringLiteral("mnuCopy"));
    mnuCopy->addAction(QStringLiteral("Copy"), this, &TimeFRM::mnuCopy2_Click);

    Timer1 = new QTimer(this);
    Timer1->setInterval(1000);
    connect(Timer1, &QTimer::timeout, this, &TimeFRM::Timer1_Timer);
    Timer1->start();

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(Command2);
    buttons->addWidget(Command1);
    buttons->addStretch();
    buttons->addWidget(cmdExport);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(rScroll);
    layout->addWidget(tList, 1);
    layout->addLayout(buttons);

    connect(&m_results, &Results::Changed, this,
            [this] { ShowTimes(m_results.UpperBound(), false); });
    ShowTimes(m_results.UpperBound(), false);
}

TimeFRM* TimeFRM::ShowFor(QWidget* owner, Results& results, Dialogs& dialogs, Hooks hooks) {
    auto* form =
        owner ? owner->findChild<TimeFRM*>(QString(), Qt::FindDirectChildrenOnly) : nullptr;
    if (!form) {
        form = new TimeFRM(results, dialogs, std::move(hooks), owner);
    }
    form->show();
    form->raise();
    form->activateWindow();
    return form;
}

void TimeFRM::ShowTimes(int race, bool from_scroll) {
    const auto display = DisplayRace(m_results, race);
    if (!display) {
        return;
    }
    tList->clear();
    tList->addItems(display->rows);
    lblStage->setText(display->stage);
    lblWeather->setText(display->weather);
    lblDamage->setText(display->damage);
    lblPenalties->setText(display->penalties);
    lblSetups->setText(display->setups);
    lblTime->setText(display->time);
    lblNum->setText(display->number);
    if (!from_scroll) {
        const QSignalBlocker blocker(rScroll);
        rScroll->setRange(1, m_results.UpperBound());
        rScroll->setValue(race);
    }
}

void TimeFRM::Command2_Click() {
    const int row = tList->currentRow();
    ShowTimes(rScroll->value(), false);
    if (row >= 0 && row < tList->count()) {
        tList->setCurrentRow(row);
    }
}

void TimeFRM::Command1_Click() {
    m_results.Reset();
    close();
}

void TimeFRM::mnuCopy2_Click() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    if (QListWidgetItem* item = tList->currentItem()) {
        clipboard->setText(item->text());
    }
}

void TimeFRM::Timer1_Timer() {
    // While the game runs the table only follows the times as they arrive.
    const bool game_running = m_hooks.is_game_running && m_hooks.is_game_running();
    if (rScroll->value() == rScroll->maximum() && !game_running) {
        Command2_Click();
    }
}

void TimeFRM::Export(int mode) {
    const ExportContext context =
        m_hooks.export_context ? m_hooks.export_context() : ExportContext{};
    ExportTimes(m_dialogs, m_results, mode, context);
}

bool TimeFRM::eventFilter(QObject* watched, QEvent* event) {
    if (watched == tList->viewport() && event->type() == QEvent::MouseButtonPress) {
        auto* press = static_cast<QMouseEvent*>(event);
        if (press->button() == Qt::RightButton) {
            // A right click selects the row under the pointer first, as a left click would.
            if (QListWidgetItem* item = tList->itemAt(press->position().toPoint())) {
                tList->setCurrentItem(item);
            }
            if (tList->currentItem()) {
                mnuCopy->popup(press->globalPosition().toPoint());
            }
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TimeFRM::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // Over the game and the race window, where the player is looking.
    raise();
    activateWindow();
}

void TimeFRM::closeEvent(QCloseEvent* event) {
    Timer1->stop();
    if (m_hooks.closed) {
        m_hooks.closed();
    }
    QWidget::closeEvent(event);
}

} // namespace tarvex
