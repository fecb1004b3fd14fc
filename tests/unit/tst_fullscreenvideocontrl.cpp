// The full-screen control bar: what it is made of.
#include "fullscreenbar.h"

#include "common.h"
#include "testsupport.h"

#include <QColor>
#include <QCursor>
#include <QImage>
#include <QLabel>
#include <QLayout>
#include <QPainter>
#include <QPalette>
#include <QPushButton>

namespace {

QList<QSpacerItem *> spacers(const QLayout *layout)
{
    QList<QSpacerItem *> found;
    for (int i = 0; i < layout->count(); ++i) {
        if (QSpacerItem *item = layout->itemAt(i)->spacerItem())
            found << item;
    }
    return found;
}

// "500x40 Expanding Minimum" for a spacer, the widget or layout otherwise.
QString described(const QSpacerItem *spacer)
{
    const auto policy = QMetaEnum::fromType<QSizePolicy::Policy>();
    return QString("%1x%2 %3 %4")
        .arg(spacer->sizeHint().width())
        .arg(spacer->sizeHint().height())
        .arg(policy.valueToKey(spacer->sizePolicy().horizontalPolicy()),
             policy.valueToKey(spacer->sizePolicy().verticalPolicy()));
}

} // namespace

class TestFullScreenVideoControl : public QObject {
    Q_OBJECT

private slots:
    void init();

    void window();
    void logsOfConstruction();
    void declaredButNeverCreated();
    void initialValues();
    void buttons();
    void buttonSizesAndIcons();
    void labels();
    void fileNamesAreNoMarkup();
    void voiceSlider();
    void voiceSliderTakesStoredVolume();
    void processSlider();
    void buttonRow();
    void voiceColumn();
    void mainColumn();
    void sliderColumn();
    void placesOnScreen();
    void paintsNothingItself();
    void whiteIsSeenOnAnyGround_data();
    void whiteIsSeenOnAnyGround();
    void accessibleNames();
    void timers();
    void declaredSignals();
};

void TestFullScreenVideoControl::init()
{
    resetSharedState();
    QCursor::setPos(640, 700);
}

