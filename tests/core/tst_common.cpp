// The shared state as the program finds it before main() runs.
#include "common.h"

#include <QtTest>

#include <algorithm>
#include <type_traits>

class TestCommon : public QObject {
    Q_OBJECT

private slots:
    void startsWithTheseValues();
    void startsWithEmptyArrays();
    void startsWithNoPlayback();
    void startsWithNoMedium();
    void recordsHaveZeroDefaults();
};

void TestCommon::startsWithTheseValues()
{
    QCOMPARE(startPath, QString());
    QCOMPARE(addrNum, 0);
    QCOMPARE(playingState, false);
    QCOMPARE(decodeFlag, 0);
    QCOMPARE(decodeSoftware, 0);
    QCOMPARE(defaultPlayPath, QString());
    QCOMPARE(defaultVolum, 30);
    QCOMPARE(muteFlag, false);
    QCOMPARE(audioDelay, 0.0);
    QCOMPARE(subDelay, 0.0);
    QCOMPARE(delayFlag, 0);
    QCOMPARE(subTitleFlag, false);
    QCOMPARE(lastTimePlayFlag, false);
    QCOMPARE(emptyListCheckFlag, false);
    QCOMPARE(firstStartFlag, 0);
    QCOMPARE(playMode, 0);
    QCOMPARE(screenShotPath, QString());
    QCOMPARE(fullScreenFlag, false);
    QCOMPARE(maxFlag, false);
}

void TestCommon::startsWithEmptyArrays()
{
    QCOMPARE(int(std::extent<decltype(addrlist)>::value), 999);
    QCOMPARE(int(std::extent<decltype(rBtnOpenFile)>::value), 99);
    for (const QString &location : rBtnOpenFile)
        QCOMPARE(location, QString());
    for (const HistoryAddrList &entry : addrlist) {
        QCOMPARE(entry.addr, QString());
        QCOMPARE(entry.label, QString());
        QCOMPARE(entry.state, 0);
        QCOMPARE(entry.last_play_time, 0);
    }
}

void TestCommon::startsWithNoPlayback()
{
    QCOMPARE(playinglist.addrIndex, 0);
    QCOMPARE(playinglist.width, 0);
    QCOMPARE(playinglist.height, 0);
    QCOMPARE(playinglist.widID, quint64(0));
    QCOMPARE(playinglist.curPage, 0);
    QVERIFY(playinglist.process_mplayer == nullptr);
    QCOMPARE(playinglist.newPlayState, 0);
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.lastPlayIndex, 0);
}

void TestCommon::startsWithNoMedium()
{
    QCOMPARE(::videoInfo.frame, 0.0f);
    QCOMPARE(::videoInfo.type, 0);
    QCOMPARE(::videoInfo.width, 0);
    QCOMPARE(::videoInfo.height, 0);
    QCOMPARE(::videoInfo.vcodecType, QString());
    QCOMPARE(::videoInfo.duration, 0.0);
    QCOMPARE(::videoInfo.showDuration, QString());
    QCOMPARE(::videoInfo.bitRate, 0);
    QCOMPARE(::videoInfo.acodecType, QString());
    QCOMPARE(::videoInfo.acodecRate, 0.0f);
    QCOMPARE(::videoInfo.asampleRate, 0);
    QCOMPARE(::videoInfo.channels, 0);
}

void TestCommon::recordsHaveZeroDefaults()
{
    // On memory that is anything but zero, so that a forgotten default shows.
    alignas(HistoryAddrList) unsigned char entryMemory[sizeof(HistoryAddrList)];
    std::fill(std::begin(entryMemory), std::end(entryMemory), 0xa5);
    auto *entry = new (entryMemory) HistoryAddrList;
    QCOMPARE(entry->type, 0);
    QCOMPARE(entry->width, 0);
    QCOMPARE(entry->height, 0);
    QCOMPARE(entry->frame, 0.0f);
    QCOMPARE(entry->pid_mplayer, 0);
    QCOMPARE(entry->state, 0);
    QCOMPARE(entry->codec_type, 0);
    QCOMPARE(entry->last_play_time, 0);
    QVERIFY(entry->label.isEmpty() && entry->addr.isEmpty() && entry->subTitleAddr.isEmpty());
    entry->~HistoryAddrList();

    alignas(struct videoInfo) unsigned char infoMemory[sizeof(struct videoInfo)];
    std::fill(std::begin(infoMemory), std::end(infoMemory), 0xa5);
    auto *info = new (infoMemory) struct videoInfo;
    QCOMPARE(info->frame, 0.0f);
    QCOMPARE(info->type + info->width + info->height + info->bitRate, 0);
    QCOMPARE(info->duration, 0.0);
    QCOMPARE(info->acodecRate, 0.0f);
    QCOMPARE(info->asampleRate, 0);
    QCOMPARE(info->channels, 0);
    using Info = struct videoInfo;
    info->~Info();

    alignas(PlayingList) unsigned char listMemory[sizeof(PlayingList)];
    std::fill(std::begin(listMemory), std::end(listMemory), 0xa5);
    auto *list = new (listMemory) PlayingList;
    QCOMPARE(list->addrIndex, 0);
    QCOMPARE(list->width, 0);
    QCOMPARE(list->height, 0);
    QCOMPARE(list->widID, quint64(0));
    QCOMPARE(list->curPage, 0);
    QVERIFY(list->process_mplayer == nullptr);
    QCOMPARE(list->newPlayState, 0);
    QCOMPARE(list->state, 0);
    QCOMPARE(list->lastPlayIndex, 0);
}

QTEST_GUILESS_MAIN(TestCommon)
#include "tst_common.moc"
