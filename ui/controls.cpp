#include "controls.h"

#include <QLabel>

void setHint(QWidget *control, const QString &text)
{
    control->setToolTip(text);
    control->setAccessibleName(text);
}

QIcon controlIcon(const QString &name)
{
    return QIcon(QStringLiteral(":/image/controlicon/%1.png").arg(name));
}

void whiten(QLabel *label)
{
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, Qt::white);
    label->setPalette(palette);
}

QString volumSliderStyle(const char *filled)
{
    return QString(" QSlider::add-page:Horizontal{ background-color: rgb(87, 97, 106); height:4px;}"
                   " QSlider::sub-page:Horizontal     {background-color:rgba(%1, 255); height:4px;}"
                   "QSlider::groove:Horizontal {background:transparent;height:6px;}"
                   "QSlider::handle:Horizontal { border: 0px ;width: 5px;height:5px;"
                   "margin: -7px -7px -7px -7px;background-color:rgba(57,108,100, 255);}")
        .arg(filled);
}

QString processSliderStyle(const char *filled)
{
    // ":/images/" instead of ":/image/" is intended; the handle's picture lies there.
    return QString(
               " QSlider::add-page:Horizontal{  background-color: rgb(87, 97, 106); height:4px;}"
               " QSlider::sub-page:Horizontal     {background-color:rgba(%1, 255); height:4px;}"
               "QSlider::groove:Horizontal {background:transparent;height:6px;}"
               "QSlider::handle:Horizontal{height: 30px;width:8px;"
               "border-image: url(:/images/ic_music_thumb.png); margin: -8 0px;} ")
        .arg(filled);
}

bool strictlyInside(const QPoint &point, const QRect &rectangle)
{
    const int right = rectangle.x() + rectangle.width();
    const int bottom = rectangle.y() + rectangle.height();
    return rectangle.x() < point.x() && point.x() < right && rectangle.y() < point.y() &&
        point.y() < bottom;
}
