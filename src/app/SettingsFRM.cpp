#include "app/SettingsFRM.h"

#include "app/SlotFRM.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

namespace tarvex {

SettingsFRM::SettingsFRM(Tarvex& tarvex, QWidget* owner)
    : QWidget(owner, Qt::Window)
    , m_options(tarvex) {
    setObjectName(QStringLiteral("SettingsFRM"));
    setWindowTitle(QStringLiteral("Game Options"));
    setAttribute(Qt::WA_DeleteOnClose);

    fraServer = new QGroupBox(QStringLiteral("Server Options"), this);
    auto* server = new QVBoxLayout(fraServer);
    server->addWidget(AddCheck("chkVote", QStringLiteral("Allow Vote Restart"), fraServer));
    server->addWidget(
        AddCheck("chkClock", QStringLiteral("Increment Clock When Paused"), fraServer));
    server->addWidget(
        AddCheck("chkGhost", QStringLiteral("Disable Ghost Cars Globally"), fraServer));
    server->addWidget(AddCheck("chkCheat", QStringLiteral("Physics Cheat Protection"), fraServer));
    server->addWidget(AddCheck("chkPenal", QStringLiteral("Disable Respawn Penalties"), fraServer));
    server->addWidget(AddCheck("chkSetup", QStringLiteral("Allow Setups"), fraServer));

    lblInt = new QLabel(fraServer);
    lblInt->setObjectName(QStringLiteral("lblInt"));
    intScroll = new QScrollBar(Qt::Horizontal, fraServer);
    intScroll->setObjectName(QStringLiteral("intScroll"));
    // Slow at the left, fast at the right: moving right shortens the interval. The bar counts
    // the interval negated rather than drawing itself reversed, which not every style does for
    // a scroll bar.
    intScroll->setRange(-GameOptions::kSlowestInterval, -GameOptions::kFastestInterval);
    intScroll->setSingleStep(10);
    intScroll->setPageStep(50);
    // A drag only shows the value; the interval changes, and goes out, where the bar is let go.
    intScroll->setTracking(false);
    intScroll->setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 24);
    connect(intScroll, &QScrollBar::sliderMoved, this,
            [this](int position) { lblInt->setText(GameOptions::IntervalText(-position)); });
    connect(intScroll, &QScrollBar::valueChanged, this,
            [this](int position) { intScroll_Change(-position); });
    // An interval from outside the bar's range (a hand-edited file) sits at the nearer end of
    // it: the label tells that end once the handle is taken, and letting go there without
    // moving it chooses it.
    connect(intScroll, &QScrollBar::sliderPressed, this,
            [this] { lblInt->setText(GameOptions::IntervalText(-intScroll->sliderPosition())); });
    connect(intScroll, &QScrollBar::sliderReleased, this, [this] {
        const int position = intScroll->sliderPosition();
        if (position == intScroll->value() && -position != m_options.DataInterval()) {
            intScroll_Change(-position);
        }
    });
    server->addWidget(lblInt);
    server->addWidget(intScroll);

    cmbCompress = AddList("cmbCompress", GameOptions::CompressionNames(), fraServer);
    lblCompress = new QLabel(QStringLiteral("Data Compression"), fraServer);
    auto* compression = new QFormLayout;
    compression->addRow(lblCompress, cmbCompress);
    server->addLayout(compression);
    server->addStretch();

    fraExtra = new QGroupBox(QStringLiteral("Extra"), this);
    auto* extra = new QVBoxLayout(fraExtra);
    chkTag = AddCheck("chkTag", QStringLiteral("Display Name Above Ghost Car"), fraExtra);
    extra->addWidget(chkTag);

    auto make_bar = [this](const char* name, int low) {
        auto* bar = new QSlider(Qt::Horizontal, fraExtra);
        bar->setObjectName(QLatin1String(name));
        bar->setRange(low, 10);
        bar->setPageStep(1);
        bar->setTickPosition(QSlider::TicksBelow);
        BindValue(bar);
        return bar;
    };
    scrNameO = make_bar("scrNameO", 1);
    scrNameH = make_bar("scrNameH", 0);
    auto* names = new QFormLayout;
    names->addRow(QStringLiteral("Name Max Opacity"), scrNameO);
    names->addRow(QStringLiteral("Name Height"), scrNameH);
    extra->addLayout(names);

