#pragma once

#include "race/RaceChoices.h"

#include <QWidget>
#include <array>

class QComboBox;
class QLabel;
class QPushButton;
class QRadioButton;

namespace tarvex {

// Makes `box` show `list` (entries, selection and, unless the window decides that itself,
// whether it is enabled) and turns the user's choice into a pick of that entry, which runs the
// list's click handler.
void BindComboBox(QComboBox* box, ChoiceList& list, bool follow_enabled = true);
// The same for a group of option buttons, one per entry of `list`.
void BindOptionButtons(const QList<QRadioButton*>& buttons, ChoiceList& list);

// The race-setting controls of the host's and the client's race window: country, stage,
// weather preset, humidity, tyre wear, weather and damage options, the weather picture and
// (host only) "Randomize". A client's panel is read-only.
class RaceSettingsPanel : public QWidget {
    Q_OBJECT

public:
    explicit RaceSettingsPanel(RaceChoices& choices, QWidget* parent = nullptr);

    QComboBox* cmbCountry = nullptr;
    QComboBox* cmbStage = nullptr;
    QComboBox* cmbWeather = nullptr;
    QComboBox* cmbHumid = nullptr;
    QComboBox* cmbWear = nullptr;
    std::array<QRadioButton*, 3> optWeather{};
    std::array<QRadioButton*, 4> optDam{};
    QLabel* pWeather = nullptr;
    QPushButton* Command1 = nullptr;

private:
    void ShowWeatherPicture(int index);

    RaceChoices& m_choices;
};

} // namespace tarvex
