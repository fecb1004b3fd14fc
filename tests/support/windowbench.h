// The real main window with a scripted engine behind it: shown, active, one film in its list.
//
//     WindowBench bench;
//     bench.play();
//     QCOMPARE(bench.sent([&] { QTest::keyClick(bench.window.data(), Qt::Key_Left); }),
//              QByteArray("seek -5 0\n"));
#pragma once

#include "common.h"
#include "enginebench.h"
#include "engine.h"
#include "testsupport.h"
#include "testwindow.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEvent>
#include <QMouseEvent>
#include <QProcess>
#include <QScopedPointer>
#include <QStringList>
#include <QTest>

#include <functional>

class WindowBench {
public:
    explicit WindowBench(const QString &film = QStringLiteral("/film.mp4"))
        : cleaned((resetSharedState(), true))
        , engine(root.path())
    {
        defaultPlayPath = root.historyFile();
        screenShotPath = root.path() + "/shots/";
        if (!QDir().mkpath(screenShotPath))
            qFatal("cannot make the screenshot folder");
        engine.setLength("100.00");
        engine.setPosition("40.0");
        addrlist[0].addr = film;
        addrlist[0].label = QStringLiteral("the film");
        addrlist[0].type = 1;
        addrNum = 1;
        defaultVolum = 30;
        window.reset(new TestWindow(nullptr));
        window->show();
        // The first layout sets the volume, whose notice and command come a little later.
        const auto settled = [this] {
            return window->windowActiveFlag && window->ui->volumSlider->value() == defaultVolum &&
                !window->volumSliderTimer->isActive();
        };
        if (!QTest::qWaitFor(settled, 15000))
            qWarning("the main window does not come up");
    }

    bool play()
    {
        window->on_playBtn_clicked();
        return engine.waitForStarts(1) &&
            QTest::qWaitFor([this] { return window->currentPosition == 40; }, 15000);
    }

    // The input that action causes, as the engine got it; the poll's commands are left out.
    QByteArray sent(const std::function<void()> &action)
    {
        const QByteArray before = "# before " + QByteArray::number(++mark) + "\n";
        const QByteArray after = "# after " + QByteArray::number(mark) + "\n";
        writeToEngine(before);
        action();
        writeToEngine(after);
        if (!engine.waitForInput(after))
            return "nothing came through";
        QByteArray input = engine.input();
        input = input.mid(input.indexOf(before) + before.size());
        input.truncate(input.indexOf(after));
        return input.replace("get_time_length\n", "").replace("get_time_pos\n", "");
    }

    QRect videoOnScreen() const
    {
        return QRect(window->ui->playWidget->mapToGlobal(QPoint()), window->ui->playWidget->size());
    }

    bool enterFullScreen()
    {
        window->on_fullScreenBtn_clicked();
        return QTest::qWaitFor([this] { return fillsScreen(); }, 15000);
    }

    bool barShown() const { return window->fsvc->state && window->fsvc->isVisible(); }
    bool barHidden() const { return !window->fsvc->state && !window->fsvc->isVisible(); }

    // A movement of the mouse without a button held, straight to the window.
    void move(const QPoint &point) const
    {
        QMouseEvent event(QEvent::MouseMove, point, window->mapToGlobal(point), Qt::NoButton,
                          Qt::NoButton, Qt::NoModifier);
        window->mouseMoveEvent(&event);
    }

    bool fillsScreen() const
    {
        const QRect screen(0, 0, window->screenWidth, window->screenHeight);
        return window->isFullScreen() && window->geometry() == screen && videoOnScreen() == screen;
    }

private:
    bool cleaned;
    int mark = 0;

public:
    InstallRoot root;
    StandInEngine engine;
    QScopedPointer<TestWindow> window;
};

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

// Real input, while the event loop runs: what is done to the window is seen by it at its own time.
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
