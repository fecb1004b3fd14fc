// Every key with every set of modifiers, in the normal window and in full screen: what it does, and
// that it does nothing else.
#include "playerbench.h"
#include "realinput.h"
#include "screen.h"
#include "whenopen.h"

#include <QFileDialog>
#include <QKeyEvent>
#include <QSlider>

class TestKeys : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }

    void everyKeyInTheNormalWindow();
    void everyKeyInFullScreen();
    void escapeLeavesFullScreen();
    void altHidesTheBar();
    void volumeStopsAtItsEnds();
    void openDialog();
    void repeatedSpace();
    void releasesDoNothing();
    void withNothingLoaded();
    void realKeys();

private:
    QStringList press(int key, Qt::KeyboardModifiers modifiers);
    void everyKey();

    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

namespace {

QList<int> allKeys()
{
    QList<int> keys;
    for (int key = Qt::Key_Space; key <= Qt::Key_AsciiTilde; ++key)
        keys << key; // digits, letters and signs
    for (int key = Qt::Key_Escape; key <= Qt::Key_Clear; ++key)
        keys << key; // Tab, Return, Enter, Insert, Pause, Print...
    for (int key = Qt::Key_Home; key <= Qt::Key_PageDown; ++key)
        keys << key; // the arrows as well
    for (int key = Qt::Key_Shift; key <= Qt::Key_ScrollLock; ++key)
        keys << key; // Alt as well
    for (int key = Qt::Key_F1; key <= Qt::Key_F35; ++key)
        keys << key;
    keys << Qt::Key_Menu << Qt::Key_AltGr << Qt::Key_Super_L << Qt::Key_Meta << Qt::Key_Multi_key
         << Qt::Key_MediaPlay << Qt::Key_MediaStop << Qt::Key_MediaNext << Qt::Key_MediaPause
         << Qt::Key_VolumeUp << Qt::Key_VolumeDown << Qt::Key_VolumeMute << Qt::Key_Back
         << Qt::Key_Zoom << Qt::Key_Help << Qt::Key_unknown << 0;
    return keys;
}

QList<Qt::KeyboardModifiers> allModifiers()
{
    const Qt::KeyboardModifier single[] = {Qt::ShiftModifier, Qt::ControlModifier, Qt::AltModifier,
                                           Qt::MetaModifier, Qt::KeypadModifier};
    QList<Qt::KeyboardModifiers> sets;
    for (int bits = 0; bits < 32; ++bits) {
        Qt::KeyboardModifiers set;
        for (int i = 0; i < 5; ++i) {
            if (bits & 1 << i)
                set |= single[i];
        }
        sets << set;
    }
    return sets;
}

// What a key press must do.
QStringList expected(int key, Qt::KeyboardModifiers modifiers, bool fullScreen)
{
    const bool control = modifiers == Qt::ControlModifier;
    // The press of a modifier key counts that modifier as well (the toolkit flips it).
    const bool alt = QKeyEvent(QEvent::KeyPress, key, modifiers).modifiers() == Qt::AltModifier;
    const bool escape = key == Qt::Key_Escape && fullScreen;
    QStringList effects;
    if (escape || alt || key == Qt::Key_Alt)
        effects << "bar hidden";
    if (escape)
        effects << "normal window"
                << "arrow";
    switch (key) {
    case Qt::Key_Space:
        effects << "paused"
                << "pause\n";
        break;
    case Qt::Key_Left:
        effects << "seek -5 0\n";
        break;
    case Qt::Key_Right:
        effects << "seek +5 0\n";
        break;
    case Qt::Key_Up:
        effects << "volume 32";
        break;
    case Qt::Key_Down:
        effects << "volume 28";
        break;
    }
    if (control && key == Qt::Key_E)
        effects << "scale 3.2"
                << "sub_scale 0.2\n";
    if (control && key == Qt::Key_R)
        effects << "scale 2.8"
                << "sub_scale -0.2\n";
    if (control && key == Qt::Key_U)
        effects << "sub_pos -2\n";
    if (control && key == Qt::Key_D)
        effects << "sub_pos 2\n";
    if (control && key == Qt::Key_O)
        effects << "dialog";
    if (alt && key == Qt::Key_A)
        effects << "shot counted"
                << "screenshot 0";
    return effects;
}

QString named(int key, Qt::KeyboardModifiers modifiers)
{
    return QString("key 0x%1 modifiers 0x%2").arg(key, 0, 16).arg(uint(modifiers), 0, 16);
}

} // namespace

