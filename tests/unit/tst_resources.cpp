// The compiled-in pictures: all there, of the right sizes, visible, and of one family.
#include <QDirIterator>
#include <QIcon>
#include <QImage>
#include <QImageReader>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

namespace {

struct Picture {
    const char *path;
    QSize size;
    bool white; // belongs on a dark ground, so it has to be white
};

const Picture pictures[] = {
    {":/image/controlicon/play.png", {45, 45}, true},
    {":/image/controlicon/pause.png", {45, 45}, true},
    {":/image/controlicon/backward.png", {36, 36}, true},
    {":/image/controlicon/forward.png", {36, 36}, true},
    {":/image/controlicon/stop.png", {36, 36}, true},
    {":/image/controlicon/floder.png", {25, 25}, true},
    {":/image/controlicon/vol1.png", {25, 25}, true},
    {":/image/controlicon/vol2.png", {25, 25}, true},
    {":/image/controlicon/vol3.png", {25, 25}, true},
    {":/image/controlicon/mute.png", {25, 25}, true},
    {":/image/controlicon/fullscreen1.png", {30, 25}, true},
    {":/image/controlicon/exitfull1.png", {30, 30}, true},
    {":/image/controlicon/list.png", {30, 25}, true},
    {":/image/controlicon/camera.png", {25, 25}, true},
    {":/image/controlicon/camera_off.png", {25, 25}, false}, // white, but hardly seen
    {":/image/controlicon/triangle.png", {10, 10}, true},
    {":/image/controlicon/thumbtack1.png", {22, 22}, true},
    {":/image/controlicon/pinvertical.png", {22, 22}, true},
    {":/image/controlicon/setmenu.png", {22, 22}, true},
    {":/image/controlicon/min.png", {22, 22}, true},
    {":/image/controlicon/max.png", {22, 22}, true},
    {":/image/controlicon/restore.png", {22, 22}, true},
    {":/image/controlicon/close.png", {22, 22}, true},
    {":/image/controlicon/openfile.png", {16, 16}, false},
    {":/image/icon/video1.png", {20, 20}, true},
    {":/image/icon/net.png", {20, 20}, true},
    {":/image/icon/logo1.png", {25, 25}, false},
    {":/images/ic_music_thumb.png", {8, 30}, true},
};

QString doubled(const QString &path)
{
    const int dot = path.lastIndexOf('.');
    return path.left(dot) + "@2x" + path.mid(dot);
}

QImage load(const QString &path)
{
    // Through the reader: QImage(path) would take the @2x file on a dense screen.
    QImageReader reader(path);
    return reader.read().convertToFormat(QImage::Format_ARGB32);
}

// Share of the area that is covered, 0..1.
double coverage(const QImage &image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); y++) {
        for (int x = 0; x < image.width(); x++) {
            sum += qAlpha(image.pixel(x, y));
        }
    }
    return sum / 255 / image.width() / image.height();
}

// Luminance of the covered pixels: the mean and the darkest.
struct Luminance {
    double mean = 0;
    int lowest = 255;
};

Luminance luminance(const QImage &image)
{
    Luminance result;
    double sum = 0;
    int count = 0;
    for (int y = 0; y < image.height(); y++) {
        for (int x = 0; x < image.width(); x++) {
            const QRgb pixel = image.pixel(x, y);
            if (qAlpha(pixel) >= 128) {
                sum += qGray(pixel);
                result.lowest = qMin(result.lowest, qGray(pixel));
                count++;
            }
        }
    }
    result.mean = count ? sum / count : 0;
    return result;
}

// The smallest rectangle with every pixel that can be seen.
QRect visibleRect(const QImage &image)
{
    QRect result;
    for (int y = 0; y < image.height(); y++) {
        for (int x = 0; x < image.width(); x++) {
            if (qAlpha(image.pixel(x, y)) >= 32) {
                result |= QRect(x, y, 1, 1);
            }
        }
    }
    return result;
}

double channel(int value)
{
    const double share = value / 255.0;
    return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
}

double contrast(QRgb one, QRgb other)
{
    const auto light = [](QRgb c) {
        return 0.2126 * channel(qRed(c)) + 0.7152 * channel(qGreen(c)) +
            0.0722 * channel(qBlue(c)) + 0.05;
    };
    return qMax(light(one), light(other)) / qMin(light(one), light(other));
}

} // namespace

