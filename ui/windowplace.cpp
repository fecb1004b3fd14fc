#include "windowplace.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <algorithm>

bool isMaximizedAnywhere(const QWidget *window)
{
    const QWindow *native = window->windowHandle();
    return window->isMaximized() || (native && native->windowStates() & Qt::WindowMaximized);
}

QVector<QRect> screenPlaces()
{
    QVector<QRect> places;
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (const QScreen *screen : screens)
        places << screen->geometry();
    return places;
}

QPoint placeOnScreens(const QRect &place, int titleHeight, const QVector<QRect> &screens)
{
    const QRect title(place.topLeft(), QSize(place.width(), titleHeight));
    const auto holdsTitle = [&](const QRect &screen) { return screen.intersects(title); };
    if (screens.isEmpty() || std::any_of(screens.begin(), screens.end(), holdsTitle))
        return place.topLeft();
    // Larger than the screen, its upper left corner is what must be seen.
    const QRect &first = screens.first();
    return first.topLeft() +
        QPoint(qMax(0, (first.width() - place.width()) / 2),
               qMax(0, (first.height() - place.height()) / 2));
}

int sideToCover(int side, qreal factor)
{
    return factor > 1 ? side + qRound(side * factor) % 2 : side;
}