void TestKeys::init()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
    QVERIFY(window->windowActiveFlag);
}

// Presses a key without the event loop in between, so that nothing else happens; gives what has
// changed in the window and puts it back. What the engine gets is added by everyKey().
QStringList TestKeys::press(int key, Qt::KeyboardModifiers modifiers)
{
    const bool fullScreen = fullScreenFlag;
    window->fsvc->state = true;
    window->setCursor(Qt::WaitCursor);
    bool dialog = false;
    QScopedPointer<WhenModal> answer;
    if (key == Qt::Key_O)
        answer.reset(new WhenModal([&](QWidget *widget) {
            dialog = qobject_cast<QFileDialog *>(widget);
            widget->close();
        }));
    const int shots = window->snapThread->snapCount;
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QApplication::sendEvent(window, &event);

    QStringList effects;
    // A dialog takes the activation, which may hide the bar before the dialog is closed again.
    if (!window->fsvc->state && !dialog)
        effects << "bar hidden";
    if (fullScreenFlag != fullScreen)
        effects << (fullScreen ? "normal window" : "full screen");
    if (window->cursor().shape() == Qt::ArrowCursor)
        effects << "arrow";
    if (!playingState)
        effects << "paused";
    if (window->ui->volumSlider->value() != 30)
        effects << QString("volume %1").arg(window->ui->volumSlider->value());
    if (window->subTitleScale != 3.0)
        effects << QString("scale %1").arg(window->subTitleScale);
    if (dialog)
        effects << "dialog";
    if (window->snapThread->snapCount != shots)
        effects << "shot counted";

    if (fullScreen && !fullScreenFlag)
        window->on_fullScreenBtn_clicked();
    playingState = true;
    window->ui->volumSlider->setValue(30);
    window->volumSliderTimer->stop();
    window->subTitleScale = 3.0;
    window->snapThread->snapCount = 0;
    return effects;
}

void TestKeys::everyKey()
{
    const bool fullScreen = fullScreenFlag;
    struct Press {
        QByteArray mark;
        QString name;
        QStringList effects;
        QStringList wanted;
    };
    QList<Press> presses;
    bench->sent([&] {
        for (const int key : allKeys()) {
            for (const Qt::KeyboardModifiers modifiers : allModifiers()) {
                Press one{"# key " + QByteArray::number(presses.size()) + "\n",
                          named(key, modifiers),
                          {},
                          expected(key, modifiers, fullScreen)};
                writeToEngine(one.mark);
                one.effects = press(key, modifiers);
                presses << one;
            }
        }
        writeToEngine("# key " + QByteArray::number(presses.size()) + "\n");
    });
    QVERIFY(presses.size() > 4000);
    QByteArray input = bench->engine.input();
    input.replace("get_time_length\n", "").replace("get_time_pos\n", "");
    int at = 0;
    for (int i = 0; i < presses.size(); ++i) {
        Press &one = presses[i];
        at = input.indexOf(one.mark, at);
        QVERIFY2(at >= 0, one.mark.constData());
        at += one.mark.size();
        const int end = input.indexOf("# key " + QByteArray::number(i + 1) + "\n", at);
        QVERIFY2(end >= 0, one.mark.constData());
        if (end > at)
            one.effects << QString::fromUtf8(input.mid(at, end - at));
        QVERIFY2(one.effects == one.wanted,
                 qPrintable(one.name + ": " + one.effects.join(", ") + " instead of " +
                            one.wanted.join(", ")));
    }
    QCOMPARE(fullScreenFlag, fullScreen);
}

