// Audio and subtitle delays, and subtitles: every byte the engine is sent, with and without
// something playing.
#include "adjustmentsbench.h"
#include "whenopen.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QSpinBox>
#include <QTemporaryDir>

#include <clocale>

class TestDelays : public QObject, protected AdjustmentsBench {
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void audioDelaySteps();
    void audioDelayAbsolute();
    void subDelaySteps();
    void subDelayAbsolute();
    void delaysNeedPlayback_data();
    void delaysNeedPlayback();
    void delayDialogs();
    void subtitleFileIsLoaded();
    void subtitleNamesAreEscaped();
    void subtitleWithALineBreakIsRefused();
    void subtitleDialogCancelled();
    void subtitleRemoved();
    void subtitleScale();
    void subtitlePosition();
    void delaysSurviveANewFile();
    void commaLocale();
};

// Chooses name in the file dialog that opens next.
static std::function<void(QWidget *)> choose(const QString &name)
{
    return [name](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QString("选择本地文件"));
        QCOMPARE(dialog->nameFilters(),
                 QStringList({"字幕文件(*.srt *.ass *.ssa *.vtt)", "All(*)"}));
        QCOMPARE(dialog->directory().absolutePath(), QString("/home"));
        if (name.isEmpty()) {
            dialog->reject();
            return;
        }
        dialog->selectNameFilter("All(*)");
        dialog->findChild<QLineEdit *>("fileNameEdit")->setText(name);
        QMetaObject::invokeMethod(dialog, "accept");
    };
}

void TestDelays::audioDelaySteps()
{
    play();
    QCOMPARE(sent([&] {
                 window->voiceDelayPlus();
                 window->voiceDelayPlus();
                 window->voiceDelayReduce();
             }),
             QByteArray("audio_delay  0.1\naudio_delay  0.1\naudio_delay  -0.1\n"));
    QCOMPARE(audioDelay, 0.1);
    QCOMPARE(sent([&] { window->cancelAudioDelay(); }), QByteArray("audio_delay -0.100000\n"));
    QCOMPARE(audioDelay, 0.0);
}

void TestDelays::audioDelayAbsolute()
{
    play();
    window->voiceDelayPlus();
    window->voiceDelayPlus();
    QCOMPARE(sent([&] { emit window->ads->setAudioDelaySignal(0.5); }),
             QByteArray("audio_delay -0.200000\naudio_delay 0.500000\n"));
    QCOMPARE(audioDelay, 0.5);
}

void TestDelays::subDelaySteps()
{
    play();
    QCOMPARE(sent([&] {
                 window->subTitleDelayIncrease();
                 window->subTitleDelayReduce();
             }),
             QByteArray());
    subTitleFlag = true;
    QCOMPARE(sent([&] {
                 window->subTitleDelayIncrease();
                 window->subTitleDelayIncrease();
                 window->subTitleDelayReduce();
             }),
             QByteArray("sub_delay 0.1\nsub_delay 0.1\nsub_delay -0.1\n"));
    QCOMPARE(subDelay, 0.1);
    subTitleFlag = false; // cancelling asks only for playback
    QCOMPARE(sent([&] { window->cancelSubDelay(); }), QByteArray("sub_delay -0.100000\n"));
    QCOMPARE(subDelay, 0.0);
}

void TestDelays::subDelayAbsolute()
{
    play();
    subDelay = 0.25;
    QCOMPARE(sent([&] { emit window->ads->setSubDelaySignal(-1.5); }),
             QByteArray("sub_delay -0.250000\nsub_delay -1.500000\n"));
    QCOMPARE(subDelay, -1.5);
}

void TestDelays::delaysNeedPlayback_data()
{
    QTest::addColumn<bool>("paused");
    QTest::newRow("nothing loaded") << false;
    QTest::newRow("paused") << true;
}

