// The main window with its members open to tests.
#pragma once

#include "delayset.h"
#include "fullscreenvideocontrl.h"
#include "handlesnapfilethread.h"
#include "listwidget.h"
#include "mainwindow.h"
#include "speedwind.h"
#include "titlebar.h"
#include "ui_mainwindow.h"

#include <QTimer>

class TestWindow : public MainWindow {
public:
    using MainWindow::MainWindow;

    using MainWindow::ads;
    using MainWindow::btnLayout;
    using MainWindow::curDecodeFlag;
    using MainWindow::currentPosition;
    using MainWindow::currentSpeed;
    using MainWindow::fsvc;
    using MainWindow::lastVol;
    using MainWindow::listHideFlag;
    using MainWindow::listWidget;
    using MainWindow::m_titleBar;
    using MainWindow::mainLayout;
    using MainWindow::mouseClickTimer;
    using MainWindow::mplayer;
    using MainWindow::normalHeight;
    using MainWindow::normalWidth;
    using MainWindow::processLabelLayout;
    using MainWindow::processTimer;
    using MainWindow::screenHeight;
    using MainWindow::screenWidth;
    using MainWindow::snapThread;
    using MainWindow::stateLabelTimer;
    using MainWindow::subTitleFileName;
    using MainWindow::subTitleLabel;
    using MainWindow::subTitlePos;
    using MainWindow::subTitleScale;
    using MainWindow::sw;
    using MainWindow::ui;
    using MainWindow::volumSliderTimer;
    using MainWindow::widgetNormalHeight;
    using MainWindow::widgetNormalWidth;
    using MainWindow::windowActiveFlag;
    using MainWindow::windWidth;
    using MainWindow::winHeight;

    using MainWindow::closeEvent;
    using MainWindow::contextMenuEvent;
    using MainWindow::dragEnterEvent;
    using MainWindow::dropEvent;
    using MainWindow::keyPressEvent;
    using MainWindow::mouseDoubleClickEvent;
    using MainWindow::mouseMoveEvent;
    using MainWindow::mousePressEvent;
};