    scrCTime = new QSpinBox(fraExtra);
    scrCTime->setObjectName(QStringLiteral("scrCTime"));
    scrCTime->setRange(0, 99);
    txtCTime = scrCTime->findChild<QLineEdit*>();
    txtCTime->setObjectName(QStringLiteral("txtCTime"));
    connect(scrCTime, &QSpinBox::valueChanged, this, [this](int value) {
        Changed(*GameOptions::Control(QStringLiteral("scrCTime")), value);
    });
    Bind("scrCTime", scrCTime, [this](int value) { scrCTime->setValue(value); });
    auto* chat = new QHBoxLayout;
    chat->addWidget(new QLabel(QStringLiteral("Display chat for"), fraExtra));
    chat->addWidget(scrCTime);
    chat->addWidget(new QLabel(QStringLiteral("seconds"), fraExtra));
    chat->addStretch();
    extra->addLayout(chat);
    auto* hint = new QLabel(QStringLiteral("0 = never show"), fraExtra);
    hint->setForegroundRole(QPalette::PlaceholderText);
    extra->addWidget(hint);

    extra->addWidget(AddCheck("chkCGhost", QStringLiteral("Display Ghost Car"), fraExtra));
    extra->addWidget(
        AddCheck("chkSplit", QStringLiteral("Display Split Times Text Box"), fraExtra));
    extra->addWidget(
        AddCheck("chkSBox", QStringLiteral("Display Ahead/Behind Text Box"), fraExtra));
    extra->addWidget(AddCheck("chkJQ", QStringLiteral("Display Join/Quit Messages"), fraExtra));

    proSlot = AddList("proSlot", GameOptions::ProfileSlotNames(), fraExtra);
    Command1 = new QPushButton(QStringLiteral("Slot ID ?!"), fraExtra);
    Command1->setObjectName(QStringLiteral("Command1"));
    connect(Command1, &QPushButton::clicked, this, [this] { SlotFRM::ShowFor(this); });
    auto* slot = new QHBoxLayout;
    slot->addWidget(new QLabel(QStringLiteral("Slot ID:"), fraExtra));
    slot->addWidget(proSlot);
    slot->addWidget(Command1);
    slot->addStretch();
    extra->addLayout(slot);
    extra->addWidget(
        AddCheck("proBypass", QStringLiteral("Auto Bypass Profile Selection"), fraExtra));
    extra->addStretch();

    txtPath = new QLineEdit(this);
    txtPath->setObjectName(QStringLiteral("txtPath"));
    txtPath->setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('x')) * 40);
    connect(txtPath, &QLineEdit::textEdited, &m_options, &GameOptions::txtPath_Change);
    Command2 = new QPushButton(QStringLiteral("..."), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    connect(Command2, &QPushButton::clicked, this, &SettingsFRM::Command2_Click);
    auto* path = new QHBoxLayout;
    path->addWidget(txtPath, 1);
    path->addWidget(Command2);

    auto* frames = new QHBoxLayout;
    frames->addWidget(fraServer);
    frames->addWidget(fraExtra);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(frames);
    layout->addWidget(new QLabel(QStringLiteral("Executable Path"), this));
    layout->addLayout(path);
    // The dialog only grows to fit its texts; stretching it would only add empty space.
    layout->setSizeConstraint(QLayout::SetFixedSize);

    connect(&m_options, &GameOptions::ServerOptionsChanged, this, &SettingsFRM::ShowServerOptions);
    LoadOld();
}

SettingsFRM* SettingsFRM::ShowFor(QWidget* owner, Tarvex& tarvex) {
    auto* form = owner->findChild<SettingsFRM*>(QString(), Qt::FindDirectChildrenOnly);
    if (!form) {
        form = new SettingsFRM(tarvex, owner);
    }
    form->show();
    form->raise();
    form->activateWindow();
    return form;
}

