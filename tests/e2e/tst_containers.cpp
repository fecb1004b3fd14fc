// What the engine does differently with some kinds of files, and the player's settings for it mend.
#include "clips.h"
#include "film.h"
#include "longform.h"
#include "screen.h"

#include <QPushButton>
#include <QTest>

class TestContainers : public QObject {
    Q_OBJECT

private slots:
    void transportStreams_data();
    void transportStreams();
    void screenshotsOfMpeg_data();
    void screenshotsOfMpeg();
};

namespace {

QString clip(const QString &codec, const QString &size, const QString &ending)
{
    return Clips::make(QString("%1-%2.%3").arg(codec, size, ending),
                       {"-f", "lavfi", "-i", "testsrc=s=" + size + ":r=25:d=20", "-f", "lavfi",
                        "-i", "sine=440:d=20", "-c:v", codec, "-b:v", "4M", "-g", "25", "-pix_fmt",
                        "yuv420p", "-c:a", "mp2"});
}

} // namespace

void TestContainers::transportStreams_data()
{
    QTest::addColumn<QString>("codec");
    QTest::addColumn<QString>("ending");
    QTest::newRow("H.264 in ts") << "libx264"
                                 << "ts";
    QTest::newRow("MPEG-2 in m2ts") << "mpeg2video"
                                    << "m2ts";
    if (!longForm())
        return;
    QTest::newRow("H.264 in m2ts") << "libx264"
                                   << "m2ts";
    QTest::newRow("MPEG-2 in TS") << "mpeg2video"
                                  << "ts";
}

// They tell their length and go where the slider is put.
void TestContainers::transportStreams()
{
    QFETCH(QString, codec);
    QFETCH(QString, ending);
    const QTemporaryDir folder;
    const bool upper = QString(QTest::currentDataTag()).endsWith("TS");
    const Film film(Clips::copy(clip(codec, "320x240", ending), folder.path(),
                                "film." + (upper ? ending.toUpper() : ending)));
    QVERIFY(film.playsOn());
    TestWindow *window = film.window.data();
    QTRY_COMPARE(window->ui->totalTimeLabel->text(), QString("00:00:20"));
    window->ui->processSlider->setValue(12);
    window->processSliderPressed();
    QTRY_VERIFY_WITH_TIMEOUT(window->currentPosition >= 12, 15000);
    QVERIFY2(window->currentPosition <= 15, qPrintable(QString::number(window->currentPosition)));
    QVERIFY(film.playsOn());
    window->ui->processSlider->setValue(4);
    window->processSliderPressed();
    QTRY_VERIFY_WITH_TIMEOUT(window->currentPosition <= 7, 15000);
    QVERIFY2(window->currentPosition >= 3, qPrintable(QString::number(window->currentPosition)));
    QVERIFY(film.playsOn());
}

void TestContainers::screenshotsOfMpeg_data()
{
    QTest::addColumn<QString>("codec");
    QTest::addColumn<QString>("ending");
    QTest::addColumn<QSize>("size");
    QTest::newRow("MPEG-1") << "mpeg1video"
                            << "mpg" << QSize(640, 360);
    QTest::newRow("MPEG-2") << "mpeg2video"
                            << "vob" << QSize(1280, 720);
    if (!longForm())
        return;
    for (const char *codec : {"mpeg1video", "mpeg2video"}) {
        for (const QSize &size : {QSize(640, 360), QSize(1280, 720), QSize(1920, 1080)})
            QTest::addRow("%s %d", codec, size.width()) << codec << "mpg" << size;
    }
    // These were never black, and are not touched.
    QTest::newRow("H.264 in ts") << "libx264"
                                 << "ts" << QSize(640, 360);
    QTest::newRow("H.264 in mp4") << "libx264"
                                  << "mp4" << QSize(1280, 720);
}

void TestContainers::screenshotsOfMpeg()
{
    QFETCH(QString, codec);
    QFETCH(QString, ending);
    QFETCH(QSize, size);
    const Film film(clip(codec, QString("%1x%2").arg(size.width()).arg(size.height()), ending));
    QVERIFY(film.playsOn());
    const QDir folder(screenShotPath);
    film.window->ui->snapShotBtn->click();
    QImage picture;
    QTRY_VERIFY_WITH_TIMEOUT(
        picture.load(folder.filePath(folder.entryList({"shot-*.png"}).value(0))), 15000);
    QCOMPARE(picture.size(), size);
    for (const QColor &colour : {QColor("red"), QColor("lime"), QColor("blue")})
        QVERIFY(Screen::share(picture, colour, 60) > 0.02);
}

QTEST_MAIN(TestContainers)
#include "tst_containers.moc"
