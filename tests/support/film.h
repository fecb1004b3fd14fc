// A main window of the test's own that plays a clip with the real engine.
#pragma once

#include "common.h"
#include "testsupport.h"
#include "testwindow.h"

#include <QDir>
#include <QFile>
#include <QScopedPointer>
#include <QTest>

class Film {
public:
    explicit Film(const QString &clip)
    {
        root.reset(new PlayerRoot);
        QFile::link(QStringLiteral("/usr/bin/mplayer"), root->enginePath());
        writeFile(root->path() + "/files/engine/config",
                  readFile(QStringLiteral(SOURCE_DIR "/packaging/engine/config")));
        window.reset(new TestWindow);
        window->show();
        window->openAndDragFile(clip);
    }
    ~Film() { window->close(); }
    Film(const Film &) = delete;
    Film &operator=(const Film &) = delete;

    // Waits until the position rises.
    bool playsOn() const
    {
        const int from = window->currentPosition;
        return QTest::qWaitFor([&] { return window->currentPosition > from; }, 20000);
    }

    QScopedPointer<PlayerRoot> root;
    QScopedPointer<TestWindow> window;
};
