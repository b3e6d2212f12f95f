#pragma once

#include "app/GameOptions.h"

#include <QWidget>
#include <functional>
#include <vector>

class QAbstractSlider;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollBar;
class QSlider;
class QSpinBox;

namespace tarvex {

class Tarvex;

// "Game Options": the player's own display options, the host's server options (greyed on a
// client, showing the host's values) and the game executable. Non-modal, owned by a race
// window; every control acts at once, there is nothing to confirm.
class SettingsFRM : public QWidget {
    Q_OBJECT

public:
    SettingsFRM(Tarvex& tarvex, QWidget* owner);

    // "Game Options": brings the owner's dialog up, opening it when it is not.
    static SettingsFRM* ShowFor(QWidget* owner, Tarvex& tarvex);

    GameOptions& Options() { return m_options; }

    QGroupBox* fraServer = nullptr;
    QGroupBox* fraExtra = nullptr;
    QScrollBar* intScroll = nullptr;
    QLabel* lblInt = nullptr;
    QComboBox* cmbCompress = nullptr;
    QLabel* lblCompress = nullptr;
    QCheckBox* chkTag = nullptr;
    QSlider* scrNameO = nullptr;
    QSlider* scrNameH = nullptr;
    QSpinBox* scrCTime = nullptr;
    QLineEdit* txtCTime = nullptr;
    QComboBox* proSlot = nullptr;
    QPushButton* Command1 = nullptr; // "Slot ID ?!"
    QLineEdit* txtPath = nullptr;
    QPushButton* Command2 = nullptr; // "..."

signals:
    // The dialog went away; its owner gives the focus back to where the player types.
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    struct Binding {
        const OptionControl* control;
        QWidget* widget;
        std::function<void(int)> show;
    };

    QCheckBox* AddCheck(const char* name, const QString& caption, QWidget* parent);
    QComboBox* AddList(const char* name, const QStringList& entries, QWidget* parent);
    void BindValue(QAbstractSlider* bar);
    void Bind(const char* name, QWidget* widget, std::function<void(int)> show);
    void Changed(const OptionControl& control, int value);

    // Sets every control from the settings.
    void LoadOld();
    void ShowOption(const Binding& binding);
    void ShowInterval();
    void ShowServerOptions();
    void ShowNameBars();

    void intScroll_Change(int milliseconds);
    void Command2_Click();

    GameOptions m_options;
    std::vector<Binding> m_bindings;
};

} // namespace tarvex
