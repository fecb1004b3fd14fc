// The media information dialog: its form, and the texts it makes of a record.
#include "common.h"
#include "showvideoinfo.h"
#include "testsupport.h"

#include <QLabel>
#include <QPushButton>
#include <QTranslator>
#include <QtTest>

namespace {

struct Piece {
    const char *name;
    QRect geometry;
    const char *text; // null: a value label
};

const Piece kPieces[] = {
    {"fileInfo", {10, 10, 61, 22}, "文件信息"},
    {"fileNameLabel", {20, 30, 63, 22}, "文件名"},
    {"fileName", {90, 30, 211, 22}, nullptr},
    {"fileSizeLabel", {20, 60, 63, 22}, "文件大小"},
    {"fileSize", {90, 60, 141, 22}, nullptr},
    {"durationLabel", {20, 90, 63, 22}, "视频长度"},
    {"duration", {90, 90, 131, 22}, nullptr},
    {"locationLabel", {20, 120, 63, 22}, "文件位置"},
    {"location", {80, 120, 231, 91}, nullptr},
    {"videoCodeInfo", {10, 220, 63, 22}, "视频信息"},
    {"vcodecTypeLabel", {20, 250, 63, 22}, "编码类型"},
    {"vcodecType", {100, 250, 211, 22}, nullptr},
    {"vRateLabel", {20, 280, 63, 22}, "码率"},
    {"vRate", {100, 280, 151, 22}, nullptr},
    {"frameLabel", {20, 310, 63, 22}, "帧率"},
    {"frame", {100, 310, 151, 22}, nullptr},
    {"resolutionRatioLabel", {20, 340, 63, 22}, "分辨率"},
    {"resolutionRatio", {100, 340, 161, 22}, nullptr},
    {"acodecInfo", {10, 380, 63, 22}, "音频信息"},
    {"acodecTypeLabel", {20, 410, 63, 22}, "编码类型"},
    {"acodecType", {100, 410, 211, 22}, nullptr},
    {"acodecRateLabel", {20, 440, 63, 22}, "码率"},
    {"acodecRate", {100, 440, 161, 22}, nullptr},
    {"channelsLabel", {20, 470, 63, 22}, "声道数"},
    {"channels", {100, 470, 151, 22}, nullptr},
    {"sampleRateLabel", {20, 500, 63, 22}, "采样率"},
    {"sampleRate", {100, 500, 151, 22}, nullptr},
};

QLabel *label(const showVideoInfo &dialog, const char *name)
{
    auto *found = dialog.findChild<QLabel *>(name);
    if (!found)
        qFatal("no label %s", name);
    return found;
}

QFrame *line(const showVideoInfo &dialog, const char *name)
{
    auto *found = dialog.findChild<QFrame *>(name);
    if (!found)
        qFatal("no line %s", name);
    return found;
}

class ContextCollector : public QTranslator {
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        contexts.insert(QString::fromUtf8(source), context);
        return QString();
    }
    bool isEmpty() const override { return false; }
    mutable QMap<QString, QByteArray> contexts;
};

} // namespace

class TestShowVideoInfo : public QObject {
    Q_OBJECT

private slots:
    void init() { resetSharedState(); }

    void form();
    void translationContext();
    void fileSize();
    void values();
    void rates_data();
    void rates();
    void aNetworkStream();
    void refillsWhenShownAgain();
    void markupStaysText();
    void longPathWraps();
    void indexBesideTheArray();
    void closeButton();
};

void TestShowVideoInfo::form()
{
    showVideoInfo dialog;
    QCOMPARE(dialog.windowTitle(), QString("Dialog"));
    QCOMPARE(dialog.minimumSize(), QSize(320, 580));
    QCOMPARE(dialog.maximumSize(), QSize(320, 580));
    for (const Piece &piece : kPieces) {
        auto *found = dialog.findChild<QLabel *>(piece.name);
        QVERIFY2(found, piece.name);
        QCOMPARE(found->parent(), &dialog);
        QCOMPARE(found->geometry(), piece.geometry);
        QCOMPARE(found->text(), QString::fromUtf8(piece.text ? piece.text : "TextLabel"));
        QCOMPARE(found->wordWrap(), found == label(dialog, "location"));
        QCOMPARE(found->textFormat(), piece.text ? Qt::AutoText : Qt::PlainText);
    }
    const QPair<QFrame *, QRect> lines[] = {{line(dialog, "line"), {0, 210, 321, 16}},
                                            {line(dialog, "line_2"), {0, 370, 321, 16}}};
    for (const auto &expected : lines) {
        QCOMPARE(expected.first->geometry(), expected.second);
        QCOMPARE(expected.first->frameShape(), QFrame::HLine);
    }
    auto *button = dialog.findChild<QPushButton *>("closeBtn");
    QVERIFY(button);
    QCOMPARE(button->geometry(), QRect(110, 530, 106, 36));
    QCOMPARE(button->text(), QString("关闭"));
    QCOMPARE(dialog.findChildren<QWidget *>().size(), int(std::size(kPieces)) + 3);
}

