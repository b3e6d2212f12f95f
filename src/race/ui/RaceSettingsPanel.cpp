#include "race/ui/RaceSettingsPanel.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace tarvex {

void BindComboBox(QComboBox* box, ChoiceList& list, bool follow_enabled) {
    auto mirror = [box, &list, follow_enabled] {
        const QSignalBlocker blocker(box);
        if (box->count() != list.Count() || [&] {
                for (int i = 0; i < list.Count(); ++i) {
                    if (box->itemText(i) != list.Text(i)) {
                        return true;
                    }
                }
                return false;
            }()) {
            box->clear();
            box->addItems(list.Texts());
        }
        box->setCurrentIndex(list.Index());
        if (follow_enabled) {
            box->setEnabled(list.Enabled());
        }
    };
    mirror();
    QObject::connect(&list, &ChoiceList::Changed, box, mirror);
    QObject::connect(box, &QComboBox::activated, &list, [&list](int index) { list.Pick(index); });
}

void BindOptionButtons(const QList<QRadioButton*>& buttons, ChoiceList& list) {
    if (buttons.isEmpty()) {
        return;
    }
    auto* group = new QButtonGroup(buttons.first()->parent());
    for (int i = 0; i < buttons.size(); ++i) {
        group->addButton(buttons[i], i);
    }
    auto mirror = [buttons, group, &list] {
        // A group shows no choice while the model has none, which an exclusive group cannot.
        group->setExclusive(false);
        for (int i = 0; i < buttons.size(); ++i) {
            const QSignalBlocker blocker(buttons[i]);
            buttons[i]->setChecked(i == list.Index());
            buttons[i]->setEnabled(list.Enabled());
        }
        group->setExclusive(true);
    };
    mirror();
    QObject::connect(&list, &ChoiceList::Changed, group, mirror);
    QObject::connect(group, &QButtonGroup::idClicked, &list, [&list](int id) { list.Pick(id); });
}

RaceSettingsPanel::RaceSettingsPanel(RaceChoices& choices, QWidget* parent)
    : QWidget(parent)
    , m_choices(choices) {
    auto make_box = [this](const char* name, ChoiceList& list) {
        auto* box = new QComboBox(this);
        box->setObjectName(QLatin1String(name));
        // The stage texts line their lengths up in columns.
        box->setFont(QFont(QStringLiteral("Monospace")));
        box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
        BindComboBox(box, list);
        return box;
    };
    cmbCountry = make_box("cmbCountry", choices.cmbCountry);
    cmbStage = make_box("cmbStage", choices.cmbStage);
    cmbWeather = make_box("cmbWeather", choices.cmbWeather);
    cmbHumid = make_box("cmbHumid", choices.cmbHumid);
    cmbWear = make_box("cmbWear", choices.cmbWear);

    auto* lists = new QFormLayout;
    lists->addRow(tr("Country:"), cmbCountry);
    lists->addRow(tr("Stage:"), cmbStage);
    lists->addRow(tr("Weather:"), cmbWeather);
    lists->addRow(tr("Humidity:"), cmbHumid);
    lists->addRow(tr("Tyre Wear:"), cmbWear);

    auto make_options = [this](const QString& title, const char* name, ChoiceList& list,
                               auto& buttons) {
        auto* box = new QGroupBox(title, this);
        auto* layout = new QVBoxLayout(box);
        QList<QRadioButton*> made;
        for (int i = 0; i < int(buttons.size()); ++i) {
            buttons[i] = new QRadioButton(list.Text(i), box);
            buttons[i]->setObjectName(QStringLiteral("%1_%2").arg(QLatin1String(name)).arg(i));
            layout->addWidget(buttons[i]);
            made << buttons[i];
        }
        BindOptionButtons(made, list);
        return box;
    };
    auto* weather = make_options(tr("Weather"), "optWeather", choices.optWeather, optWeather);
    auto* damage = make_options(tr("Damage"), "optDam", choices.optDam, optDam);

    pWeather = new QLabel(this);
    pWeather->setObjectName(QStringLiteral("pWeather"));
    pWeather->setFixedSize(64, 48);
    ShowWeatherPicture(choices.WeatherPicture());
    connect(&choices, &RaceChoices::WeatherPictureChanged, this,
            &RaceSettingsPanel::ShowWeatherPicture);

    Command1 = new QPushButton(tr("Randomize"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setVisible(choices.form() == RaceChoices::Form::Host);
    connect(Command1, &QPushButton::clicked, this, [this] { m_choices.Command1_Click(); });
    connect(&choices, &RaceChoices::RaceLockChanged, Command1,
            [this](bool locked) { Command1->setEnabled(!locked); });

    auto* side = new QVBoxLayout;
    side->addWidget(pWeather, 0, Qt::AlignHCenter);
    side->addWidget(Command1);
    side->addStretch();

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(lists);
    layout->addWidget(weather);
    layout->addWidget(damage);
    layout->addLayout(side);
}

void RaceSettingsPanel::ShowWeatherPicture(int index) {
    if (index < 0) {
        pWeather->clear();
        return;
    }
    pWeather->setPixmap(QPixmap(QStringLiteral(":/weather/weather%1.png").arg(index)));
}

} // namespace tarvex
