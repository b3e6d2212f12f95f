#include "app/SlotFRM.h"

#include <QPainter>

namespace tarvex {

namespace {

// The picture is drawn at twice its size on screen, so it stays sharp on a doubled display.
constexpr qreal kPictureScale = 2.0;

} // namespace

SlotFRM::SlotFRM(QWidget* owner)
    : QWidget(owner, Qt::Window)
    , m_picture(QStringLiteral(":/help/profileslot.png")) {
    setObjectName(QStringLiteral("SlotFRM"));
    setWindowTitle(QStringLiteral("Help"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_picture.setDevicePixelRatio(kPictureScale);
    setFixedSize(m_picture.deviceIndependentSize().toSize());
    setCursor(Qt::PointingHandCursor);
}

SlotFRM* SlotFRM::ShowFor(QWidget* owner) {
    auto* form = owner->findChild<SlotFRM*>(QString(), Qt::FindDirectChildrenOnly);
    if (!form) {
        form = new SlotFRM(owner);
    }
    form->show();
    form->raise();
    form->activateWindow();
    return form;
}

void SlotFRM::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(rect(), m_picture);
}

void SlotFRM::mousePressEvent(QMouseEvent*) {
    close();
}

} // namespace tarvex
