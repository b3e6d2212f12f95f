#pragma once

#include "race/ChoiceList.h"
#include "race/RaceSettings.h"
#include "race/Random.h"

#include <QObject>
#include <array>
#include <functional>

namespace tarvex {

// The race-setting controls of a race window and the rules behind them. The host's window
// edits the race with them and broadcasts every change; a client's window shows the host's
// race read-only and lets its player choose only their own car.
//
// The lists are plain models (ChoiceList); the window binds its widgets to them. Handlers are
// named after the controls that raise them, so they read like the window's own events.
class RaceChoices : public QObject {
    Q_OBJECT

public:
    enum class Form { Host, Client };
    static constexpr int kRowCount = 12;

    // `race` and `own_car` belong to the instance (the stored settings); they are edited here.
    RaceChoices(Form form, RaceSettings& race, CarSelection& own_car, RandomSource random,
                QObject* parent = nullptr);

    Form form() const { return m_form; }
    void SetRandomSource(RandomSource random) { m_random = std::move(random); }

    // On the host window: whether this copy runs the server. Handlers act only then.
    void SetIsHost(bool is_host) { m_is_host = is_host; }
    // The slot row the local player edits: 0 on the host, the assigned slot on a client.
    void SetLocalSlot(int slot);
    int LocalRow() const { return m_form == Form::Host ? 0 : m_local_slot; }

    // Host: broadcasts the game data. Client: sends the own car choice to the host, which the
    // sender does only while connected.
    std::function<void()> SendGameData;

    ChoiceList cmbCountry;
    ChoiceList cmbStage;
    ChoiceList cmbWeather;
    ChoiceList cmbHumid;
    ChoiceList cmbWear;
    ChoiceList optWeather;
    ChoiceList optDam;
    std::array<ChoiceList, kRowCount> pCar;
    std::array<ChoiceList, kRowCount> pTrans;
    std::array<ChoiceList, kRowCount> pTyre;

    // Index of the weather picture shown (pWeather), -1 before the first.
    int WeatherPicture() const { return m_weather_picture; }

    // Raised while the program itself selects the entry, so that the click handler does not
    // take the selection for a user's choice.
    bool FillingStage = false;
    bool FillingWeather = false;
    bool FillingHumid = false;
    bool SelectingTyre = false;

    void FillCombos();
    void FillStage(int country);
    void FillWeather(int stage_id);
    void FillHumid(int stage_id);
    void SelBestTyre();
    void LoadOld();
    // Makes the host-only controls read-only: a client follows the host's choices.
    void DisableHostControls();
    // While a race is launched nobody changes what it is run with: the host's race settings,
    // "Randomize" and the local player's own car lists are locked.
    void SetRaceLocked(bool locked);
    bool RaceLocked() const { return m_race_locked; }
    // Shows a player's car choice in their row, as received; no handler runs. A list whose
    // value is out of its range shows nothing.
    void ShowCar(int slot, const CarSelection& car);

    void cmbCountry_Click();
    void cmbStage_Click();
    void cmbWeather_Click();
    void cmbHumid_Click();
    void cmbWear_Click();
    void optWeather_Click(int index);
    void optDam_Click(int index);
    void pCar_Click(int index);
    void pTrans_Click(int index);
    void pTyre_Click(int index);
    // "Randomize"
    void Command1_Click();

signals:
    void WeatherPictureChanged(int index);
    // The local player chose (or was given) another car, transmission or tyre.
    void OwnCarChanged();
    void RaceLockChanged(bool locked);

private:
    void ShowWeatherPicture(int index);
    void Send();
    bool HostActs() const { return m_form == Form::Host && m_is_host; }
    void LoadOldHost();
    void LoadOldClient();

    Form m_form;
    RaceSettings& m_race;
    CarSelection& m_own_car;
    RandomSource m_random;
    bool m_is_host;
    int m_local_slot = 0;
    int m_weather_picture = -1;
    bool m_race_locked = false;
};

} // namespace tarvex