class TestResources : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void registersThePictures();
    void pictures_data();
    void pictures();
    void nothingElseAndNothingMissing();
    void whiteFamilyHasOneLuminance();
    void statesOfAButtonDiffer_data();
    void statesOfAButtonDiffer();
    void statesShareTheirPlace();
    void folderPickerIsVisibleOnLightAndDark();
    void logoIsColoured();
    void background();
    void iconsLoadThroughQt();
    void picturesAreRenderedFromTheirSources();
};

void TestResources::initTestCase() { Q_INIT_RESOURCE(icons); }

void TestResources::pictures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    for (const Picture &picture : ::pictures) {
        QTest::newRow(picture.path) << QString(picture.path) << picture.size;
    }
}

void TestResources::registersThePictures() { QVERIFY(QFile::exists(":/image/icon/video1.png")); }

void TestResources::pictures()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);

    const QImage once = load(path);
    QVERIFY(!once.isNull());
    QCOMPARE(once.size(), size);
    const QImage twice = load(doubled(path));
    QVERIFY(!twice.isNull());
    QCOMPARE(twice.size(), size * 2);

    QVERIFY2(coverage(once) > 0.03, qPrintable(QString::number(coverage(once))));
    QVERIFY2(path.contains("logo1") || coverage(once) < 0.6,
             qPrintable(QString::number(coverage(once))));
    const QRect seen = visibleRect(once);
    QVERIFY2(qMax(seen.width() * 2, seen.height() * 2) >= qMin(size.width(), size.height()),
             "the drawing is lost in its picture");

    // Both are the same drawing.
    const QImage halved = twice.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    double difference = 0;
    for (int y = 0; y < size.height(); y++) {
        for (int x = 0; x < size.width(); x++) {
            difference += qAbs(qAlpha(halved.pixel(x, y)) - qAlpha(once.pixel(x, y)));
        }
    }
    difference /= 255.0 * size.width() * size.height();
    QVERIFY2(difference < 0.02, qPrintable(QString::number(difference)));
}

void TestResources::nothingElseAndNothingMissing()
{
    QSet<QString> expected{":/image/background.jpg", ":/image/background@2x.jpg"};
    for (const Picture &picture : ::pictures) {
        expected << picture.path << doubled(picture.path);
    }
    QSet<QString> found;
    for (const char *root : {":/image", ":/images"}) {
        QDirIterator files(root, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            found << files.next();
        }
    }
    QCOMPARE(found - expected, QSet<QString>());
    QCOMPARE(expected - found, QSet<QString>());
}

void TestResources::whiteFamilyHasOneLuminance()
{
    for (const Picture &picture : ::pictures) {
        if (picture.white) {
            const Luminance seen = luminance(load(picture.path));
            QVERIFY2(seen.mean > 250, picture.path);
            QVERIFY2(seen.lowest > 240, picture.path);
        }
    }
}

void TestResources::statesOfAButtonDiffer_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::newRow("play") << QStringList{"play", "pause"};
    QTest::newRow("volume") << QStringList{"mute", "vol1", "vol2", "vol3"};
    QTest::newRow("pin") << QStringList{"thumbtack1", "pinvertical"};
    QTest::newRow("maximise") << QStringList{"max", "restore"};
    QTest::newRow("seek") << QStringList{"backward", "forward"};
}

void TestResources::statesOfAButtonDiffer()
{
    QFETCH(QStringList, names);
    for (int i = 0; i < names.size(); i++) {
        for (int j = i + 1; j < names.size(); j++) {
            const QImage one = load(":/image/controlicon/" + names[i] + ".png");
            const QImage other = load(":/image/controlicon/" + names[j] + ".png");
            int different = 0;
            for (int y = 0; y < one.height(); y++) {
                for (int x = 0; x < one.width(); x++) {
                    different += qAbs(qAlpha(one.pixel(x, y)) - qAlpha(other.pixel(x, y))) > 128;
                }
            }
            QVERIFY2(different >= 8, qPrintable(names[i] + " and " + names[j]));
        }
    }
}

