// Dense screens: by how much everything grows, what the person's variables do to that, and whether
// every text is whole then. What counts is set before the application object, so each look is taken
// by a process of its own: this program with "look" as its argument.
#include "fullscreenvideocontrl.h"
#include "playerbench.h"
#include "screen.h"
#include "screenscale.h"
#include "settings.h"
#include "showvideoinfo.h"
#include "speedwind.h"

#include <QCheckBox>
#include <QComboBox>
#include <QRadioButton>
#include <QScreen>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QToolButton>

#include <cstdio>

namespace {

// What must hold a widget's text, in its own coordinates.
QRect placeOfText(QWidget *widget)
{
    QStyle *style = widget->style();
    if (auto *combo = qobject_cast<QComboBox *>(widget)) {
        QStyleOptionComboBox option;
        option.initFrom(combo);
        option.editable = combo->isEditable();
        return style->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField,
                                     combo);
    }
    QStyleOptionButton option;
    option.initFrom(widget);
    if (qobject_cast<QPushButton *>(widget))
        return style->subElementRect(QStyle::SE_PushButtonContents, &option, widget);
    if (qobject_cast<QCheckBox *>(widget))
        return style->subElementRect(QStyle::SE_CheckBoxContents, &option, widget);
    if (qobject_cast<QRadioButton *>(widget))
        return style->subElementRect(QStyle::SE_RadioButtonContents, &option, widget);
    return widget->contentsRect();
}

QString textOf(QWidget *widget)
{
    if (auto *label = qobject_cast<QLabel *>(widget))
        return label->wordWrap() ? QString() : label->text();
    if (auto *button = qobject_cast<QAbstractButton *>(widget))
        return button->text().remove('&');
    if (auto *combo = qobject_cast<QComboBox *>(widget))
        return combo->currentText();
    return QString();
}

// The ink counts, not the line: a label may be lower than the line that it holds.
bool holdsItsText(QWidget *widget)
{
    const QString text = textOf(widget);
    const QFontMetrics metrics(widget->font(), widget);
    const QRect place = placeOfText(widget);
    return metrics.horizontalAdvance(text) <= place.width() &&
        metrics.tightBoundingRect(text).height() <= place.height();
}

void lookAt(QWidget *window)
{
    window->show();
    if (!QTest::qWaitForWindowExposed(window, 20000))
        qFatal("the window does not show");
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (textOf(widget).isEmpty() || widget->window() != window || widget->isHidden())
            continue;
        // cppcheck-suppress ignoredReturnValue
        std::printf("%s\t%s\n", holdsItsText(widget) ? "whole" : "cut",
                    (textOf(widget) + '\t' + widget->objectName()).toUtf8().constData());
    }
}

// Prints the factor, the density by which texts are drawn, and each text, whole or cut.
int look(int argc, char **argv)
{
    followScreenDensity();
    QApplication application(argc, argv);
    std::printf("factor\t%g\n", application.devicePixelRatio());
    std::printf("density\t%d\n", QWidget().logicalDpiX());
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    playinglist.addrIndex = 0;
    videoInfo.showDuration = "02:30:00";
    videoInfo.frame = 23.98;
    videoInfo.bitRate = 8000000;
    videoInfo.width = 1920;
    videoInfo.height = 1080;
    videoInfo.asampleRate = 48000;
    lookAt(&window);
    lookAt(window.m_titleBar->setDialog);
    lookAt(window.ads);
    showVideoInfo information;
    lookAt(&information);
    window.fsvc->setFixedSize(window.screenWidth, window.screenHeight);
    lookAt(window.fsvc);
    lookAt(window.sw);
    return 0;
}

} // namespace

class TestScreenScale : public QObject {
    Q_OBJECT

private slots:
    void density_data();
    void density();
    void noFactorLosesAPixel();
    void factorAndTexts_data();
    void factorAndTexts();
    void withoutUsTheTextsAreCut();

private:
    QList<QByteArrayList> lookWith(int density, const QByteArrayList &variables);
};