void TestKeys::everyKeyInTheNormalWindow()
{
    QVERIFY(bench->playFilm());
    everyKey();
}

void TestKeys::everyKeyInFullScreen()
{
    QVERIFY(bench->playFilm());
    QVERIFY(bench->enterFullScreen());
    everyKey();
}

void TestKeys::escapeLeavesFullScreen()
{
    const QRect before = window->geometry();
    QTest::keyClick(window, Qt::Key_Escape); // nothing to leave
    QVERIFY(window->isVisible() && !fullScreenFlag);
    QCOMPARE(window->geometry(), before);

    QVERIFY(bench->enterFullScreen());
    window->fsvc->show();
    window->fsvc->state = true;
    window->setCursor(Qt::BlankCursor);
    QTest::keyClick(window, Qt::Key_Escape);
    QVERIFY(!fullScreenFlag);
    QVERIFY(!window->fsvc->state && !window->fsvc->isVisible());
    QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(window->m_titleBar->isVisible());
    QTRY_COMPARE(window->geometry(), before);
}

void TestKeys::altHidesTheBar()
{
    const QList<QKeyEvent> hiding = {
        {QEvent::KeyPress, Qt::Key_Alt, Qt::NoModifier},
        {QEvent::KeyPress, Qt::Key_Alt, Qt::ControlModifier},
        {QEvent::KeyPress, Qt::Key_Z, Qt::AltModifier},
        {QEvent::KeyPress, Qt::Key_A, Qt::AltModifier},
    };
    const QList<QKeyEvent> keeping = {
        {QEvent::KeyPress, Qt::Key_Z, Qt::NoModifier},
        {QEvent::KeyPress, Qt::Key_Z, Qt::AltModifier | Qt::ShiftModifier},
        {QEvent::KeyPress, Qt::Key_A, Qt::AltModifier | Qt::ControlModifier},
        {QEvent::KeyPress, Qt::Key_AltGr, Qt::NoModifier},
    };
    QVERIFY(bench->enterFullScreen());
    for (QKeyEvent event : hiding) {
        window->fsvc->show();
        window->fsvc->state = true;
        QApplication::sendEvent(window, &event);
        QVERIFY2(!window->fsvc->state && !window->fsvc->isVisible(),
                 qPrintable(named(event.key(), event.modifiers())));
        QVERIFY(fullScreenFlag);
    }
    for (QKeyEvent event : keeping) {
        window->fsvc->show();
        window->fsvc->state = true;
        QApplication::sendEvent(window, &event);
        QVERIFY2(window->fsvc->state && window->fsvc->isVisible(),
                 qPrintable(named(event.key(), event.modifiers())));
    }
}

void TestKeys::volumeStopsAtItsEnds()
{
    QVERIFY(bench->playFilm());
    QSlider *slider = window->ui->volumSlider;
    const QByteArray input = bench->sent([&] {
        slider->setValue(97);
        QTest::keyClick(window, Qt::Key_Up);
        QCOMPARE(slider->value(), 99);
        QTest::keyClick(window, Qt::Key_Up);
        QCOMPARE(slider->value(), 100);
        QTest::keyClick(window, Qt::Key_Up);
        QCOMPARE(slider->value(), 100);
        QTRY_VERIFY(!window->volumSliderTimer->isActive());
    });
    QCOMPARE(input, QByteArray("volume 100 2\n"));
    const QByteArray down = bench->sent([&] {
        slider->setValue(3);
        QTest::keyClick(window, Qt::Key_Down);
        QCOMPARE(slider->value(), 1);
        QTest::keyClick(window, Qt::Key_Down);
        QCOMPARE(slider->value(), 0);
        QTest::keyClick(window, Qt::Key_Down);
        QTRY_VERIFY(!window->volumSliderTimer->isActive());
    });
    QCOMPARE(down, QByteArray("volume 0 2\n"));
}

