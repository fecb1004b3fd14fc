#include "outlined.h"

#include <QPainter>
#include <QStyleOptionButton>

namespace {
// Painted several times over each other beside the text: nearly black there, fading outwards.
constexpr QColor kEdge(0, 0, 0, 120);
constexpr QPoint kSides[] = {
    {-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1},
};
} // namespace

// As the label itself places its text.
void OutlinedLabel::paintEvent(QPaintEvent *event)
{
    const bool fromRight = text().isRightToLeft();
    const int flags =
        int(QStyle::visualAlignment(fromRight ? Qt::RightToLeft : Qt::LeftToRight, alignment())) |
        (fromRight ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight);
    QPalette edge = palette();
    edge.setColor(foregroundRole(), kEdge);
    {
        QPainter painter(this);
        for (const QPoint &side : kSides)
            style()->drawItemText(&painter, contentsRect().translated(side), flags, edge, true,
                                  text(), foregroundRole());
    }
    QLabel::paintEvent(event);
}

void OutlinedButton::paintEvent(QPaintEvent *event)
{
    QStyleOptionButton option;
    initStyleOption(&option);
    option.rect = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    QPixmap shape(size() * devicePixelRatioF());
    shape.setDevicePixelRatio(devicePixelRatioF());
    shape.fill(Qt::transparent);
    {
        QPainter painter(&shape);
        painter.setFont(font());
        style()->drawControl(QStyle::CE_PushButtonLabel, &option, &painter, this);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(rect(), kEdge);
    }
    {
        QPainter painter(this);
        for (const QPoint &side : kSides)
            painter.drawPixmap(side, shape);
    }
    QPushButton::paintEvent(event);
}
