// The same text is the same picture, whatever its file is written in and whatever the locale is.
#include "engine.h"
#include "longform.h"
#include "subtitlebench.h"

#include <QTextCodec>

class TestSubtitleTexts : public QObject, protected SubtitleBench {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { film.reset(); }
    void sameInEveryEncoding_data();
    void sameInEveryEncoding();
    void streamsOfTheFilm_data();
    void streamsOfTheFilm();
    void whatTheEngineDoesNotTake_data();
    void whatTheEngineDoesNotTake();

private:
    QImage letters();
    QString written(const QString &folder, const QString &kind, const QString &encoding) const;

    QTemporaryDir folder;
    QImage expected;
};

namespace {

const QString words = QStringLiteral("今天天气真好"); // in UTF-8 it can be taken for GBK

// As each kind of file has it.
QString subtitle(const QString &kind, const QString &content)
{
    if (kind == "vtt")
        return "WEBVTT\n\n00:00:00.000 --> 00:01:59.000\n" + content + "\n\n";
    if (kind == "srt")
        return "1\n00:00:00,000 --> 00:01:59,000\n" + content + "\n\n";
    return "[Script Info]\nScriptType: v4.00+\n\n[V4+ Styles]\nFormat: Name, Fontname, Fontsize, "
           "PrimaryColour, Alignment\nStyle: Default,Arial,20,&H00FFFFFF,2\n\n[Events]\nFormat: "
           "Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\nDialogue: "
           "0,0:00:00.00,0:01:59.00,Default,,0,0,0,," +
        content + '\n';
}

QByteArray encoded(const QString &content, const QString &encoding)
{
    if (encoding == "UTF-8 with BOM")
        return "\xef\xbb\xbf" + content.toUtf8();
    return QTextCodec::codecForName(encoding.toLatin1())->fromUnicode(content);
}

int different(const QImage &one, const QImage &other)
{
    if (one.size() != other.size())
        return one.width() * one.height();
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QColor a = one.pixelColor(x, y);
            const QColor b = other.pixelColor(x, y);
            count += qAbs(a.red() - b.red()) > 20 || qAbs(a.blue() - b.blue()) > 20;
        }
    }
    return count;
}

const QStringList kinds{"srt", "ass", "vtt"};
const QStringList encodings{"GBK", "GB18030", "UTF-8", "UTF-8 with BOM", "UTF-16"};

} // namespace

// Locales of the test's own, and the picture that everything else is compared with.
void TestSubtitleTexts::initTestCase()
{
    QVERIFY(folder.isValid());
    for (const QString &name : {QStringLiteral("zh_CN"), QStringLiteral("en_US")}) {
        QProcess process;
        process.start("localedef", {"-i", name, "-f", "UTF-8", folder.filePath(name + ".UTF-8")});
        QVERIFY(process.waitForFinished(60000) && process.exitCode() == 0);
    }
    qputenv("LOCPATH", QFile::encodeName(folder.path()));
    const EnvironmentVariable locale("LC_ALL", "zh_CN.UTF-8");
    QProcess check;
    check.start("locale", {"charmap"});
    QVERIFY(check.waitForFinished());
    QCOMPARE(check.readAllStandardOutput(), QByteArray("UTF-8\n"));
    QCOMPARE(check.readAllStandardError(), QByteArray());

    open(Clips::oneColour("blue", 120));
    choose(written(folder.path(), "srt", "GBK"));
    expected = letters();
    // Six letters that fill most of their squares.
    const QRect covered = settledText();
    QVERIFY2(covered.width() > 5 * covered.height() && covered.height() > 12,
             qPrintable(QString("%1 x %2").arg(covered.width()).arg(covered.height())));
    QVERIFY(Screen::count(expected, Qt::white, 60) > covered.width() * covered.height() / 8);
}

QString TestSubtitleTexts::written(const QString &where, const QString &kind,
                                   const QString &encoding) const
{
    QString path = QString("%1/film.%2").arg(where, kind);
    writeFile(path, encoded(subtitle(kind, words), encoding));
    return path;
}

QImage TestSubtitleTexts::letters() { return settledText().isEmpty() ? QImage() : lowerHalf(); }