void TestScreenScale::density_data()
{
    QTest::addColumn<QByteArray>("resources");
    QTest::addColumn<int>("pixels");
    QTest::addColumn<int>("millimetres");
    QTest::addColumn<int>("expected");
    QTest::newRow("nothing known") << QByteArray() << 1280 << 0 << 96;
    QTest::newRow("75 is taken for 96") << QByteArray() << 1280 << 433 << 96;
    QTest::newRow("96") << QByteArray() << 1280 << 339 << 96;
    QTest::newRow("100") << QByteArray() << 1280 << 325 << 100;
    QTest::newRow("119") << QByteArray() << 1280 << 273 << 119;
    QTest::newRow("120, told as 119.97") << QByteArray() << 1280 << 271 << 120;
    QTest::newRow("192") << QByteArray() << 3840 << 508 << 192;
    QTest::newRow("the desktop's word counts")
        << QByteArray("Xft.dpi:\t144\n") << 1280 << 325 << 144;
    QTest::newRow("also when it is less") << QByteArray("Xft.dpi:\t75\n") << 3840 << 508 << 75;
    QTest::newRow("among others")
        << QByteArray("*color0:\t#000\nXft.antialias:\t1\nXft.dpi:\t168\nXft.rgba:\tnone\n") << 1280
        << 325 << 168;
    QTest::newRow("not a number") << QByteArray("Xft.dpi:\tlarge\n") << 1280 << 325 << 100;
    QTest::newRow("another key") << QByteArray("old.Xft.dpi:\t192\n") << 1280 << 325 << 100;
}

void TestScreenScale::density()
{
    QFETCH(QByteArray, resources);
    QFETCH(int, pixels);
    QFETCH(int, millimetres);
    QTEST(densityOf(resources, pixels, millimetres), "expected");
}

// Of any size that a window manager may give a window.
void TestScreenScale::noFactorLosesAPixel()
{
    for (int density : {120, 130, 144, 150, 160, 168, 180, 192, 216, 240, 280}) {
        const double factor = steppedDensity(density) / 96.0;
        QVERIFY(factor > 1 && factor <= density / 96.0);
        for (int pixels = 100; pixels < 6000; ++pixels)
            QVERIFY(qRound(qRound(pixels / factor) * factor) >= pixels);
    }
    for (int density : {75, 96, 100, 119})
        QCOMPARE(steppedDensity(density), density);
}

QList<QByteArrayList> TestScreenScale::lookWith(int density, const QByteArrayList &variables)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QByteArray &variable : variables) {
        const int equals = variable.indexOf('=');
        environment.insert(variable.left(equals), variable.mid(equals + 1));
    }
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QList<QByteArrayList> lines;
    if (!Screen::setDensity(density))
        return lines;
    process.start(QCoreApplication::applicationFilePath(), {"look"});
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return lines;
    for (const QByteArray &line : process.readAllStandardOutput().trimmed().split('\n'))
        lines << line.split('\t');
    return lines;
}

