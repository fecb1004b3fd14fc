#include "common.h"
#include "settings.h"
#include "titlebar.h"
#include "titlebarhost.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QTextDocument>
#include <QToolTip>
#include <QtTest>

namespace {
QMouseEvent mouse(QEvent::Type type, const QPoint &global, Qt::MouseButton button,
                  Qt::MouseButtons buttons)
{
    return QMouseEvent(type, QPointF(5, 5), QPointF(global), button, buttons, Qt::NoModifier);
}

QImage painted(QLabel *label)
{
    QImage image(label->size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    label->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

// A plain label that looks like this one, with another text.
QImage paintedAs(const QLabel *label, const QString &text)
{
    QLabel other;
    other.setTextFormat(Qt::PlainText);
    other.setAlignment(label->alignment());
    other.setPalette(label->palette());
    other.setFont(label->font());
    other.resize(label->size());
    other.setText(text);
    return painted(&other);
}

// What the pointer gets to read over the label; nothing when no tip comes.
QString tip(QLabel *label)
{
    QToolTip::hideText();
    QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), label->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(label, &event);
    if (!event.isAccepted())
        return QString();
    QTextDocument text;
    if (Qt::mightBeRichText(QToolTip::text()))
        text.setHtml(QToolTip::text());
    else
        text.setPlainText(QToolTip::text());
    return text.toPlainText().remove(QChar(0x200b));
}
} // namespace

class TestTitleBar : public QObject {
    Q_OBJECT

private slots:
    void init();
    void labelsAsBuilt();
    void buttonsAsBuilt_data();
    void buttonsAsBuilt();
    void layoutInOrder();
    void everythingInsideTheBar_data();
    void everythingInsideTheBar();
    void titleIsPlainText();
    void longTitleIsElided_data();
    void longTitleIsElided();
    void tipFitsTheScreen();
    void buttonsStayInsideTheWindow_data();
    void buttonsStayInsideTheWindow();
    void iconFromFile();
    void pressesAndMoves();
    void rightDragDoesNotMove();
    void dragWithoutParent();
    void maximisedWindowIsMovedToo();
    void settingsDialogSignals();
    void settingsDialogGoesWithTheBar();
    void filterCopiesTitleAndIcon();
    void filterUpdatesTheMaximizeButton();
    void filterPassesTheRest();

private:
    QScopedPointer<InstallRoot> root;
};

void TestTitleBar::init()
{
    root.reset();
    resetSharedState();
    root.reset(new InstallRoot);
}

void TestTitleBar::labelsAsBuilt()
{
    QWidget window;
    TitleBar bar(&window);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    QCOMPARE(bar.screenWidth, screen.width());
    QCOMPARE(bar.screenHeight, screen.height());
    QCOMPARE(bar.minimumHeight(), 30);
    QCOMPARE(bar.maximumHeight(), 30);
    QCOMPARE(bar.property("titleBar"), QVariant(true));
    QCOMPARE(bar.objectName(), QString("titleBar"));
    QCOMPARE(bar.parentWidget(), &window);
    QVERIFY(!bar.m_leftButtonPressed);

    QCOMPARE(bar.m_iconLabel->minimumSize(), QSize(25, 25));
    QCOMPARE(bar.m_iconLabel->maximumSize(), QSize(25, 25));
    QVERIFY(bar.m_iconLabel->hasScaledContents());
    QCOMPARE(bar.m_iconLabel->pos(), QPoint(0, 0));
    QCOMPARE(bar.m_titleLabel->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(bar.m_titleLabel->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);

    QVERIFY(bar.setDialog);
    QVERIFY(!bar.setDialog->parentWidget());
    QVERIFY(bar.setDialog->isHidden());
}

void TestTitleBar::buttonsAsBuilt_data()
{
    QTest::addColumn<int>("index"); // in the layout
    QTest::addColumn<QString>("name");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QString>("toolTip");
    const QString folder = ":/image/controlicon/";
    QTest::newRow("pin") << 4 << "" << QSize(27, 22) << folder + "thumbtack1.png"
                         << "总在最前";
    QTest::newRow("settings") << 5 << "" << QSize(27, 22) << folder + "setmenu.png"
                              << "设置";
    QTest::newRow("minimise") << 6 << "minimizeButton" << QSize(27, 22) << folder + "min.png"
                              << "最小化";
    QTest::newRow("maximise") << 7 << "maximizeButton" << QSize(27, 22) << folder + "max.png"
                              << "最大化";
    QTest::newRow("close") << 8 << "closeButton" << QSize(22, 22) << folder + "close.png"
                           << "关闭";
}

void TestTitleBar::buttonsAsBuilt()
{
    QFETCH(int, index);
    QFETCH(QString, name);
    QFETCH(QSize, size);
    QFETCH(QString, icon);
    QFETCH(QString, toolTip);
    TitleBar bar;
    auto *button = qobject_cast<QPushButton *>(bar.layout()->itemAt(index)->widget());
    QVERIFY(button);
    // cppcheck-suppress constVariable // the array is const, what it points to need not be
    QPushButton *const fields[] = {bar.m_thumbtackBtn, bar.m_memuButton, bar.m_minimizeButton,
                                   bar.m_maximizeButton, bar.m_closeButton};
    QCOMPARE(button, fields[index - 4]);
    QCOMPARE(button->objectName(), name);
    QCOMPARE(button->minimumSize(), size);
    QCOMPARE(button->maximumSize(), size);
    QVERIFY(sameIcon(button->icon(), icon));
    QCOMPARE(button->iconSize(), QSize(22, 22));
    QCOMPARE(button->toolTip(), toolTip);
    QCOMPARE(button->accessibleName(), toolTip);
    QCOMPARE(button->text(), QString());
    QVERIFY(button->isFlat());
    QCOMPARE(button->focusPolicy(), Qt::NoFocus);
}

void TestTitleBar::layoutInOrder()
{
    TitleBar bar;
    auto *layout = qobject_cast<QHBoxLayout *>(bar.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins());
    QCOMPARE(layout->spacing(), 0);
    QCOMPARE(layout->count(), 9);
    QCOMPARE(layout->itemAt(0)->widget(), bar.m_iconLabel);
    QVERIFY(layout->itemAt(1)->spacerItem());
    QCOMPARE(layout->itemAt(2)->widget(), bar.m_titleLabel);
    QVERIFY(layout->itemAt(3)->spacerItem());
    for (int i = 0; i < layout->count(); ++i)
        QCOMPARE(layout->stretch(i), i == 1 || i == 3 ? 1 : 0);
}

void TestTitleBar::everythingInsideTheBar_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("title");
    QTest::newRow("usual") << 940 << "Tarnivo播放器-影音版";
    QTest::newRow("maximised") << 1280 << "Tarnivo播放器-影音版";
    QTest::newRow("narrow") << 300 << "Tarnivo播放器-影音版";
    QTest::newRow("no title") << 940 << "";
    QTest::newRow("very long title") << 940 << QString(500, 'W');
}

void TestTitleBar::everythingInsideTheBar()
{
    QFETCH(int, width);
    QFETCH(QString, title);
    QWidget window;
    window.resize(width, 200);
    TitleBar bar(&window);
    bar.setFixedSize(width, 30);
    bar.setWindowTitle(title);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    int right = -1;
    for (int i = 0; i < bar.layout()->count(); ++i) {
        const QWidget *widget = bar.layout()->itemAt(i)->widget();
        if (!widget)
            continue;
        QVERIFY(bar.rect().contains(widget->geometry()));
        QVERIFY(widget->x() > right); // side by side
        right = widget->geometry().right();
    }
    QCOMPARE(right, width - 1);
    if (!title.isEmpty() && width > 300 && title.size() < 100) { // centred, all of it shown
        QVERIFY(bar.m_titleLabel->width() >= bar.m_titleLabel->sizeHint().width());
        const int free = width - 25 - 4 * 27 - 22;
        QVERIFY(qAbs(bar.m_titleLabel->geometry().center().x() - (25 + free / 2)) <= 1);
    }
}

void TestTitleBar::titleIsPlainText()
{
    TitleBar bar;
    const QString title = "<b>x</b>.mp4";
    bar.setWindowTitle(title);
    QCOMPARE(bar.m_titleLabel->text(), title);
    QCOMPARE(bar.m_titleLabel->textFormat(), Qt::PlainText);
    QVERIFY(bar.m_titleLabel->sizeHint().width() >=
            bar.m_titleLabel->fontMetrics().horizontalAdvance(title));
    QCOMPARE(bar.m_titleLabel->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
    QCOMPARE(bar.m_titleLabel->palette().color(QPalette::WindowText), QColor(Qt::white));
    QCOMPARE(bar.windowTitle(), QString()); // the widget's own title is not meant

    // White also where it is painted (smoothed edges are darker).
    bar.m_titleLabel->resize(bar.m_titleLabel->sizeHint());
    QImage image(bar.m_titleLabel->size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    bar.m_titleLabel->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    int brightest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            brightest = qMax(brightest, qGray(image.pixel(x, y)));
    }
    QVERIFY2(brightest > 230, qPrintable(QString::number(brightest)));
}

void TestTitleBar::longTitleIsElided_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("line"); // that is cut
    const QString ending = QStringLiteral(" 第12集（完）.mkv");
    QTest::newRow("fits") << QString("<b>x</b>.mp4") << QString();
    const QString letters = QString(160, 'W') + ending;
    QTest::newRow("letters") << letters << letters;
    const QString characters = QString(90, QChar(0x5267)) + ending;
    QTest::newRow("characters") << characters << characters;
    const QString markup = "<b>" + QString(160, 'x') + "</b>&amp;.mp4";
    QTest::newRow("markup") << markup << markup;
    const QString lines = QString(80, 'a') + '\n' + QString(80, 'b') + ending;
    QTest::newRow("two lines") << lines << QString(lines).replace('\n', ' ');
}

void TestTitleBar::longTitleIsElided()
{
    QFETCH(QString, title);
    QFETCH(QString, line);
    Host host(QSize(700, 200));
    host.bar->setWindowTitle(title);
    QVERIFY(host.show());
    QLabel *label = host.bar->m_titleLabel;
    QTRY_VERIFY(host.bar->rect().contains(label->geometry()));
    QCOMPARE(label->text(), title);
    QCOMPARE(label->toolTip(), QString());
    QCOMPARE(host.bar->m_closeButton->geometry().right(), 699);
    if (line.isEmpty()) {
        QCOMPARE(painted(label), paintedAs(label, title));
        QCOMPARE(tip(label), QString());
        return;
    }
    QCOMPARE(label->geometry(), QRect(25, label->y(), 700 - 25 - 4 * 27 - 22, label->height()));
    const QString shown = label->fontMetrics().elidedText(line, Qt::ElideMiddle, label->width());
    QVERIFY(shown.contains(QChar(0x2026)) && shown.left(9) == line.left(9));
    QCOMPARE(shown.right(4), line.right(4));
    QCOMPARE(painted(label), paintedAs(label, shown));
    QCOMPARE(tip(label), title);
    host.bar->setWindowTitle("short");
    QTRY_COMPARE(label->width(), label->sizeHint().width());
    QCOMPARE(painted(label), paintedAs(label, "short"));
    QCOMPARE(tip(label), QString());
}

// A tip that is wider than the screen would lose its end.
void TestTitleBar::tipFitsTheScreen()
{
    Host host;
    QVERIFY(host.show());
    for (const QString &title :
         {QString(200, 'W'), QString("Some.Name-1080p_").repeated(20),
          QString("a name with blanks ").repeated(14) + "end", QString(80, QChar(0x5267))}) {
        host.bar->setWindowTitle(title);
        QCOMPARE(tip(host.bar->m_titleLabel), title);
        const QWidget *shown = nullptr;
        for (const QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->inherits("QTipLabel"))
                shown = widget;
        }
        QVERIFY(shown && shown->isVisible());
        QVERIFY2(shown->width() <= 1280, qPrintable(QString::number(shown->width())));
    }
    QToolTip::hideText();
}

