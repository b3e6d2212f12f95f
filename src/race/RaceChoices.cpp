#include "race/RaceChoices.h"

#include "race/RaceCatalogue.h"

namespace tarvex {

namespace {

// Raises a guard flag for one selection and lowers it whatever the selection did.
class Raised {
public:
    explicit Raised(bool& flag)
        : m_flag(flag) {
        m_flag = true;
    }
    ~Raised() { m_flag = false; }
    Raised(const Raised&) = delete;
    Raised& operator=(const Raised&) = delete;

private:
    bool& m_flag;
};

} // namespace

RaceChoices::RaceChoices(Form form, RaceSettings& race, CarSelection& own_car, RandomSource random,
                         QObject* parent)
    : QObject(parent)
    , m_form(form)
    , m_race(race)
    , m_own_car(own_car)
    , m_random(std::move(random))
    , m_is_host(form == Form::Host) {
    cmbWear.SetEntries(TyreWearNames());
    optWeather.SetEntries(WeatherModeNames());
    optDam.SetEntries(DamageNames());
    // The client's humidity list never changes: it only ever shows the host's choice.
    if (m_form == Form::Client) {
        cmbHumid.SetEntries({QStringLiteral("Dry"), QStringLiteral("Damp"), QStringLiteral("Wet")});
    }
    for (int row = 0; row < kRowCount; ++row) {
        pCar[row].SetEntries(CarNames());
        pTrans[row].SetEntries(TransmissionNames());
        pTyre[row].SetEntries(TyreNames());
        pCar[row].SetClickHandler([this, row] { pCar_Click(row); });
        pTrans[row].SetClickHandler([this, row] { pTrans_Click(row); });
        pTyre[row].SetClickHandler([this, row] { pTyre_Click(row); });
    }

    cmbWeather.SetClickHandler([this] { cmbWeather_Click(); });
    if (m_form == Form::Host) {
        cmbCountry.SetClickHandler([this] { cmbCountry_Click(); });
        cmbStage.SetClickHandler([this] { cmbStage_Click(); });
        cmbHumid.SetClickHandler([this] { cmbHumid_Click(); });
        cmbWear.SetClickHandler([this] { cmbWear_Click(); });
        optWeather.SetClickHandler([this] { optWeather_Click(optWeather.Index()); });
        optDam.SetClickHandler([this] { optDam_Click(optDam.Index()); });
    }
    SetLocalSlot(0);
}

void RaceChoices::SetLocalSlot(int slot) {
    m_local_slot = slot;
    for (int row = 0; row < kRowCount; ++row) {
        const bool own = row == LocalRow() && !m_race_locked;
        pCar[row].SetEnabled(own);
        pTrans[row].SetEnabled(own);
        pTyre[row].SetEnabled(own);
    }
}

void RaceChoices::Send() {
    if (SendGameData) {
        SendGameData();
    }
}

void RaceChoices::ShowWeatherPicture(int index) {
    m_weather_picture = index;
    emit WeatherPictureChanged(index);
}

void RaceChoices::FillCombos() {
    cmbCountry.SetEntries(CountryNames());
}

void RaceChoices::FillStage(int country) {
    cmbStage.Clear();
    for (const StageEntry& entry : CountryStages(country)) {
        cmbStage.Add(QString::fromLatin1(entry.text), entry.stage_id);
    }
    Raised guard(FillingStage);
    if (cmbStage.Pick(m_race.StageIndex)) {
        m_race.StageId = std::uint8_t(cmbStage.Data(cmbStage.Index()));
    }
}

void RaceChoices::FillWeather(int stage_id) {
    cmbWeather.SetEntries(WeatherPresets(stage_id));
    Raised guard(FillingWeather);
    // A stage without presets keeps the previous name: the game is given that one.
    if (cmbWeather.Pick(m_race.WeatherPreset)) {
        m_race.WeatherPresetName = cmbWeather.CurrentText();
    }
}

void RaceChoices::FillHumid(int stage_id) {
    cmbHumid.SetEntries(HumidityEntries(stage_id));
    Raised guard(FillingHumid);
    cmbHumid.Pick(m_race.Humidity);
}

void RaceChoices::SelBestTyre() {
    Raised guard(SelectingTyre);
    const TyreProposal proposal = ProposeTyre(m_race);
    auto select_tyre = [&] {
        if (proposal.tyre >= 0) {
            pTyre[LocalRow()].Pick(proposal.tyre);
        }
    };
    auto show_picture = [&] {
        if (proposal.picture >= 0) {
            ShowWeatherPicture(proposal.picture);
        }
    };
    if (proposal.tyre_first) {
        select_tyre();
        show_picture();
    } else {
        show_picture();
        select_tyre();
    }
}

void RaceChoices::LoadOld() {
    // The local row shows the stored car before anything proposes a tyre.
    ShowCar(LocalRow(), m_own_car);
    emit OwnCarChanged();
    if (m_form == Form::Host) {
        LoadOldHost();
    } else {
        LoadOldClient();
    }
}

void RaceChoices::LoadOldHost() {
    // The country's click handler resets these, so they are put back step by step below.
    const std::uint8_t stage_index = m_race.StageIndex;
    const std::uint8_t weather_preset = m_race.WeatherPreset;
    const std::uint8_t humidity = m_race.Humidity;

    cmbCountry.Pick(m_race.Country);
    FillStage(m_race.Country);

    m_race.StageIndex = stage_index;
    cmbStage.Pick(m_race.StageIndex);
    FillWeather(m_race.StageId);

    m_race.WeatherPreset = weather_preset;
    cmbWeather.Pick(m_race.WeatherPreset);
    m_race.Humidity = humidity;
    cmbHumid.Pick(m_race.Humidity);
    cmbWear.Pick(m_race.TyreWear);

    optDam.Pick(m_race.Damage);
    optWeather.Pick(m_race.WeatherMode);
}

void RaceChoices::LoadOldClient() {
    cmbCountry.Select(m_race.Country);
    FillStage(m_race.Country);
    cmbStage.Select(m_race.StageIndex);
    FillWeather(m_race.StageId);
    cmbWeather.Pick(m_race.WeatherPreset);
    cmbWear.Select(m_race.TyreWear);
    cmbHumid.Select(m_race.Humidity);
    optDam.Select(m_race.Damage);
    optWeather.Select(m_race.WeatherMode);
    SelBestTyre();
}

void RaceChoices::DisableHostControls() {
    for (ChoiceList* list :
         {&cmbCountry, &cmbStage, &cmbWeather, &cmbWear, &cmbHumid, &optDam, &optWeather}) {
        list->SetEnabled(false);
    }
}

void RaceChoices::SetRaceLocked(bool locked) {
    m_race_locked = locked;
    if (HostActs()) {
        for (ChoiceList* list :
             {&cmbCountry, &cmbStage, &cmbWeather, &cmbWear, &cmbHumid, &optDam, &optWeather}) {
            list->SetEnabled(!locked);
        }
    }
    const int own = LocalRow();
    pCar[own].SetEnabled(!locked);
    pTrans[own].SetEnabled(!locked);
    pTyre[own].SetEnabled(!locked);
    emit RaceLockChanged(locked);
}

void RaceChoices::ShowCar(int slot, const CarSelection& car) {
    if (slot < 0 || slot >= kRowCount) {
        return;
    }
    auto show = [](ChoiceList& list, int index) {
        if (!list.Select(index)) {
            list.Deselect();
        }
    };
    show(pCar[slot], car.Car);
    show(pTrans[slot], car.Transmission);
    show(pTyre[slot], car.Tyre);
}

void RaceChoices::cmbCountry_Click() {
    m_race.Country = std::uint8_t(cmbCountry.Index());
    // Back to the first entries before refilling, so the new lists open on them.
    m_race.StageIndex = 0;
    m_race.WeatherPreset = 0;
    m_race.Humidity = 0;
    FillStage(m_race.Country);
    FillWeather(m_race.StageId);
    FillHumid(m_race.StageId);
    if (!HostActs()) {
        return;
    }
    SelBestTyre();
    Send();
}

void RaceChoices::cmbStage_Click() {
    if (!HostActs() || FillingStage) {
        return;
    }
    m_race.StageIndex = std::uint8_t(cmbStage.Index());
    m_race.StageId = std::uint8_t(cmbStage.Data(cmbStage.Index()));
    // The tyre is proposed before the humidity list is refilled, so a humidity the new stage
    // does not offer still decides it.
    SelBestTyre();
    Send();
    FillWeather(m_race.StageId);
    FillHumid(m_race.StageId);
}

void RaceChoices::cmbWeather_Click() {
    if (m_form == Form::Client) {
        m_race.WeatherPresetName = cmbWeather.CurrentText();
        return;
    }
    if (!HostActs() || FillingWeather) {
        return;
    }
    m_race.WeatherPreset = std::uint8_t(cmbWeather.Index());
    m_race.WeatherPresetName = cmbWeather.CurrentText();
    Send();
}

void RaceChoices::cmbHumid_Click() {
    if (!HostActs() || FillingHumid) {
        return;
    }
    m_race.Humidity = std::uint8_t(cmbHumid.Index());
    SelBestTyre();
    Send();
}

void RaceChoices::cmbWear_Click() {
    if (!HostActs()) {
        return;
    }
    m_race.TyreWear = std::uint8_t(cmbWear.Index());
    Send();
}

void RaceChoices::optWeather_Click(int index) {
    if (!HostActs()) {
        return;
    }
    m_race.WeatherMode = std::uint8_t(index);
    SelBestTyre();
    if (index == 1) {
        // Drawn once, here: every client receives this draw and the race start keeps it.
        m_race.WeatherCondition = RandomInt(m_random, 1, 2) == 1 ? 0 : 2;
    } else {
        m_race.WeatherCondition = std::uint8_t(index);
    }
    Send();
}

void RaceChoices::optDam_Click(int index) {
    if (!HostActs()) {
        return;
    }
    m_race.Damage = std::uint8_t(index);
    Send();
}

void RaceChoices::pCar_Click(int index) {
    if (index != LocalRow()) {
        return;
    }
    m_own_car.Car = std::uint8_t(pCar[index].Index());
    emit OwnCarChanged();
    Send();
}

void RaceChoices::pTrans_Click(int index) {
    if (index != LocalRow()) {
        return;
    }
    m_own_car.Transmission = std::uint8_t(pTrans[index].Index());
    emit OwnCarChanged();
    Send();
}

void RaceChoices::pTyre_Click(int index) {
    if (index != LocalRow()) {
        return;
    }
    m_own_car.Tyre = std::uint8_t(pTyre[index].Index());
    emit OwnCarChanged();
    // The host's proposal goes out with the change that caused it. A client has no such
    // message to ride on, so its proposed tyre is sent to the host at once.
    if (m_form == Form::Host && SelectingTyre) {
        return;
    }
    Send();
}

void RaceChoices::Command1_Click() {
    // Special is left out: Finland to USA only, and the first six stages of each.
    cmbCountry.Pick(RandomInt(m_random, 0, 5));
    cmbStage.Pick(RandomInt(m_random, 0, 5));
}

} // namespace tarvex
