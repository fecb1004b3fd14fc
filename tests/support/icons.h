// Whether an icon is the picture of a file.
#pragma once

#include <QIcon>
#include <QImage>
#include <QPixmap>

inline bool sameIcon(const QIcon &icon, const QString &file)
{
    const QSize size(64, 64); // larger than any of the player's
    const QImage expected = QIcon(file).pixmap(size).toImage();
    return !expected.isNull() && icon.pixmap(size).toImage() == expected;
}