void TestTitleBar::buttonsStayInsideTheWindow_data()
{
    QTest::addColumn<int>("window");
    QTest::addColumn<int>("width"); // of the bar
    QTest::addColumn<QString>("title");
    QTest::newRow("narrower") << 945 << 940 << "a title";
    QTest::newRow("as wide") << 945 << 945 << "a title";
    QTest::newRow("wider") << 945 << 1151 << "a title";
    QTest::newRow("wider, long title") << 945 << 1151 << QString(300, 'W');
    QTest::newRow("small window") << 240 << 446 << QString(300, 'W');
}

void TestTitleBar::buttonsStayInsideTheWindow()
{
    QFETCH(int, window);
    QFETCH(int, width);
    QFETCH(QString, title);
    Host host(QSize(window, 200));
    host.bar->setFixedWidth(width);
    host.bar->setWindowTitle(title);
    QVERIFY(host.show());
    QCOMPARE(host.bar->width(), width);
    const int end = qMin(window, width);
    QTRY_COMPARE(host.bar->m_closeButton->geometry().right(), end - 1);
    QCOMPARE(host.bar->m_thumbtackBtn->x(), end - 22 - 4 * 27);
    QVERIFY(host.bar->m_titleLabel->geometry().right() < host.bar->m_thumbtackBtn->x());

    host.window.resize(window + 100, 200);
    QTRY_COMPARE(host.window.width(), window + 100);
    host.bar->keepButtonsInside();
    QTRY_COMPARE(host.bar->m_closeButton->geometry().right(), qMin(window + 100, width) - 1);
    host.bar->setFixedWidth(window + 150);
    QTRY_COMPARE(host.bar->m_closeButton->geometry().right(), window + 100 - 1);
}