void TestFullScreenVideoControl::window()
{
    const Bar bar;
    QCOMPARE(bar.windowFlags(), Qt::FramelessWindowHint | Qt::Tool | Qt::BypassWindowManagerHint);
    QCOMPARE(bar.windowOpacity(), 1.0);
    QVERIFY(bar.testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(bar.testAttribute(Qt::WA_AlwaysShowToolTips));
    QVERIFY(bar.hasMouseTracking());
    QVERIFY(!bar.isVisible());
    QVERIFY(!bar.parent());
    QVERIFY(showFlag);
}

void TestFullScreenVideoControl::logsOfConstruction()
{
    const LogCapture log;
    const Bar bar;
    QCOMPARE(log.lines().size(), 2);
    QCOMPARE(log.lines().at(0), QString("voice btn x  0 30"));
    QVERIFY(
        log.lines().at(1).startsWith("QObject::connect: Incompatible sender/receiver arguments"));
    QVERIFY(log.lines().at(1).contains(
        "QSlider::sliderPressed() --> FullScreenVideoControl::processSliderPressed(int)"));
}

void TestFullScreenVideoControl::declaredButNeverCreated()
{
    const Bar bar;
    QVERIFY(!bar.percentLabel);
    QVERIFY(!bar.sliderLayout);
    QVERIFY(!bar.processLayout);
    QVERIFY(bar.centerWidget);
    QVERIFY(!bar.centerWidget->parent());
    QVERIFY(!bar.centerWidget->isVisible());
}

void TestFullScreenVideoControl::initialValues()
{
    const Bar bar;
    QCOMPARE(bar.state, false);
    QCOMPARE(bar.currentSpeed, 0);
    QCOMPARE(bar.currentPosition, 0);
    QCOMPARE(bar.sw->state, 0);
    QVERIFY(!bar.sw->isVisible());
    QVERIFY(!bar.sw->parent());
}

void TestFullScreenVideoControl::buttons()
{
    const Bar bar;
    const QList<QPushButton *> all = {bar.stopBtn,  bar.playBtn,  bar.forwardBtn,   bar.backwardBtn,
                                      bar.voiceBtn, bar.speedBtn, bar.fullScreenBtn};
    for (const QPushButton *button : all) {
        QVERIFY(button->isFlat());
        QVERIFY(button->autoFillBackground());
        QCOMPARE(button->palette().color(QPalette::Button), QColor(150, 150, 150, 100));
        QCOMPARE(button->palette().color(QPalette::ButtonText), QColor(Qt::white));
        QVERIFY(!button->hasMouseTracking());
    }
    QVERIFY(sameIcon(bar.stopBtn->icon(), ":/image/controlicon/stop.png"));
    QVERIFY(sameIcon(bar.playBtn->icon(), pauseIcon));
    QVERIFY(sameIcon(bar.forwardBtn->icon(), ":/image/controlicon/forward.png"));
    QVERIFY(sameIcon(bar.backwardBtn->icon(), ":/image/controlicon/backward.png"));
    QVERIFY(sameIcon(bar.voiceBtn->icon(), ":/image/controlicon/vol1.png"));
    QVERIFY(sameIcon(bar.fullScreenBtn->icon(), ":/image/controlicon/exitfull1.png"));
    QVERIFY(bar.speedBtn->icon().isNull());
    QCOMPARE(bar.speedBtn->text(), QString("倍速"));
    for (const QPushButton *button : all)
        QCOMPARE(button->text().isEmpty(), button != bar.speedBtn);
}

void TestFullScreenVideoControl::buttonSizesAndIcons()
{
    const Bar bar;
    for (const QPushButton *button :
         {bar.stopBtn, bar.forwardBtn, bar.backwardBtn, bar.fullScreenBtn, bar.voiceBtn}) {
        QCOMPARE(button->minimumSize(), QSize(30, 30));
        QCOMPARE(button->maximumSize(), QSize(30, 30));
    }
    QCOMPARE(bar.playBtn->minimumSize(), QSize(50, 50));
    QCOMPARE(bar.playBtn->maximumSize(), QSize(50, 50));
    for (const QPushButton *button : {bar.stopBtn, bar.playBtn, bar.forwardBtn, bar.backwardBtn,
                                      bar.speedBtn, bar.fullScreenBtn})
        QCOMPARE(button->iconSize(), QSize(30, 30));
    QCOMPARE(bar.voiceBtn->iconSize(), QSize(28, 28));
}

void TestFullScreenVideoControl::labels()
{
    const Bar bar;
    QCOMPARE(bar.timeLabel->styleSheet(),
             QString("background-color: transparent;font-size:15px;color:white"));
    QCOMPARE(bar.timeLabel->text(), QString());
    QCOMPARE(bar.titleLabel->minimumSize(), QSize(640, 100));
    QCOMPARE(bar.titleLabel->maximumSize(), QSize(640, 100));
    QCOMPARE(bar.blankLabel->minimumSize(), QSize(640, 480));
    QCOMPARE(bar.blankLabel->maximumSize(), QSize(640, 480));
    QCOMPARE(bar.blankTopLabel->minimumSize(), QSize(100, 20));
    QCOMPARE(bar.blankTopLabel->maximumSize(), QSize(100, 20));
    QCOMPARE(bar.btnBlankLabel->minimumSize(), QSize(100, 1));
    QCOMPARE(bar.btnBlankLabel->maximumSize(), QSize(100, 1));
    for (QLabel *label : {bar.currentTimeLabel, bar.totalTimeLabel}) {
        QCOMPARE(label->text(), QString("00:00:00"));
        QCOMPARE(label->minimumSize(), QSize(80, 15));
        QCOMPARE(label->maximumSize(), QSize(80, 15));
        label->ensurePolished();
        QCOMPARE(label->palette().color(QPalette::WindowText), QColor(Qt::white));
    }
    for (const QLabel *label :
         {bar.titleLabel, bar.blankLabel, bar.blankTopLabel, bar.btnBlankLabel})
        QCOMPARE(label->text(), QString());
}

void TestFullScreenVideoControl::fileNamesAreNoMarkup()
{
    const Bar bar;
    bar.titleLabel->setText("<b>x</b>.mp4");
    QCOMPARE(bar.titleLabel->text(), QString("<b>x</b>.mp4"));
    const QList<QLabel *> all = bar.findChildren<QLabel *>();
    QCOMPARE(all.size(), 8);
    for (const QLabel *label : all)
        QCOMPARE(label->textFormat(), Qt::PlainText);

    // Painted with its brackets it is wider than the bold letter alone.
    QLabel plain("x.mp4");
    bar.titleLabel->setMinimumSize(0, 0);
    QVERIFY(bar.titleLabel->sizeHint().width() > plain.sizeHint().width() * 3 / 2);
}

void TestFullScreenVideoControl::voiceSlider()
{
    const Bar bar;
    QCOMPARE(bar.voiceSlider->objectName(), QString("voice slider"));
    QCOMPARE(bar.voiceSlider->minimumSize(), QSize(100, 20));
    QCOMPARE(bar.voiceSlider->maximumSize(), QSize(100, 20));
    QCOMPARE(bar.voiceSlider->orientation(), Qt::Horizontal);
    QCOMPARE(bar.voiceSlider->minimum(), 0);
    QCOMPARE(bar.voiceSlider->maximum(), 99);
    QCOMPARE(
        bar.voiceSlider->styleSheet(),
        QString(
            " QSlider::add-page:Horizontal{ background-color: rgb(87, 97, 106); height:4px;} "
            "QSlider::sub-page:Horizontal     {background-color:rgba(7,208,255, 255); "
            "height:4px;}QSlider::groove:Horizontal "
            "{background:transparent;height:6px;}QSlider::handle:Horizontal { border: 0px ;width: "
            "5px;height:5px;margin: -7px -7px -7px -7px;background-color:rgba(57,108,100, 255);}"));
}

void TestFullScreenVideoControl::voiceSliderTakesStoredVolume()
{
    const QList<QPair<int, int>> volumes = {{0, 0},    {30, 30}, {99, 99},
                                            {100, 99}, {-5, 0},  {250, 99}};
    for (const auto &volume : volumes) {
        defaultVolum = volume.first;
        const Bar bar;
        QCOMPARE(bar.voiceSlider->value(), volume.second);
        QCOMPARE(defaultVolum, volume.first);
    }
}

void TestFullScreenVideoControl::processSlider()
{
    const Bar bar;
    QCOMPARE(bar.processSlider->orientation(), Qt::Horizontal);
    QCOMPARE(bar.processSlider->value(), 0);
    QCOMPARE(
        bar.processSlider->styleSheet(),
        QString(
            " QSlider::add-page:Horizontal{  background-color: rgb(87, 97, 106); height:4px;} "
            "QSlider::sub-page:Horizontal     {background-color:rgba(7,208,255, 255); "
            "height:4px;}QSlider::groove:Horizontal "
            "{background:transparent;height:6px;}QSlider::handle:Horizontal{height: "
            "30px;width:8px;border-image: url(:/images/ic_music_thumb.png); margin: -8 0px;} "));
}

void TestFullScreenVideoControl::buttonRow()
{
    const Bar bar;
    const QString small = "20x20 Fixed Minimum";
    const QString wide = "500x40 Expanding Minimum";
    struct Place {
        QString spacer;
        QWidget *widget;
        Qt::Alignment alignment;
    };
    const QList<Place> places = {{wide, nullptr, {}},
                                 {"160x40 Fixed Minimum", nullptr, {}},
                                 {"", bar.stopBtn, Qt::AlignLeft},
                                 {small, nullptr, {}},
                                 {"", bar.backwardBtn, {}},
                                 {small, nullptr, {}},
                                 {"", bar.playBtn, Qt::AlignCenter},
                                 {small, nullptr, {}},
                                 {"", bar.forwardBtn, {}},
                                 {small, nullptr, {}},
                                 {"", nullptr, {}}, // the volume column
                                 {small, nullptr, {}},
                                 {"", bar.speedBtn, Qt::AlignRight},
                                 {small, nullptr, {}},
                                 {"", bar.fullScreenBtn, Qt::AlignRight},
                                 {wide, nullptr, {}}};
    QCOMPARE(bar.btnLayout->count(), places.size());
    for (int i = 0; i < places.size(); ++i) {
        QLayoutItem *item = bar.btnLayout->itemAt(i);
        if (item->spacerItem())
            QCOMPARE(described(item->spacerItem()), places[i].spacer);
        else if (item->layout())
            QCOMPARE(item->layout(), bar.hVoiceLayout);
        else
            QCOMPARE(item->widget(), places[i].widget);
        QCOMPARE(item->spacerItem() == nullptr, places[i].spacer.isEmpty());
        QCOMPARE(item->alignment(), places[i].alignment);
    }
    QCOMPARE(bar.btnLayout->contentsMargins(), QMargins());
}

void TestFullScreenVideoControl::voiceColumn()
{
    const Bar bar;
    QCOMPARE(bar.hVoiceLayout->count(), 2);
    QCOMPARE(bar.hVoiceLayout->itemAt(0)->widget(), bar.voiceBtn);
    QCOMPARE(bar.hVoiceLayout->itemAt(1)->layout(), bar.voiceLayout);
    QCOMPARE(bar.voiceLayout->contentsMargins(), QMargins());
    QCOMPARE(bar.voiceLayout->count(), 3);
    QCOMPARE(bar.voiceLayout->itemAt(0)->widget(), bar.btnBlankLabel);
    QCOMPARE(bar.voiceLayout->itemAt(1)->widget(), bar.voiceSlider);
    QWidget *second = bar.voiceLayout->itemAt(2)->widget();
    QVERIFY(qobject_cast<QLabel *>(second));
    QVERIFY(second != bar.btnBlankLabel);
    QCOMPARE(second->minimumSize(), QSize(100, 1));
    QCOMPARE(second->maximumSize(), QSize(100, 1));
}

void TestFullScreenVideoControl::mainColumn()
{
    const Bar bar;
    QCOMPARE(bar.layout(), bar.mainLayout);
    QCOMPARE(bar.mainLayout->count(), 9);
    QCOMPARE(bar.mainLayout->itemAt(0)->widget(), bar.blankTopLabel);
    QCOMPARE(bar.mainLayout->itemAt(2)->widget(), bar.timeLabel);
    QCOMPARE(bar.mainLayout->itemAt(3)->layout(), bar.blankLayout);
    QCOMPARE(bar.mainLayout->itemAt(6)->layout(), bar.processSliderLayout);
    QCOMPARE(bar.mainLayout->itemAt(7)->layout(), bar.btnLayout);
    for (const int index : {1, 4, 8}) {
        QVERIFY(bar.mainLayout->itemAt(index)->spacerItem());
        QCOMPARE(described(bar.mainLayout->itemAt(index)->spacerItem()),
                 QString("20x200 Expanding Maximum"));
    }
    QVERIFY(bar.mainLayout->itemAt(5)->spacerItem());
    QCOMPARE(described(bar.mainLayout->itemAt(5)->spacerItem()),
             QString("20x300 Expanding Maximum"));
    QCOMPARE(spacers(bar.mainLayout).size(), 4);

    QCOMPARE(bar.blankLayout->count(), 2);
    QCOMPARE(bar.blankLayout->itemAt(0)->widget(), bar.titleLabel);
    QCOMPARE(bar.blankLayout->itemAt(1)->widget(), bar.blankLabel);
}

void TestFullScreenVideoControl::sliderColumn()
{
    const Bar bar;
    QCOMPARE(bar.processSliderLayout->count(), 2);
    QCOMPARE(bar.processSliderLayout->itemAt(0)->widget(), bar.processSlider);
    QCOMPARE(bar.processSliderLayout->itemAt(1)->layout(), bar.sliderLabelLayout);
    QCOMPARE(bar.sliderLabelLayout->count(), 2);
    QCOMPARE(bar.sliderLabelLayout->itemAt(0)->widget(), bar.currentTimeLabel);
    QCOMPARE(bar.sliderLabelLayout->itemAt(0)->alignment(), Qt::AlignLeft);
    QCOMPARE(bar.sliderLabelLayout->itemAt(1)->widget(), bar.totalTimeLabel);
    QCOMPARE(bar.sliderLabelLayout->itemAt(1)->alignment(), Qt::AlignRight);
}

void TestFullScreenVideoControl::placesOnScreen()
{
    Bar bar;
    showAsHost(bar);
    QTRY_COMPARE(bar.geometry(), QRect(QPoint(0, 0), screenSize));
    const QList<QWidget *> row = {bar.stopBtn,  bar.backwardBtn, bar.playBtn,  bar.forwardBtn,
                                  bar.voiceBtn, bar.voiceSlider, bar.speedBtn, bar.fullScreenBtn};
    for (int i = 1; i < row.size(); ++i)
        QVERIFY(row[i]->x() >= row[i - 1]->x() + row[i - 1]->width());
    for (const QWidget *widget : row) {
        QVERIFY(bar.rect().contains(widget->geometry()));
        QVERIFY(widget->y() > bar.processSlider->y());
    }
    QVERIFY(bar.titleLabel->y() < bar.processSlider->y());
    QVERIFY(bar.currentTimeLabel->y() > bar.processSlider->y());
    QCOMPARE(bar.currentTimeLabel->x(), bar.processSlider->x());
    QCOMPARE(bar.totalTimeLabel->geometry().right(), bar.processSlider->geometry().right());
    // About in the middle of the screen.
    QVERIFY(qAbs(bar.playBtn->geometry().center().x() - 640) < 100);
}

void TestFullScreenVideoControl::paintsNothingItself()
{
    Bar bar;
    showAsHost(bar);
    const QImage picture = bar.grab().toImage();
    QCOMPARE(picture.size(), screenSize);
    for (const QPoint &point : {QPoint(1, 1), QPoint(640, 300), QPoint(1278, 798)})
        QCOMPARE(picture.pixelColor(point).alpha(), 0);
    QVERIFY(picture.pixelColor(bar.playBtn->geometry().center()).alpha() > 0);
}

void TestFullScreenVideoControl::whiteIsSeenOnAnyGround_data()
{
    QTest::addColumn<QColor>("ground");
    QTest::newRow("bright film") << QColor(Qt::white);
    QTest::newRow("dark film") << QColor(Qt::black);
}

// Each white letter and picture has white pixels, and next to them dark ones.
void TestFullScreenVideoControl::whiteIsSeenOnAnyGround()
{
    QFETCH(QColor, ground);
    Bar bar;
    showAsHost(bar);
    bar.titleLabel->setStyleSheet("color:white");
    bar.titleLabel->setText("a film.mp4");
    moveMouse(bar, QPoint(600, 300)); // brings the clock
    QCoreApplication::sendPostedEvents();
    QImage picture(screenSize, QImage::Format_RGB32);
    picture.fill(ground);
    QPainter(&picture).drawPixmap(0, 0, bar.grab());
    for (const QWidget *widget :
         QList<QWidget *>{bar.timeLabel, bar.titleLabel, bar.currentTimeLabel, bar.totalTimeLabel,
                          bar.stopBtn, bar.playBtn, bar.backwardBtn, bar.forwardBtn, bar.voiceBtn,
                          bar.speedBtn, bar.fullScreenBtn}) {
        const QImage look = picture.copy(widget->geometry());
        int edges = 0;
        for (int y = 1; y < look.height() - 1; ++y) {
            for (int x = 2; x < look.width() - 2; ++x) {
                if (look.pixelColor(x, y).lightness() < 240)
                    continue;
                for (int side : {-2, 2})
                    edges += look.pixelColor(x + side, y).lightness() < 130;
            }
        }
        QVERIFY2(edges >= 8, qPrintable(widget->accessibleName() + QString::number(edges)));
    }
    // The letters themselves are as without the edge.
    QLabel plain(bar.currentTimeLabel->text());
    plain.setStyleSheet("color:white");
    plain.setFixedSize(80, 15);
    plain.setAttribute(Qt::WA_TranslucentBackground);
    const QImage letters = plain.grab().toImage();
    const QImage edged = bar.currentTimeLabel->grab().toImage();
    int full = 0;
    for (int y = 0; y < letters.height(); ++y) {
        for (int x = 0; x < letters.width(); ++x) {
            if (letters.pixelColor(x, y) != QColor(Qt::white))
                continue;
            QCOMPARE(edged.pixelColor(x, y), QColor(Qt::white));
            ++full;
        }
    }
    QVERIFY(full > 20);
}

void TestFullScreenVideoControl::accessibleNames()
{
    const Bar bar;
    QCOMPARE(bar.accessibleName(), QString("全屏控制栏"));
    QCOMPARE(bar.stopBtn->accessibleName(), QString("停止"));
    QCOMPARE(bar.playBtn->accessibleName(), QString("播放"));
    QCOMPARE(bar.forwardBtn->accessibleName(), QString("快进"));
    QCOMPARE(bar.backwardBtn->accessibleName(), QString("快退"));
    QCOMPARE(bar.voiceBtn->accessibleName(), QString("音量"));
    QCOMPARE(bar.voiceSlider->accessibleName(), QString("音量"));
    QCOMPARE(bar.speedBtn->accessibleName(), QString("倍速"));
    QCOMPARE(bar.fullScreenBtn->accessibleName(), QString("退出全屏"));
    QCOMPARE(bar.processSlider->accessibleName(), QString("播放进度"));
}

void TestFullScreenVideoControl::timers()
{
    const Bar bar;
    QVERIFY(bar.mouseTimer->isActive());
    QCOMPARE(bar.mouseTimer->interval(), 5000);
    QVERIFY(bar.processTimer->isActive());
    QCOMPARE(bar.processTimer->interval(), 500);
    QVERIFY(!bar.mouseClickedTimer->isActive());
    for (const QTimer *timer : {bar.mouseTimer, bar.processTimer, bar.mouseClickedTimer}) {
        QCOMPARE(timer->parent(), &bar);
        QVERIFY(!timer->isSingleShot());
    }
}

void TestFullScreenVideoControl::declaredSignals()
{
    const QMetaObject &meta = Bar::staticMetaObject;
    QStringList names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            names << meta.method(i).methodSignature();
    }
    QCOMPARE(names, allSignals());
}

QTEST_MAIN(TestFullScreenVideoControl)
#include "tst_fullscreenvideocontrl.moc"