void TestScreenScale::factorAndTexts_data()
{
    QTest::addColumn<int>("density");
    QTest::addColumn<QByteArrayList>("variables");
    QTest::addColumn<QByteArray>("factor");
    QTest::addColumn<QByteArray>("texts"); // the density of these
    const auto row = [](int density, const QByteArrayList &variables, const char *factor,
                        const char *texts) {
        const QByteArray name = QByteArray::number(density) + ' ' + variables.join(' ');
        QTest::newRow(name.trimmed())
            << density << variables << QByteArray(factor) << QByteArray(texts);
    };
    row(75, {}, "1", "75");
    row(96, {}, "1", "96");
    row(100, {}, "1", "100");
    row(119, {}, "1", "119");
    row(120, {}, "1.25", "96");
    row(143, {}, "1.25", "96");
    row(144, {}, "1.5", "96");
    row(168, {}, "1.5", "96");
    row(191, {}, "1.5", "96");
    row(192, {}, "2", "96");
    row(287, {}, "2", "96");
    row(288, {}, "3", "96");
    // The person's factor is the factor, on any screen.
    row(96, {"QT_SCALE_FACTOR=1.25"}, "1.25", "96");
    row(96, {"QT_SCALE_FACTOR=1.5"}, "1.5", "96");
    row(96, {"QT_SCALE_FACTOR=2"}, "2", "96");
    row(100, {"QT_SCALE_FACTOR=2"}, "2", "100");
    row(192, {"QT_SCALE_FACTOR=2"}, "2", "96");
    row(192, {"QT_SCALE_FACTOR=1.5"}, "1.5", "96");
    row(192, {"QT_SCALE_FACTOR=1"}, "1", "96");
    row(192, {"QT_SCALE_FACTOR=large"}, "2", "96");
    row(192, {"QT_DEVICE_PIXEL_RATIO=2"}, "2", "96");
    row(192, {"QT_DEVICE_PIXEL_RATIO=auto"}, "2", "96");
    row(192, {"QT_SCREEN_SCALE_FACTORS=1.5"}, "1.5", "96");
    // As desktops set these that count by themselves.
    row(144, {"QT_AUTO_SCREEN_SCALE_FACTOR=0", "QT_SCREEN_SCALE_FACTORS=screen=1.5;"}, "1.5", "96");
    row(144,
        {"QT_AUTO_SCREEN_SCALE_FACTOR=0", "QT_SCREEN_SCALE_FACTORS=screen=1.5;",
         "QT_SCALE_FACTOR=2"},
        "3", "96");
    row(192, {"QT_ENABLE_HIGHDPI_SCALING=0"}, "1", "192");
    row(192, {"QT_AUTO_SCREEN_SCALE_FACTOR=0"}, "1", "192");
    row(100, {"QT_AUTO_SCREEN_SCALE_FACTOR=1"}, "1", "100");
    row(144, {"QT_AUTO_SCREEN_SCALE_FACTOR=1"}, "1.5", "96");
    row(144, {"QT_ENABLE_HIGHDPI_SCALING=1"}, "1.5", "96");
    row(192, {"QT_AUTO_SCREEN_SCALE_FACTOR=1", "QT_SCALE_FACTOR=2"}, "4", "96");
    row(144, {"QT_SCALE_FACTOR_ROUNDING_POLICY=Round"}, "2", "96");
    row(168, {"QT_AUTO_SCREEN_SCALE_FACTOR=0", "QT_SCREEN_SCALE_FACTORS=screen=1.75;"}, "1.75",
        "96");
    row(168, {"QT_AUTO_SCREEN_SCALE_FACTOR=0"}, "1", "168");
    row(96, {"QT_FONT_DPI=144"}, "1.5", "96");
    row(96, {"QT_FONT_DPI=168"}, "1.75", "96");
    row(192, {"QT_FONT_DPI=96"}, "1", "96");
}

void TestScreenScale::factorAndTexts()
{
    QFETCH(int, density);
    QFETCH(QByteArrayList, variables);
    QFETCH(QByteArray, texts);
    // The screens' factors are given by their names.
    for (QByteArray &variable : variables)
        variable.replace("screen=", QGuiApplication::primaryScreen()->name().toLatin1() + '=');
    const QList<QByteArrayList> lines = lookWith(density, variables);
    QVERIFY(lines.size() > 60);
    QTEST(lines.at(0).value(1), "factor");
    QCOMPARE(lines.at(1), (QByteArrayList{"density", texts}));
    if (texts != "96" ||
        lines.at(0).value(1) == "4") // four times as large the bar has no room here
        return;
    for (const QByteArrayList &line : lines.mid(2))
        QVERIFY2(line.at(0) == "whole", line.join(' ').constData());
}

// What is found whole above can be found cut.
void TestScreenScale::withoutUsTheTextsAreCut()
{
    int cut = 0;
    for (const QByteArrayList &line : lookWith(192, {"QT_ENABLE_HIGHDPI_SCALING=0"}))
        cut += line.at(0) == "cut";
    QVERIFY2(cut > 10, QByteArray::number(cut).constData());
}

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], "look") == 0)
        return look(argc, argv);
    QApplication application(argc, argv);
    TestScreenScale test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_screenscale.moc"
