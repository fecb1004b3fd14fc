// What the tests of the adjustments share: the real main window with a scripted engine behind it
// and one film in its list.
#pragma once

#include "common.h"
#include "enginebench.h"
#include "engineprocess.h"
#include "testsupport.h"
#include "testwindow.h"

#include <QtTest>

#include <functional>

class AdjustmentsBench {
protected:
    void setUp()
    {
        resetSharedState();
        root.reset(new InstallRoot);
        defaultPlayPath = root->historyFile();
        screenShotPath = root->path() + "/shots/";
        QVERIFY(QDir().mkpath(screenShotPath));
        engine.reset(new StandInEngine(root->path()));
        engine->setLength("100.00");
        engine->setPosition("40.0");
        addrlist[0].addr = "/film.mp4";
        addrlist[0].label = "film.mp4";
        addrlist[0].type = 1;
        addrNum = 1;
        defaultVolum = 30;
        startWindow();
    }

    void tearDown()
    {
        window.reset();
        engine.reset();
        root.reset();
    }

    void startWindow()
    {
        window.reset(new TestWindow(nullptr));
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.data()));
        QTRY_COMPARE(window->ui->volumSlider->value(), defaultVolum);
        QTRY_VERIFY(!window->volumSliderTimer->isActive());
    }

    void play()
    {
        window->on_playBtn_clicked();
        QVERIFY(engine->waitForStarts(1));
        QTRY_COMPARE(window->currentPosition, 40);
    }

    // The input that action causes, as the engine got it; other commands of the poll left out.
    QByteArray sent(const std::function<void()> &action)
    {
        static int mark = 0;
        // Ends what was sent before, so that the poll's commands stand apart.
        const QByteArray before = "# before " + QByteArray::number(++mark) + "\n";
        const QByteArray after = "# after " + QByteArray::number(mark) + "\n";
        writeToEngine(before);
        action();
        writeToEngine(after);
        if (!engine->waitForInput(after))
            return "nothing came through";
        QByteArray input = engine->input();
        input = input.mid(input.indexOf(before) + before.size());
        input.truncate(input.indexOf(after));
        return input.replace("get_time_length\n", "").replace("get_time_pos\n", "");
    }

    QScopedPointer<InstallRoot> root;
    QScopedPointer<StandInEngine> engine;
    QScopedPointer<TestWindow> window;
};