void TestKeys::openDialog()
{
    LogCapture log;
    WhenModal answer([&](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QString("选择本地文件"));
        dialog->reject();
    });
    QTest::keyClick(window, Qt::Key_O, Qt::ControlModifier);
    QVERIFY(answer.happened());
    QVERIFY(log.contains("Input Filename: \"\""));
    QVERIFY(bench->engine.starts().isEmpty());
}

void TestKeys::repeatedSpace()
{
    QVERIFY(bench->playFilm());
    const QByteArray input = bench->sent([&] {
        for (int i = 0; i < 5; ++i) {
            QKeyEvent event(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, " ", i > 0);
            QApplication::sendEvent(window, &event);
        }
    });
    QCOMPARE(input, QByteArray("pause\n").repeated(5));
    QVERIFY(!playingState);
}

void TestKeys::releasesDoNothing()
{
    QVERIFY(bench->playFilm());
    const QByteArray input = bench->sent([&] {
        for (const int key : allKeys()) {
            for (const Qt::KeyboardModifiers modifiers : allModifiers()) {
                QKeyEvent event(QEvent::KeyRelease, key, modifiers);
                QApplication::sendEvent(window, &event);
            }
        }
    });
    QCOMPARE(input, QByteArray());
    QVERIFY(playingState);
    QCOMPARE(window->ui->volumSlider->value(), 30);
}

// Only the blank starts something, as the play button does.
void TestKeys::withNothingLoaded()
{
    for (const int key : allKeys()) {
        if (key == Qt::Key_Space)
            continue;
        QKeyEvent event(QEvent::KeyPress, key, Qt::AltModifier);
        QApplication::sendEvent(window, &event);
        QKeyEvent plain(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(window, &plain);
    }
    QCOMPARE(window->snapThread->snapCount, 0);
    QVERIFY(bench->engine.starts().isEmpty());
    QTest::keyClick(window, Qt::Key_Space);
    QVERIFY(bench->engine.waitForStarts(1));
    QCOMPARE(playinglist.state, 1);
}

// From the keyboard through the X server to the window, with the bar above it as well.
void TestKeys::realKeys()
{
    QVERIFY(bench->playFilm());
    const struct {
        QString key;
        QByteArray input;
    } rows[] = {
        {"Left", "seek -5 0\n"},        {"Right", "seek +5 0\n"},   {"ctrl+e", "sub_scale 0.2\n"},
        {"ctrl+r", "sub_scale -0.2\n"}, {"ctrl+u", "sub_pos -2\n"}, {"ctrl+d", "sub_pos 2\n"},
        {"space", "pause\n"},           {"space", "pause\n"},       {"alt+a", "screenshot 0"},
        {"Up", "volume 32 2\n"},        {"Down", "volume 30 2\n"}};
    const auto pressAll = [&] {
        for (const auto &row : rows) {
            const QByteArray input = bench->sent([&] {
                const int before = bench->engine.input().size();
                QVERIFY(xdotool({"key", "ctrl+shift+e", "F11", "Return", "KP_Enter", "f",
                                 "shift+alt+a", row.key}));
                QTRY_VERIFY2(bench->engine.input().mid(before).contains(row.input),
                             qPrintable(row.key));
            });
            QCOMPARE(input, row.input);
        }
    };
    pressAll();
    QVERIFY(bench->enterFullScreen());
    QVERIFY(xdotool(pointTo(QPoint(400, 300)) + pointTo(QPoint(420, 310))));
    QTRY_VERIFY(window->fsvc->isVisible());
    pressAll();
    QVERIFY(!window->fsvc->isVisible()); // Alt
    QVERIFY(xdotool({"key", "Escape"}));
    QTRY_VERIFY(!fullScreenFlag);
    QTRY_COMPARE(window->size(), QSize(945, 564));
}

QTEST_MAIN(TestKeys)
#include "tst_keys.moc"
