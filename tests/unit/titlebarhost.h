// A frameless window with a title bar, for the tests of the title bar.
#pragma once

#include "icons.h"
#include "testsupport.h"
#include "titlebar.h"

#include <QFile>
#include <QMainWindow>
#include <QMouseEvent>
#include <QPushButton>
#include <QtTest>

const auto kPin = QStringLiteral(":/image/controlicon/thumbtack1.png");
const auto kPinned = QStringLiteral(":/image/controlicon/pinvertical.png");
const auto kMax = QStringLiteral(":/image/controlicon/max.png");
const auto kRestore = QStringLiteral(":/image/controlicon/restore.png");

class Bar : public TitleBar {
public:
    using TitleBar::TitleBar;

    using TitleBar::contextMenuEvent;
    using TitleBar::mouseMoveEvent;
    using TitleBar::mousePressEvent;
    using TitleBar::mouseReleaseEvent;
};

// A frameless window with a title bar across its top.
struct Host {
    explicit Host(const QSize &size = QSize(700, 300))
    {
        window.setWindowFlags(Qt::FramelessWindowHint);
        window.resize(size);
        window.move(200, 150);
        bar = new Bar(&window);
        bar->setFixedWidth(size.width());
        bar->setWindowTitle("Tarnivo播放器-影音版");
    }

    Q_DISABLE_COPY(Host)

    bool show()
    {
        window.show();
        return QTest::qWaitForWindowActive(&window);
    }

    QMainWindow window;
    Bar *bar;
};