void TestDelays::delaysNeedPlayback()
{
    QFETCH(bool, paused);
    const auto everything = [&] {
        window->voiceDelayPlus();
        window->voiceDelayReduce();
        window->cancelAudioDelay();
        window->recvAudioDelaySignal(2);
        window->subTitleDelayIncrease();
        window->subTitleDelayReduce();
        window->cancelSubDelay();
        window->recvSubDelaySignal(2);
        window->delSubTitle();
        window->subScalePlus();
        window->subScaleReduce();
        window->subPosUp();
    };
    subTitleFlag = true;
    audioDelay = 0.5;
    subDelay = 0.25;
    if (paused) {
        play();
        window->on_playBtn_clicked();
        QCOMPARE(sent(everything), QByteArray());
    } else {
        everything();
        QVERIFY(engine->starts().isEmpty());
    }
    QCOMPARE(audioDelay, 0.5);
    QCOMPARE(subDelay, 0.25);
    QCOMPARE(window->subTitleScale, 3.0);
}

void TestDelays::delayDialogs()
{
    play();
    const QByteArray input = sent([&] {
        audioDelay = 0.3;
        WhenModal answer([&](QWidget *dialog) {
            QCOMPARE(dialog, window->ads);
            QCOMPARE(window->ads->currentDelay, 0.3);
            QCOMPARE(delayFlag, 0);
            QCOMPARE(window->ads->sbox->value(), 300);
            window->ads->sbox->setValue(-250);
            dialog->findChild<QPushButton *>("confirmBtn")->click();
        });
        window->setAudioDelay();
        QVERIFY(answer.happened());
    });
    QCOMPARE(input, QByteArray("audio_delay -0.300000\naudio_delay -0.250000\n"));
    QCOMPARE(audioDelay, -0.25);

    const QByteArray subInput = sent([&] {
        WhenModal answer([&](QWidget *dialog) {
            QCOMPARE(delayFlag, 1);
            QCOMPARE(window->ads->currentDelay, 0.0);
            window->ads->sbox->setValue(1000);
            dialog->findChild<QPushButton *>("confirmBtn")->click();
        });
        window->setSubDelay();
        QVERIFY(answer.happened());
    });
    QCOMPARE(subInput, QByteArray("sub_delay 0.000000\nsub_delay 1.000000\n"));
}

void TestDelays::subtitleFileIsLoaded()
{
    play();
    const QString name = root->path() + "/plain.srt";
    writeFile(name, "1\n");
    LogCapture log;
    const QByteArray input = sent([&] {
        WhenModal answer(choose(name));
        window->openSubTitleFile();
        QVERIFY(answer.happened());
    });
    QCOMPARE(input, "sub_load " + name.toUtf8() + "\nsub_visibility 1\nsub_select 1\n");
    QVERIFY(subTitleFlag);
    QVERIFY(log.contains("Input Filename: \"" + name + "\""));
}

void TestDelays::subtitleNamesAreEscaped()
{
    play();
    const QString name = root->path() + "/字 幕\\x.srt";
    writeFile(name, "1\n");
    const QByteArray input = sent([&] {
        WhenModal answer(choose(name));
        window->openSubTitleFile();
    });
    QByteArray escaped = name.toUtf8();
    escaped.replace("\\", "\\\\").replace(" ", "\\ ");
    QCOMPARE(input, "sub_load " + escaped + "\nsub_visibility 1\nsub_select 1\n");
}

