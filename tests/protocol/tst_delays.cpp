// Audio and subtitle delays, and subtitles: every byte the engine is sent, with and without
// something playing.
#include "playerbench.h"
#include "whenopen.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QSpinBox>
#include <QTemporaryDir>

#include <clocale>

class TestDelays : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }

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

private:
    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

void TestDelays::init()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
}

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
    QVERIFY(bench->playFilm());
    QCOMPARE(bench->sent([&] {
        window->voiceDelayPlus();
        window->voiceDelayPlus();
        window->voiceDelayReduce();
    }),
             QByteArray("audio_delay  0.1\naudio_delay  0.1\naudio_delay  -0.1\n"));
    QCOMPARE(audioDelay, 0.1);
    QCOMPARE(bench->sent([&] { window->cancelAudioDelay(); }),
             QByteArray("audio_delay -0.100000\n"));
    QCOMPARE(audioDelay, 0.0);
}

void TestDelays::audioDelayAbsolute()
{
    QVERIFY(bench->playFilm());
    window->voiceDelayPlus();
    window->voiceDelayPlus();
    QCOMPARE(bench->sent([&] { emit window->ads->setAudioDelaySignal(0.5); }),
             QByteArray("audio_delay -0.200000\naudio_delay 0.500000\n"));
    QCOMPARE(audioDelay, 0.5);
}

void TestDelays::subDelaySteps()
{
    QVERIFY(bench->playFilm());
    QCOMPARE(bench->sent([&] {
        window->subTitleDelayIncrease();
        window->subTitleDelayReduce();
    }),
             QByteArray());
    subTitleFlag = true;
    QCOMPARE(bench->sent([&] {
        window->subTitleDelayIncrease();
        window->subTitleDelayIncrease();
        window->subTitleDelayReduce();
    }),
             QByteArray("sub_delay 0.1\nsub_delay 0.1\nsub_delay -0.1\n"));
    QCOMPARE(subDelay, 0.1);
    subTitleFlag = false; // cancelling asks only for playback
    QCOMPARE(bench->sent([&] { window->cancelSubDelay(); }), QByteArray("sub_delay -0.100000\n"));
    QCOMPARE(subDelay, 0.0);
}

void TestDelays::subDelayAbsolute()
{
    QVERIFY(bench->playFilm());
    subDelay = 0.25;
    QCOMPARE(bench->sent([&] { emit window->ads->setSubDelaySignal(-1.5); }),
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
        QVERIFY(bench->playFilm());
        window->on_playBtn_clicked();
        QCOMPARE(bench->sent(everything), QByteArray());
    } else {
        everything();
        QVERIFY(bench->engine.starts().isEmpty());
    }
    QCOMPARE(audioDelay, 0.5);
    QCOMPARE(subDelay, 0.25);
    QCOMPARE(window->subTitleScale, 3.0);
}

void TestDelays::delayDialogs()
{
    QVERIFY(bench->playFilm());
    const QByteArray input = bench->sent([&] {
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

    const QByteArray subInput = bench->sent([&] {
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
    QVERIFY(bench->playFilm());
    const QString name = bench->root.path() + "/plain.srt";
    writeFile(name, "1\n");
    LogCapture log;
    const QByteArray input = bench->sent([&] {
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
    QVERIFY(bench->playFilm());
    const QString name = bench->root.path() + "/字 幕\\x.srt";
    writeFile(name, "1\n");
    const QByteArray input = bench->sent([&] {
        WhenModal answer(choose(name));
        window->openSubTitleFile();
    });
    QByteArray escaped = name.toUtf8();
    escaped.replace("\\", "\\\\").replace(" ", "\\ ");
    QCOMPARE(input, "sub_load " + escaped + "\nsub_visibility 1\nsub_select 1\n");
}

void TestDelays::subtitleWithALineBreakIsRefused()
{
    QVERIFY(bench->playFilm());
    // A quiet folder of its own: the dialog reads a folder again whenever something in it changes.
    const QTemporaryDir folder;
    const QString name = folder.filePath("x\nrun touch pwned.srt");
    writeFile(name, "1\n");
    LogCapture log;
    const QByteArray input = bench->sent([&] {
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
    QVERIFY(bench->playFilm());
    const QByteArray input = bench->sent([&] {
        WhenModal answer(choose(QString()));
        window->openSubTitleFile();
        QVERIFY(answer.happened());
    });
    QCOMPARE(input, QByteArray());
    QVERIFY(!subTitleFlag);

    window->on_playBtn_clicked(); // paused: a chosen file does nothing either
    const QString name = bench->root.path() + "/plain.srt";
    writeFile(name, "1\n");
    QCOMPARE(bench->sent([&] {
        WhenModal answer(choose(name));
        window->openSubTitleFile();
    }),
             QByteArray());
    QVERIFY(!subTitleFlag);
}

void TestDelays::subtitleRemoved()
{
    QVERIFY(bench->playFilm());
    subTitleFlag = true;
    subDelay = 1.5;
    QCOMPARE(bench->sent([&] { window->delSubTitle(); }),
             QByteArray("sub_visibility 0\nsub_remove 0\n"));
    QCOMPARE(subDelay, 0.0);
    QVERIFY(subTitleFlag);
}

void TestDelays::subtitleScale()
{
    QVERIFY(bench->playFilm());
    QCOMPARE(bench->sent([&] { window->subScalePlus(); }), QByteArray("sub_scale 0.2\n"));
    QCOMPARE(window->subTitleScale, 3.2);
    QCOMPARE(bench->sent([&] { window->subScaleReduce(); }), QByteArray("sub_scale -0.2\n"));
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
    QVERIFY(bench->playFilm());
    QCOMPARE(bench->sent([&] {
        window->subPosUp();
        window->subPosDown();
    }),
             QByteArray("sub_pos -2\nsub_pos 2\n"));
    window->on_playBtn_clicked(); // paused: only down is sent
    QCOMPARE(bench->sent([&] {
        window->subPosUp();
        window->subPosDown();
    }),
             QByteArray("sub_pos 2\n"));
}

void TestDelays::delaysSurviveANewFile()
{
    QVERIFY(bench->playFilm());
    window->voiceDelayPlus();
    subTitleFlag = true;
    window->on_stopBtn_clicked();
    window->on_playBtn_clicked();
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(audioDelay, 0.1);
    QVERIFY(subTitleFlag);
    QVERIFY(bench->engine.waitForInput("get_time_pos\n"));
    QVERIFY(!bench->engine.input().contains("delay"));
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
    QVERIFY(bench->playFilm());
    QCOMPARE(bench->sent([&] {
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