QCheckBox* SettingsFRM::AddCheck(const char* name, const QString& caption, QWidget* parent) {
    auto* box = new QCheckBox(caption, parent);
    box->setObjectName(QLatin1String(name));
    const OptionControl& control = *GameOptions::Control(box->objectName());
    connect(box, &QCheckBox::clicked, this,
            [this, &control](bool checked) { Changed(control, checked ? 1 : 0); });
    Bind(name, box, [box](int value) { box->setChecked(value != 0); });
    return box;
}

QComboBox* SettingsFRM::AddList(const char* name, const QStringList& entries, QWidget* parent) {
    auto* list = new QComboBox(parent);
    list->setObjectName(QLatin1String(name));
    list->addItems(entries);
    const OptionControl& control = *GameOptions::Control(list->objectName());
    connect(list, &QComboBox::activated, this,
            [this, &control](int index) { Changed(control, index); });
    // An index beyond the list (a hand-edited file) shows no entry.
    Bind(name, list,
         [list](int value) { list->setCurrentIndex(value < list->count() ? value : -1); });
    return list;
}

void SettingsFRM::BindValue(QAbstractSlider* bar) {
    const OptionControl& control = *GameOptions::Control(bar->objectName());
    connect(bar, &QAbstractSlider::valueChanged, this,
            [this, &control](int value) { Changed(control, value); });
    Bind(control.name, bar, [bar](int value) { bar->setValue(value); });
}

void SettingsFRM::Bind(const char* name, QWidget* widget, std::function<void(int)> show) {
    m_bindings.push_back({GameOptions::Control(QLatin1String(name)), widget, std::move(show)});
}

void SettingsFRM::Changed(const OptionControl& control, int value) {
    m_options.Change(control, value);
    ShowNameBars();
}

void SettingsFRM::LoadOld() {
    for (const Binding& binding : m_bindings) {
        ShowOption(binding);
    }
    ShowInterval();
    ShowNameBars();
    txtPath->setText(m_options.GamePath());
}

void SettingsFRM::ShowOption(const Binding& binding) {
    // Showing a value is not a change: no handler runs.
    const QSignalBlocker blocker(binding.widget);
    binding.show(m_options.Value(*binding.control));
    binding.widget->setVisible(m_options.Shows(*binding.control));
    binding.widget->setEnabled(m_options.Enables(*binding.control));
}

void SettingsFRM::ShowInterval() {
    const QSignalBlocker blocker(intScroll);
    intScroll->setValue(-m_options.DataInterval());
    // The labels grey out with their locked controls, so the whole frame reads as the host's.
    for (QWidget* widget : {static_cast<QWidget*>(intScroll), static_cast<QWidget*>(lblInt),
                            static_cast<QWidget*>(lblCompress)}) {
        widget->setEnabled(m_options.EditsServerOptions());
    }
    // The interval in use, even where the bar cannot show it (a hand-edited file).
    lblInt->setText(GameOptions::IntervalText(m_options.DataInterval()));
}

void SettingsFRM::ShowServerOptions() {
    for (const Binding& binding : m_bindings) {
        if (binding.control->scope != OptionScope::Player) {
            ShowOption(binding);
        }
    }
    ShowInterval();
}

void SettingsFRM::ShowNameBars() {
    scrNameO->setEnabled(m_options.NameBarsEnabled());
    scrNameH->setEnabled(m_options.NameBarsEnabled());
}

void SettingsFRM::intScroll_Change(int milliseconds) {
    lblInt->setText(GameOptions::IntervalText(milliseconds));
    m_options.intScroll_Change(milliseconds);
}

void SettingsFRM::Command2_Click() {
    if (const auto path = m_options.Command2_Click()) {
        txtPath->setText(*path);
    }
}

void SettingsFRM::closeEvent(QCloseEvent* event) {
    event->accept();
    emit closed();
}

} // namespace tarvex