void TestTitleBar::iconFromFile()
{
    TitleBar bar;
    const QString path = root->path() + "/icon.png";
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(path));
    bar.SetTitleBarIcon(path);
    const QPixmap shown = bar.m_iconLabel->pixmap(Qt::ReturnByValue);
    QCOMPARE(shown.size(), QSize(64, 48));
    QCOMPARE(shown.toImage().pixelColor(3, 3), QColor(Qt::red));
    QCOMPARE(bar.m_iconLabel->size(), QSize(25, 25));
}

void TestTitleBar::pressesAndMoves()
{
    QWidget window; // not shown, so that every step can be seen at once
    window.setWindowFlags(Qt::FramelessWindowHint);
    window.setGeometry(100, 100, 400, 200);
    Bar bar(&window);

    QMouseEvent hover = mouse(QEvent::MouseMove, {500, 500}, Qt::NoButton, Qt::NoButton);
    bar.mouseMoveEvent(&hover);
    QCOMPARE(window.pos(), QPoint(100, 100)); // nothing is pressed

    QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, Qt::LeftButton, Qt::LeftButton);
    press.accept();
    bar.mousePressEvent(&press);
    QVERIFY(press.isAccepted());
    QVERIFY(bar.m_leftButtonPressed);
    QCOMPARE(bar.m_start, QPoint(150, 110));

    QMouseEvent move = mouse(QEvent::MouseMove, {170, 105}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&move);
    QCOMPARE(window.pos(), QPoint(120, 95));
    QCOMPARE(bar.m_start, QPoint(170, 105));
    QMouseEvent further = mouse(QEvent::MouseMove, {60, 5}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&further);
    QCOMPARE(window.pos(), QPoint(10, -5));

    QMouseEvent other = mouse(QEvent::MouseButtonRelease, {60, 5}, Qt::RightButton, Qt::LeftButton);
    bar.mouseReleaseEvent(&other);
    QVERIFY(bar.m_leftButtonPressed);
    QMouseEvent release = mouse(QEvent::MouseButtonRelease, {60, 5}, Qt::LeftButton, Qt::NoButton);
    bar.mouseReleaseEvent(&release);
    QVERIFY(!bar.m_leftButtonPressed);
    QMouseEvent later = mouse(QEvent::MouseMove, {90, 90}, Qt::NoButton, Qt::NoButton);
    bar.mouseMoveEvent(&later);
    QCOMPARE(window.pos(), QPoint(10, -5));
}