void TestSubtitleTexts::sameInEveryEncoding_data()
{
    QTest::addColumn<QByteArray>("locale");
    QTest::addColumn<bool>("chosen"); // in the menu; otherwise the engine finds it by its name
    QTest::addColumn<QStringList>("files"); // kind and encoding
    if (!longForm()) {
        QTest::newRow("some chosen")
            << QByteArray("C.UTF-8") << true
            << QStringList{"srt UTF-16", "ass UTF-8 with BOM", "vtt UTF-8", "srt GB18030"};
        QTest::newRow("some by name")
            << QByteArray("en_US.UTF-8") << false << QStringList{"srt UTF-8", "ass GBK"};
        return;
    }
    for (const QByteArray locale : {"C.UTF-8", "en_US.UTF-8", "zh_CN.UTF-8"}) {
        for (bool chosen : {true, false}) {
            QStringList files;
            for (const QString &kind : kinds) {
                for (const QString &encoding : encodings) {
                    if (chosen || kind != "vtt") // the engine does not look for this kind
                        files << kind + ' ' + encoding;
                }
            }
            QTest::newRow(locale + (chosen ? ", chosen" : ", by name"))
                << locale << chosen << files;
        }
    }
}

void TestSubtitleTexts::sameInEveryEncoding()
{
    QFETCH(QByteArray, locale);
    QFETCH(bool, chosen);
    QFETCH(QStringList, files);
    const EnvironmentVariable variable("LC_ALL", locale);
    if (chosen)
        open(Clips::oneColour("blue", 120));
    for (const QString &file : files) {
        const QTemporaryDir beside;
        const QString path = written(beside.path(), file.section(' ', 0, 0), file.section(' ', 1));
        if (chosen)
            choose(path);
        else
            open(Clips::copy(Clips::oneColour("blue", 120), beside.path(), "film.mp4"));
        const QImage shown = letters();
        QVERIFY2(different(shown, expected) == 0,
                 qPrintable(QString("%1: %2 pixels").arg(file).arg(different(shown, expected))));
        if (!chosen)
            continue;
        window->delSubTitle();
        QVERIFY(waitForText([](const QRect &now) { return now.isEmpty(); }));
    }
}

void TestSubtitleTexts::streamsOfTheFilm_data()
{
    QTest::addColumn<QString>("ending");
    QTest::addColumn<QString>("codec");
    QTest::newRow("mov_text in mp4") << "mp4"
                                     << "mov_text";
    if (!longForm())
        return;
    QTest::newRow("srt in mkv") << "mkv"
                                << "srt";
    QTest::newRow("ass in mkv") << "mkv"
                                << "ass";
}

// These are UTF-8 and were always read so.
void TestSubtitleTexts::streamsOfTheFilm()
{
    QFETCH(QString, ending);
    QFETCH(QString, codec);
    const QTemporaryDir beside;
    const QString clip = Clips::make(
        "chinese-" + codec + '.' + ending,
        {"-i", Clips::oneColour("blue", 120), "-i", written(beside.path(), "srt", "UTF-8"), "-map",
         "0", "-map", "1", "-c:v", "copy", "-c:s", codec, "-disposition:s:0", "default"});
    const EnvironmentVariable variable("LC_ALL", "en_US.UTF-8");
    open(clip);
    writeToEngine("sub_select 0\n");
    const QImage shown = letters();
    QVERIFY2(different(shown, expected) == 0,
             qPrintable(QString::number(different(shown, expected))));
}

void TestSubtitleTexts::whatTheEngineDoesNotTake_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("minutes and seconds")
        << QByteArray("WEBVTT\n\n00:00.000 --> 01:59.000\nHELLO\n\n");
    if (!longForm())
        return;
    QTest::newRow("no subtitles") << QByteArray("This is a letter.\n");
    QTest::newRow("nothing") << QByteArray();
}

// The notice is beside the commands, never in their place.
void TestSubtitleTexts::whatTheEngineDoesNotTake()
{
    QFETCH(QByteArray, content);
    const QTemporaryDir beside;
    const QString path = beside.filePath("film.vtt");
    writeFile(path, content);
    open(Clips::oneColour("blue", 120));
    choose(path);
    QTRY_VERIFY_WITH_TIMEOUT(window->ui->stateLabel->isVisible(), 15000);
    QCOMPARE(window->ui->stateLabel->text(), QString("字幕格式不受支持"));
    QVERIFY(subTitleFlag);
    QTRY_VERIFY(!window->ui->stateLabel->isVisible());

    choose(written(beside.path(), "vtt", "UTF-8"));
    QVERIFY(different(letters(), expected) == 0);
    const int position = window->currentPosition;
    QTRY_VERIFY_WITH_TIMEOUT(window->currentPosition > position + 1, 15000);
    QVERIFY(!window->ui->stateLabel->isVisible());
}

QTEST_MAIN(TestSubtitleTexts)
#include "tst_subtitletexts.moc"