void TestShowVideoInfo::translationContext()
{
    ContextCollector collector;
    QVERIFY(qApp->installTranslator(&collector));
    collector.contexts.clear();
    {
        showVideoInfo dialog;
    }
    qApp->removeTranslator(&collector);
    for (const char *text : {"Dialog", "文件信息", "TextLabel", "关闭"})
        QCOMPARE(collector.contexts.value(text), QByteArray("showVideoInfo"));
}

void TestShowVideoInfo::fileSize()
{
    QTemporaryDir dir;
    writeFile(dir.filePath("a"), QByteArray(1572864, 'x'));
    writeFile(dir.filePath("b"), "x");
    writeFile(dir.filePath("c"), "");
    QCOMPARE(getFileSize(dir.filePath("a")), 1.5);
    QCOMPARE(getFileSize(dir.filePath("b")), 1.0 / 1024.0 / 1024.0);
    QCOMPARE(getFileSize(dir.filePath("c")), 0.0);
    QCOMPARE(getFileSize(dir.filePath("none")), 0.0);
    QCOMPARE(getFileSize("rtsp://h/s"), 0.0);
    QFile sparse(dir.filePath("big"));
    QVERIFY(sparse.open(QIODevice::WriteOnly) && sparse.resize(5LL * 1024 * 1024 * 1024));
    QCOMPARE(getFileSize(dir.filePath("big")), 5120.0);
}

void TestShowVideoInfo::values()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("影 片.mp4");
    writeFile(path, QByteArray(1572864, 'x'));
    addrlist[3].addr = path;
    addrlist[3].label = "another";
    playinglist.addrIndex = 3;
    videoInfo.frame = 30000.0F / 1001.0F;
    videoInfo.width = 1920;
    videoInfo.height = 1080;
    videoInfo.vcodecType = "H.264 / AVC / MPEG-4 AVC / MPEG-4 part 10";
    videoInfo.showDuration = "02:125:30";
    videoInfo.bitRate = 128000;
    videoInfo.acodecType = "AAC (Advanced Audio Coding)";
    videoInfo.acodecRate = 128000;
    videoInfo.asampleRate = 44100;
    videoInfo.channels = 6;

    showVideoInfo dialog;
    LogCapture log;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.size(), QSize(320, 580));
    QCOMPARE(dialog.windowTitle(), QString("媒体信息"));
    QCOMPARE(label(dialog, "fileName")->text(), QString("影 片.mp4"));
    QCOMPARE(label(dialog, "fileName")->toolTip(), QString("影 片.mp4"));
    QCOMPARE(label(dialog, "frame")->text(), QString("29.97 fps"));
    QCOMPARE(label(dialog, "vRate")->text(), QString("128 kbps"));
    QCOMPARE(label(dialog, "channels")->text(), QString("6"));
    QCOMPARE(label(dialog, "duration")->text(), QString("02:125:30"));
    QCOMPARE(label(dialog, "fileSize")->text(), QString("1.5MB"));
    QCOMPARE(label(dialog, "location")->text(), path);
    QCOMPARE(label(dialog, "location")->toolTip(), path);
    QCOMPARE(label(dialog, "location")->alignment(), Qt::Alignment(Qt::AlignTop));
    QCOMPARE(label(dialog, "acodecRate")->text(), QString("128.00kbps"));
    QCOMPARE(label(dialog, "acodecType")->text(), QString("AAC (Advanced Audio Coding)"));
    QCOMPARE(label(dialog, "sampleRate")->text(), QString("44100hz"));
    QCOMPARE(label(dialog, "vcodecType")->text(), videoInfo.vcodecType);
    QCOMPARE(label(dialog, "vcodecType")->toolTip(), videoInfo.vcodecType);
    QCOMPARE(label(dialog, "resolutionRatio")->text(), QString("1920x1080"));
    QCOMPARE(log.lines(), QStringList());
}

void TestShowVideoInfo::rates_data()
{
    QTest::addColumn<int>("bitRate");
    QTest::addColumn<QString>("vRate");
    QTest::addColumn<float>("acodecRate");
    QTest::addColumn<QString>("acodecText");
    QTest::addColumn<float>("frame");
    QTest::addColumn<QString>("frameText");
    QTest::newRow("nothing") << 0 << "0 kbps" << 0.0F << "0.00kbps" << 0.0F << "0.00 fps";
    QTest::newRow("below") << 999 << "0 kbps" << 999.0F << "1.00kbps" << 25.0F << "25.00 fps";
    QTest::newRow("at") << 1000 << "1 kbps" << 1000.0F << "1.00kbps" << 100.0F << "100.00 fps";
    QTest::newRow("cut") << 1999 << "1 kbps" << 1994.0F << "1.99kbps" << 12.5F << "12.50 fps";
    QTest::newRow("big") << 2147483647 << "2147483 kbps" << 12345678.0F << "12345.68kbps" << 0.004F
                         << "0.00 fps";
}