void TestTitleBar::rightDragDoesNotMove()
{
    QWidget window;
    window.setGeometry(100, 100, 400, 200);
    Bar bar(&window);
    for (Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton}) {
        QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, button, button);
        press.accept();
        bar.mousePressEvent(&press);
        QCOMPARE(press.isAccepted(), button != Qt::RightButton);
        QVERIFY(!bar.m_leftButtonPressed);
        QMouseEvent move = mouse(QEvent::MouseMove, {170, 105}, Qt::NoButton, button);
        bar.mouseMoveEvent(&move);
        QCOMPARE(window.pos(), QPoint(100, 100));
    }
}

void TestTitleBar::dragWithoutParent()
{
    Bar bar;
    QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, Qt::LeftButton, Qt::LeftButton);
    bar.mousePressEvent(&press);
    QMouseEvent move = mouse(QEvent::MouseMove, {170, 105}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&move); // there is nothing to move
    QVERIFY(bar.m_leftButtonPressed);
}

void TestTitleBar::maximisedWindowIsMovedToo()
{
    QWidget window;
    window.setGeometry(100, 100, 400, 200);
    window.setWindowState(Qt::WindowMaximized);
    Bar bar(&window);
    QVERIFY(window.isMaximized());
    QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, Qt::LeftButton, Qt::LeftButton);
    bar.mousePressEvent(&press);
    QMouseEvent move = mouse(QEvent::MouseMove, {170, 115}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&move);
    QCOMPARE(window.pos(), QPoint(120, 105));
    QVERIFY(window.isMaximized());
}

