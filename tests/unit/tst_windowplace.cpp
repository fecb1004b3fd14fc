#include "windowplace.h"

#include <QWidget>
#include <QtTest>

class TestWindowPlace : public QObject {
    Q_OBJECT

private slots:
    void placeOnScreens_data();
    void placeOnScreens();
    void screensThatAreThere();
    void sidesThatCoverTheScreen_data();
    void sidesThatCoverTheScreen();
    void maximizedForQtOnly();
};

void TestWindowPlace::placeOnScreens_data()
{
    QTest::addColumn<QRect>("place");
    QTest::addColumn<QVector<QRect>>("screens");
    QTest::addColumn<QPoint>("goes");
    const QRect small(0, 0, 1366, 768);
    const QRect right(1366, 0, 1920, 1080);
    const QSize size(945, 564);
    const auto row = [&](const char *name, const QRect &place, const QVector<QRect> &screens,
                         const QPoint &goes) { QTest::newRow(name) << place << screens << goes; };
    row("inside", QRect(QPoint(210, 102), size), {small}, QPoint(210, 102));
    row("one column left", QRect(QPoint(1365, 102), size), {small}, QPoint(1365, 102));
    row("none left", QRect(QPoint(1366, 102), size), {small}, QPoint(210, 102));
    row("one column, other side", QRect(QPoint(-944, 102), size), {small}, QPoint(-944, 102));
    row("none, other side", QRect(QPoint(-945, 102), size), {small}, QPoint(210, 102));
    row("last row of the screen", QRect(QPoint(210, 767), size), {small}, QPoint(210, 767));
    row("below the screen", QRect(QPoint(210, 768), size), {small}, QPoint(210, 102));
    row("last row of the title", QRect(QPoint(210, -29), size), {small}, QPoint(210, -29));
    row("title above the screen", QRect(QPoint(210, -30), size), {small}, QPoint(210, 102));
    row("on the second", QRect(QPoint(1800, 300), size), {small, right}, QPoint(1800, 300));
    row("beside a lower first", QRect(QPoint(400, 900), size), {small, right}, QPoint(210, 102));
    row("first is at the right", QRect(QPoint(9000, 0), size), {right, small},
        QPoint(1366 + 487, 258));
    row("larger than the screen", QRect(2000, 900, 1500, 900), {small}, QPoint(0, 0));
    row("no screen", QRect(QPoint(2000, 900), size), {}, QPoint(2000, 900));
}

void TestWindowPlace::placeOnScreens()
{
    QFETCH(QRect, place);
    QFETCH(QVector<QRect>, screens);
    QFETCH(QPoint, goes);
    QCOMPARE(::placeOnScreens(place, 30, screens), goes);
}

void TestWindowPlace::screensThatAreThere()
{
    QCOMPARE(screenPlaces(), QVector<QRect>{QRect(0, 0, 1280, 800)});
}

// A window that has not been shown yet has nothing but Qt's mark.
void TestWindowPlace::sidesThatCoverTheScreen_data()
{
    QTest::addColumn<double>("factor");
    for (double factor : {1.0, 1.25, 1.5, 1.75, 2.0, 2.25, 2.5, 3.0, 110 / 96.0, 140 / 96.0})
        QTest::newRow(qPrintable(QString::number(factor))) << factor;
}

// Of usual screens. One that is divided without a rest is covered to the pixel.
void TestWindowPlace::sidesThatCoverTheScreen()
{
    QFETCH(double, factor);
    for (int pixels : {720,  768,  800,  900,  1024, 1050, 1080, 1200, 1280, 1366, 1440,
                       1504, 1600, 1680, 1920, 2160, 2560, 2880, 3000, 3440, 3840, 5120}) {
        const int side = qRound(pixels / factor); // as the toolkit tells it
        const int covered = qRound(sideToCover(side, factor) * factor);
        QVERIFY2(covered >= pixels && covered <= pixels + 4, qPrintable(QString::number(pixels)));
        if (side * factor == pixels)
            QCOMPARE(covered, pixels);
    }
    QCOMPARE(sideToCover(1025, 1), 1025);
    QCOMPARE(sideToCover(731, 1.75), 732);
}

void TestWindowPlace::maximizedForQtOnly()
{
    QWidget window;
    QVERIFY(!isMaximizedAnywhere(&window));
    window.overrideWindowState(Qt::WindowMaximized);
    QVERIFY(!window.windowHandle() && isMaximizedAnywhere(&window));
}

QTEST_MAIN(TestWindowPlace)
#include "tst_windowplace.moc"
