// What the tests of the adjustments share: a WindowBench whose parts are at hand as members.
#pragma once

#include "windowbench.h"

#include <QtTest>

class AdjustmentsBench {
protected:
    void setUp()
    {
        bench.reset(new WindowBench);
        root = &bench->root;
        engine = &bench->engine;
        window = bench->window.data();
    }
    void tearDown() { bench.reset(); }

    void play() { QVERIFY(bench->play()); }
    QByteArray sent(const std::function<void()> &action) { return bench->sent(action); }

    InstallRoot *root = nullptr;
    StandInEngine *engine = nullptr;
    TestWindow *window = nullptr;

private:
    QScopedPointer<WindowBench> bench;
};