void TestTitleBar::settingsDialogSignals()
{
    TitleBar bar;
    QSignalSpy decode(&bar, SIGNAL(decodeSetSignal()));
    QSignalSpy lastTime(&bar, SIGNAL(lastTimeFlagSignal()));
    emit bar.setDialog->setDecodeFlag();
    QCOMPARE(decode.size(), 1);
    QVERIFY(!QFile::exists(root->configFile())); // stored by the main window

    lastTimePlayFlag = true;
    emit bar.setDialog->setLastTimeFlag();
    QCOMPARE(readFile(root->configFile()), QByteArray("[DEFAULT]\ndefault_last_time=1\n"));
    emptyListCheckFlag = false;
    emit bar.setDialog->setEmptyListExitFlag();
    QCOMPARE(readFile(root->configFile()),
             QByteArray("[DEFAULT]\ndefault_last_time=1\nempty_list_exit=0\n"));
    lastTimePlayFlag = false;
    emptyListCheckFlag = true;
    emit bar.setDialog->setLastTimeFlag();
    emit bar.setDialog->setEmptyListExitFlag();
    QCOMPARE(readFile(root->configFile()),
             QByteArray("[DEFAULT]\ndefault_last_time=0\nempty_list_exit=1\n"));
    QCOMPARE(decode.size(), 1);
    QCOMPARE(lastTime.size(), 0);
}

void TestTitleBar::settingsDialogGoesWithTheBar()
{
    auto *bar = new TitleBar;
    QPointer<Settings> dialog = bar->setDialog;
    QVERIFY(dialog);
    delete bar;
    QVERIFY(!dialog);
}

void TestTitleBar::filterCopiesTitleAndIcon()
{
    Host host;
    host.window.installEventFilter(host.bar);
    host.window.setWindowTitle("<i>新</i>");
    QCOMPARE(host.bar->m_titleLabel->text(), QString("<i>新</i>"));
    QPixmap pixmap(25, 25);
    pixmap.fill(Qt::green);
    host.window.setWindowIcon(QIcon(pixmap));
    const QPixmap shown = host.bar->m_iconLabel->pixmap(Qt::ReturnByValue);
    QCOMPARE(shown.size(), QSize(25, 25));
    QCOMPARE(shown.toImage().pixelColor(12, 12), QColor(Qt::green));
}

void TestTitleBar::filterUpdatesTheMaximizeButton()
{
    Host host;
    QPushButton *button = host.bar->m_maximizeButton;
    host.bar->setStyleSheet("QPushButton[maximizeProperty=\"restore\"] { min-height: 29px; }");
    QVERIFY(host.show());
    QVERIFY(!button->property("maximizeProperty").isValid());
    for (QEvent::Type type : {QEvent::Resize, QEvent::WindowStateChange}) {
        button->setToolTip("最大化");
        QEvent event(type);
        QVERIFY(host.bar->eventFilter(&host.window, &event));
        QCOMPARE(button->toolTip(), QString("Maximize"));
        QCOMPARE(button->accessibleName(), QString("Maximize"));
        QCOMPARE(button->property("maximizeProperty").toString(), QString("maximize"));
    }
    QVERIFY(button->minimumHeight() < 29);
    button->click();
    QTRY_VERIFY(host.window.isMaximized());
    for (QEvent::Type type : {QEvent::Resize, QEvent::WindowStateChange}) {
        button->setToolTip("最大化");
        QEvent event(type);
        QVERIFY(host.bar->eventFilter(&host.window, &event));
        QCOMPARE(button->toolTip(), QString("Restore"));
        QCOMPARE(button->accessibleName(), QString("Restore"));
        QCOMPARE(button->property("maximizeProperty").toString(), QString("restore"));
    }
    QVERIFY(button->minimumHeight() >= 29); // the sheet that is keyed on the property took effect
}

void TestTitleBar::filterPassesTheRest()
{
    Host host;
    for (QEvent::Type type : {QEvent::WindowTitleChange, QEvent::WindowIconChange,
                              QEvent::WindowStateChange, QEvent::Resize}) {
        QEvent event(type);
        QVERIFY(host.bar->eventFilter(&host.window, &event));
        QVERIFY(!host.bar->eventFilter(this, &event)); // no widget
    }
    for (QEvent::Type type :
         {QEvent::Move, QEvent::MouseButtonPress, QEvent::KeyPress, QEvent::Show, QEvent::Close}) {
        QEvent event(type);
        QVERIFY(!host.bar->eventFilter(&host.window, &event));
    }
}

QTEST_MAIN(TestTitleBar)
#include "tst_titlebar.moc"