void TestResources::statesShareTheirPlace()
{
    // A button whose picture changes must not seem to jump: the loudspeaker stays where it is, and
    // every louder state only adds to the one before.
    const QImage mute = load(":/image/controlicon/mute.png");
    QImage before;
    for (const char *name : {"vol1", "vol2", "vol3"}) {
        const QImage now = load(QStringLiteral(":/image/controlicon/%1.png").arg(name));
        QCOMPARE(visibleRect(now).left(), visibleRect(mute).left());
        QVERIFY(visibleRect(now).right() > visibleRect(before).right());
        for (int y = 0; y < before.height(); y++) {
            for (int x = 0; x < before.width(); x++) {
                QVERIFY(qAlpha(now.pixel(x, y)) >= qAlpha(before.pixel(x, y)));
            }
        }
        before = now;
    }
    const QRect play = visibleRect(load(":/image/controlicon/play.png"));
    const QRect pause = visibleRect(load(":/image/controlicon/pause.png"));
    QVERIFY(qAbs(play.center().y() - pause.center().y()) <= 1);
    QVERIFY(qAbs(play.height() - pause.height()) <= 2);
}

void TestResources::folderPickerIsVisibleOnLightAndDark()
{
    const QImage image = load(":/image/controlicon/openfile.png");
    int clear = 0;
    for (int y = 0; y < image.height(); y++) {
        for (int x = 0; x < image.width(); x++) {
            const QRgb pixel = image.pixel(x, y);
            clear += qAlpha(pixel) > 200 && contrast(pixel, qRgb(239, 239, 239)) >= 3 &&
                contrast(pixel, qRgb(53, 53, 53)) >= 2.5;
        }
    }
    QVERIFY2(clear >= 40, qPrintable(QString::number(clear)));
}

void TestResources::logoIsColoured()
{
    const QImage logo = load(":/image/icon/logo1.png");
    QVERIFY(visibleRect(logo).width() >= 23);
    QVERIFY(visibleRect(logo).height() >= 23);
    QVERIFY(QColor(logo.pixel(12, 3)).saturation() > 100);
    // White drawing in the middle.
    QVERIFY(qGray(logo.pixel(12, 12)) > 240);
}

void TestResources::background()
{
    const QImage once = load(":/image/background.jpg");
    QVERIFY(!once.isNull());
    // High enough for a large screen. Narrow, to be loaded quickly, but all columns are alike, so
    // that no seam shows where it repeats.
    QVERIFY(once.height() >= 1080);
    QVERIFY(once.width() <= 16);
    for (int x = 1; x < once.width(); x++)
        QCOMPARE(once.copy(x, 0, 1, once.height()), once.copy(0, 0, 1, once.height()));
    QCOMPARE(load(":/image/background@2x.jpg").size(), once.size() * 2);
    // Dark everywhere: white text is read on it.
    for (int y = 0; y < once.height(); y += 20) {
        for (int x = 0; x < once.width(); x += 8) {
            QVERIFY(contrast(once.pixel(x, y), qRgb(255, 255, 255)) >= 4.5);
        }
    }
}

void TestResources::iconsLoadThroughQt()
{
    for (const Picture &picture : ::pictures) {
        const QIcon icon(picture.path);
        QVERIFY2(icon.availableSizes().contains(picture.size), picture.path);
        QVERIFY2(!icon.pixmap(picture.size).isNull(), picture.path);
    }
}

void TestResources::picturesAreRenderedFromTheirSources()
{
    if (QStandardPaths::findExecutable("rsvg-convert").isEmpty() ||
        QStandardPaths::findExecutable("convert").isEmpty()) {
        QSKIP("the tools that render the pictures are not installed");
    }
    QTemporaryDir folder;
    QProcess render;
    render.start(SOURCE_DIR "/resources/render", {folder.path()});
    QVERIFY(render.waitForFinished(60000));
    QCOMPARE(render.readAllStandardError(), QByteArray());
    QCOMPARE(render.exitCode(), 0);

    for (const Picture &picture : ::pictures) {
        const QString path(picture.path);
        for (const QString &name : {path, doubled(path)}) {
            const QString file = folder.path() + (name.startsWith(":/images/") ? "/images/" : "/") +
                name.section('/', 2);
            const QImage fresh = load(file);
            const QImage kept = load(name);
            QCOMPARE(fresh.size(), kept.size());
            // Another version of the renderer may round an edge pixel otherwise.
            for (int y = 0; y < kept.height(); y++) {
                for (int x = 0; x < kept.width(); x++) {
                    const int difference =
                        qAbs(qAlpha(fresh.pixel(x, y)) - qAlpha(kept.pixel(x, y)));
                    QVERIFY2(difference <= 16, qPrintable(name));
                }
            }
        }
    }
    QCOMPARE(load(folder.path() + "/background.jpg").size(), load(":/image/background.jpg").size());
}

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
