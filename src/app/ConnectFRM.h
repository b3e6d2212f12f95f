#pragma once

#include <QWidget>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollBar;

namespace tarvex {

class ConnectLogic;

// The start-up window: role buttons, connection fields and the status line. It shows what
// ConnectLogic decides and passes the user's clicks and edits to it; nothing else.
class ConnectFRM : public QWidget {
    Q_OBJECT

public:
    explicit ConnectFRM(ConnectLogic& logic, QWidget* parent = nullptr);

signals:
    // The window was closed while no session was established: the program ends.
    void programEnds();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void Render();
    void ConnectCMD_Click();

    ConnectLogic& m_logic;
    QGroupBox* m_Frame1;
    QPushButton* m_ServerCMD;
    QPushButton* m_ClientCMD;
    QGroupBox* m_frameT;
    QLineEdit* m_IPtxt;
    QLineEdit* m_PORTtxt;
    QLineEdit* m_nicknameTXT;
    QLineEdit* m_passwordTXT;
    QLabel* m_lblSName;
    QLineEdit* m_txtSName;
    QLabel* m_lblPlay;
    QScrollBar* m_scrPlay;
    QLineEdit* m_txtPNUM;
    QCheckBox* m_chkPublic;
    QPushButton* m_ConnectCMD;
    QLabel* m_lblStat;
};

} // namespace tarvex
