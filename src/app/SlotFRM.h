#pragma once

#include <QPixmap>
#include <QWidget>

namespace tarvex {

// "Help": a picture that shows what the profile slot of the game options is. A click anywhere
// on it closes it.
class SlotFRM : public QWidget {
    Q_OBJECT

public:
    explicit SlotFRM(QWidget* owner);

    // "Slot ID ?!": brings the owner's help up, opening it when it is not.
    static SlotFRM* ShowFor(QWidget* owner);

    const QPixmap& Picture() const { return m_picture; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QPixmap m_picture;
};

} // namespace tarvex