void TestDelays::subtitleWithALineBreakIsRefused()
{
    play();
    // A quiet folder of its own: the dialog reads a folder again whenever something in it changes.
    const QTemporaryDir folder;
    const QString name = folder.filePath("x\nrun touch pwned.srt");
    writeFile(name, "1\n");
    LogCapture log;
    const QByteArray input = sent([&] {
        WhenModal answer([&](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            dialog->selectNameFilter("All(*)");
            dialog->setDirectory(folder.path());
            // A line edit takes no line break; selecting does.
            // The dialog reads the folder in the background and knows the file only then.
            const auto selected = [&] {
                dialog->selectFile(name);
                return dialog->selectedFiles() == QStringList(name);
            };
            QTRY_VERIFY_WITH_TIMEOUT(selected(), 60000);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        window->openSubTitleFile();
    });
    QCOMPARE(input, QByteArray());
    QVERIFY(!subTitleFlag);
}

void TestDelays::subtitleDialogCancelled()
{
    play();
    const QByteArray input = sent([&] {
        WhenModal answer(choose(QString()));
        window->openSubTitleFile();
        QVERIFY(answer.happened());
    });
    QCOMPARE(input, QByteArray());
    QVERIFY(!subTitleFlag);

    window->on_playBtn_clicked(); // paused: a chosen file does nothing either
    const QString name = root->path() + "/plain.srt";
    writeFile(name, "1\n");
    QCOMPARE(sent([&] {
                 WhenModal answer(choose(name));
                 window->openSubTitleFile();
             }),
             QByteArray());
    QVERIFY(!subTitleFlag);
}

void TestDelays::subtitleRemoved()
{
    play();
    subTitleFlag = true;
    subDelay = 1.5;
    QCOMPARE(sent([&] { window->delSubTitle(); }), QByteArray("sub_visibility 0\nsub_remove 0\n"));
    QCOMPARE(subDelay, 0.0);
    QVERIFY(subTitleFlag);
}

void TestDelays::subtitleScale()
{
    play();
    QCOMPARE(sent([&] { window->subScalePlus(); }), QByteArray("sub_scale 0.2\n"));
    QCOMPARE(window->subTitleScale, 3.2);
    QCOMPARE(sent([&] { window->subScaleReduce(); }), QByteArray("sub_scale -0.2\n"));
    QCOMPARE(window->subTitleScale, 3.0);
    window->subTitleScale = 14.9;
    window->subScalePlus();
    QCOMPARE(window->subTitleScale, 15.0);
    window->subTitleScale = 0.6;
    window->subScaleReduce();
    QCOMPARE(window->subTitleScale, 0.5);
}

void TestDelays::subtitlePosition()
{
    play();
    QCOMPARE(sent([&] {
                 window->subPosUp();
                 window->subPosDown();
             }),
             QByteArray("sub_pos -2\nsub_pos 2\n"));
    window->on_playBtn_clicked(); // paused: only down is sent
    QCOMPARE(sent([&] {
                 window->subPosUp();
                 window->subPosDown();
             }),
             QByteArray("sub_pos 2\n"));
}

void TestDelays::delaysSurviveANewFile()
{
    play();
    window->voiceDelayPlus();
    subTitleFlag = true;
    window->on_stopBtn_clicked();
    window->on_playBtn_clicked();
    QVERIFY(engine->waitForStarts(2));
    QCOMPARE(audioDelay, 0.1);
    QVERIFY(subTitleFlag);
    QVERIFY(engine->waitForInput("get_time_pos\n"));
    QVERIFY(!engine->input().contains("delay"));
}

// The engine reads numbers with a dot only, whatever the user's locale writes.
void TestDelays::commaLocale()
{
    const char *comma = nullptr;
    for (const char *name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"}) {
        if (!comma && setlocale(LC_ALL, name) && QByteArray(localeconv()->decimal_point) == ",")
            comma = name;
    }
    if (!comma) {
        setlocale(LC_ALL, "C.UTF-8");
        QLocale::setDefault(QLocale(QLocale::German));
    }
    play();
    QCOMPARE(sent([&] {
                 window->recvAudioDelaySignal(0.5);
                 window->recvSubDelaySignal(0.25);
                 window->recvChangeSpeed(150);
             }),
             QByteArray("audio_delay 0.000000\naudio_delay 0.500000\nsub_delay 0.000000\n"
                        "sub_delay 0.250000\nspeed_set 1.5\n"));
    setlocale(LC_ALL, "C.UTF-8");
    QLocale::setDefault(QLocale::c());
}

QTEST_MAIN(TestDelays)
#include "tst_delays.moc"
