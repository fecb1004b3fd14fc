// What the tests of the full-screen bar share.
#pragma once

#include "fullscreenvideocontrl.h"
#include "icons.h"
#include "speedwind.h"

#include <QApplication>
#include <QMouseEvent>
#include <QtTest>

#include <functional>
#include <memory>
#include <vector>

using Bar = FullScreenVideoControl;

// The bar with its handlers within reach of tests.
class OpenBar : public FullScreenVideoControl {
public:
    using FullScreenVideoControl::contextMenuEvent;
    using FullScreenVideoControl::focusOutEvent;
};

inline const QSize screenSize(1280, 800);

inline constexpr char playIcon[] = ":/image/controlicon/play.png";
inline constexpr char pauseIcon[] = ":/image/controlicon/pause.png";

inline const QStringList &allSignals()
{
    static const QStringList names = {"mouseHide()",
                                      "floatPlay()",
                                      "processSliderSignal(int)",
                                      "voiceSliderSignal(int)",
                                      "fullScreenSignal()",
                                      "stopSignal()",
                                      "replaySignal()",
                                      "playBtnClickedSignal()",
                                      "forwardSignal()",
                                      "backwardSignal()",
                                      "volumSignal(int)",
                                      "exitFullScreenSignal()",
                                      "speedSetSignal(int)",
                                      "openFileBtnSignal()",
                                      "voiceDelayPlusSignal()",
                                      "voiceDelayReduceSignal()",
                                      "cancelAudioDelaySignal()",
                                      "setAudioDelaySignal()",
                                      "openSubTitleFileSignal()",
                                      "subTitleDelayIncreaseSignal()",
                                      "subTitleDelayReduceSignal()",
                                      "cancelSubDelaySignal()",
                                      "delSubTitleSignal()",
                                      "setSubDelaySignal()",
                                      "subScalePlusSignal()",
                                      "subScaleReduceSignal()",
                                      "subPosUpSignal()",
                                      "subPosDownSignal()"};
    return names;
}

// Everything the bar emits: take() gives what came since the last take, as "stopSignal()" or
// "volumSignal(30)", in the order of declaration.
class Emissions {
public:
    explicit Emissions(Bar *bar)
    {
        for (const QString &name : allSignals())
            spies.emplace_back(new QSignalSpy(bar, ("2" + name).toLatin1()));
    }

    QStringList take()
    {
        QStringList taken;
        for (int i = 0; i < allSignals().size(); ++i) {
            for (const QList<QVariant> &arguments : *spies[i]) {
                QString call = allSignals().at(i).section('(', 0, 0) + '(';
                if (!arguments.isEmpty())
                    call += arguments.first().toString();
                taken << call + ')';
            }
            spies[i]->clear();
        }
        return taken;
    }

private:
    std::vector<std::unique_ptr<QSignalSpy>> spies;
};

inline void fire(QTimer *timer) { QVERIFY(QMetaObject::invokeMethod(timer, "timeout")); }

// As the main window shows it over the video.
inline void showAsHost(Bar &bar)
{
    bar.setFixedSize(screenSize);
    bar.state = true;
    bar.titleLabel->setFixedSize(screenSize.width(), 80);
    bar.mouseTimer->start(5000);
    bar.move(0, 0);
    bar.show();
    bar.playBtn->setFocus();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
}

// A mouse movement without a button held, straight to the bar.
inline void moveMouse(Bar &bar, const QPoint &position)
{
    QMouseEvent event(QEvent::MouseMove, position, bar.mapToGlobal(position), Qt::NoButton,
                      Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&bar, &event);
}

inline void showSpeedWindow(Bar &bar)
{
    bar.sw->state = 1;
    bar.sw->show();
}

inline bool shown(const Bar &bar) { return bar.state && bar.isVisible(); }

inline bool hidden(const Bar &bar) { return !bar.state && !bar.isVisible(); }

inline bool speedShown(const Bar &bar) { return bar.sw->state == 1 && bar.sw->isVisible(); }

inline bool speedHidden(const Bar &bar) { return bar.sw->state == 0 && !bar.sw->isVisible(); }