void TestShowVideoInfo::rates()
{
    QFETCH(int, bitRate);
    QFETCH(float, acodecRate);
    QFETCH(float, frame);
    videoInfo.bitRate = bitRate;
    videoInfo.acodecRate = acodecRate;
    videoInfo.frame = frame;
    showVideoInfo dialog;
    dialog.show();
    QTEST(label(dialog, "vRate")->text(), "vRate");
    QTEST(label(dialog, "acodecRate")->text(), "acodecText");
    QTEST(label(dialog, "frame")->text(), "frameText");
}

void TestShowVideoInfo::aNetworkStream()
{
    addrlist[0].addr = "rtsp://host:554/live";
    showVideoInfo dialog;
    dialog.show();
    QCOMPARE(label(dialog, "fileName")->text(), QString("live"));
    QCOMPARE(label(dialog, "fileSize")->text(), QString("0.0MB"));
    QCOMPARE(label(dialog, "location")->text(), QString("rtsp://host:554/live"));
    QCOMPARE(label(dialog, "duration")->text(), QString());
    QCOMPARE(label(dialog, "resolutionRatio")->text(), QString("0x0"));
    QCOMPARE(label(dialog, "sampleRate")->text(), QString("0hz"));
    QCOMPARE(label(dialog, "channels")->text(), QString("0"));
}

void TestShowVideoInfo::refillsWhenShownAgain()
{
    showVideoInfo dialog;
    dialog.show();
    QCOMPARE(label(dialog, "channels")->text(), QString("0"));
    dialog.hide();
    videoInfo.channels = 2;
    dialog.show();
    QCOMPARE(label(dialog, "channels")->text(), QString("2"));
}

void TestShowVideoInfo::markupStaysText()
{
    const QString markup = "<b>x</b>&amp;.mp4";
    const auto picture = [](const QString &text, Qt::TextFormat format) {
        addrlist[0].addr = "/a/" + text;
        showVideoInfo dialog;
        label(dialog, "fileName")->setTextFormat(format);
        dialog.show();
        return qMakePair(label(dialog, "fileName")->text(),
                         label(dialog, "fileName")->grab().toImage());
    };
    addrlist[0].addr = "/a/" + markup;
    showVideoInfo dialog;
    dialog.show();
    // addrlist keeps the address whole; the name is what follows its last slash.
    QCOMPARE(label(dialog, "fileName")->text(), QString("b>&amp;.mp4"));
    QCOMPARE(label(dialog, "location")->text(), "/a/" + markup);

    const auto shown = picture("<i>x", Qt::PlainText);
    QCOMPARE(shown.first, QString("<i>x"));
    QVERIFY(shown.second != picture("<i>x", Qt::RichText).second);
    showVideoInfo untouched;
    addrlist[0].addr = "/a/<i>x";
    untouched.show();
    QCOMPARE(label(untouched, "fileName")->grab().toImage(), shown.second);
}

void TestShowVideoInfo::longPathWraps()
{
    addrlist[0].addr =
        "/home/somebody/films and clips/" + QString("a long name ").repeated(8) + ".mp4";
    showVideoInfo dialog;
    dialog.show();
    QVERIFY(label(dialog, "location")->heightForWidth(231) >
            2 * label(dialog, "location")->fontMetrics().height());
    QCOMPARE(label(dialog, "location")->geometry(), QRect(80, 120, 231, 91));
}

void TestShowVideoInfo::indexBesideTheArray()
{
    for (int index : {-1, kHistoryCapacity, INT_MIN, INT_MAX}) {
        playinglist.addrIndex = index;
        showVideoInfo dialog;
        dialog.show();
        QCOMPARE(label(dialog, "fileName")->text(), QString());
        QCOMPARE(label(dialog, "location")->text(), QString());
        QCOMPARE(dialog.windowTitle(), QString("媒体信息"));
    }
    addrlist[kHistoryCapacity - 1].addr = "/z.mp4";
    playinglist.addrIndex = kHistoryCapacity - 1;
    showVideoInfo dialog;
    dialog.show();
    QCOMPARE(label(dialog, "fileName")->text(), QString("z.mp4"));
}

void TestShowVideoInfo::closeButton()
{
    QWidget host;
    auto *dialog = new showVideoInfo(&host);
    QCOMPARE(dialog->parentWidget(), &host);
    bool wasVisible = false;
    QTimer::singleShot(0, dialog, [&] {
        wasVisible = dialog->isVisible() && dialog->isModal();
        QTest::mouseClick(dialog->findChild<QPushButton *>("closeBtn"), Qt::LeftButton);
    });
    QCOMPARE(dialog->exec(), int(QDialog::Rejected));
    QVERIFY(wasVisible);
    QVERIFY(!dialog->isVisible());
}

QTEST_MAIN(TestShowVideoInfo)
#include "tst_showvideoinfo.moc"
