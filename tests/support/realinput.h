// Real mouse and keys for a window of the test's own, and what of them arrives.
//
//     QVERIFY(xdotool(pointTo(middle) + QStringList{"click", "1", "sleep", "0.2", "click", "1"}));
#pragma once

#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QPoint>
#include <QProcess>
#include <QStringList>
#include <QTest>

// Rows of points of the window, and whether they count as inside the play area: its edges don't.
inline void addPlayAreaPoints()
{
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<bool>("inside");
    QTest::newRow("left edge") << QPoint(0, 200) << false;
    QTest::newRow("left") << QPoint(1, 200) << true;
    QTest::newRow("top edge") << QPoint(200, 40) << false;
    QTest::newRow("top") << QPoint(200, 41) << true;
    QTest::newRow("right") << QPoint(728, 200) << true;
    QTest::newRow("right edge") << QPoint(729, 200) << false;
    QTest::newRow("bottom") << QPoint(200, 450) << true;
    QTest::newRow("bottom edge") << QPoint(200, 451) << false;
    QTest::newRow("corner") << QPoint(0, 40) << false;
    QTest::newRow("inner corner") << QPoint(1, 41) << true;
    QTest::newRow("title bar") << QPoint(200, 10) << false;
}

// Done while the event loop runs: the window sees it at its own time.
inline bool xdotool(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    return QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 20000) &&
        process.exitCode() == 0;
}

inline QStringList pointTo(const QPoint &position)
{
    return {"mousemove", QString::number(position.x()), QString::number(position.y())};
}

inline bool click(const QPoint &position, int button = 1)
{
    return xdotool(pointTo(position) + QStringList{"click", QString::number(button)});
}

// Presses as the window got them, in ms.
class Presses : public QObject {
public:
    explicit Presses(QObject *window)
    {
        clock.start();
        window->installEventFilter(this);
    }

    QList<qint64> single;
    QList<qint64> doubled;
    QElapsedTimer clock;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::MouseButtonPress)
            single << clock.elapsed();
        if (event->type() == QEvent::MouseButtonDblClick)
            doubled << clock.elapsed();
        return false;
    }
};
