// What the tests of the history file share: sample entries and the file's bytes.
#pragma once

#include "common.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QVector>
#include <QtTest>

#include <algorithm>

inline const QString parsed = QStringLiteral("文件解析成功\n");

inline HistoryAddrList entryFor(const QString &addr, int lastTime = 0)
{
    HistoryAddrList entry;
    entry.addr = addr;
    entry.label = addr.mid(addr.lastIndexOf('/') + 1);
    entry.type = 1;
    entry.width = 1920;
    entry.height = 1080;
    entry.frame = 25;
    entry.codec_type = 1;
    entry.last_play_time = lastTime;
    return entry;
}

// The bytes of one entry as the file has them, written out by hand.
inline QByteArray elementText(const HistoryAddrList &entry)
{
    const QString frame = QString::number(double(entry.frame), 'g', 17);
    return QStringLiteral("        {\n"
                          "            \"addr\": \"%1\",\n"
                          "            \"codec_type\": %2,\n"
                          "            \"frame\": %3,\n"
                          "            \"height\": %4,\n"
                          "            \"label\": \"%5\",\n"
                          "            \"last_time\": %6,\n"
                          "            \"type\": %7,\n"
                          "            \"width\": %8\n"
                          "        }")
        .arg(entry.addr, QString::number(entry.codec_type), frame, QString::number(entry.height),
             entry.label, QString::number(entry.last_play_time), QString::number(entry.type),
             QString::number(entry.width))
        .toUtf8();
}

inline QByteArray documentText(const QVector<HistoryAddrList> &entries)
{
    QByteArray text = "{\n    \"settings\": [\n";
    for (int i = 0; i < entries.size(); ++i)
        text += elementText(entries.at(i)) + (i + 1 < entries.size() ? ",\n" : "\n");
    return text + "    ]\n}\n";
}

inline QVector<HistoryAddrList> numberedEntries(int count)
{
    QVector<HistoryAddrList> entries;
    for (int i = 0; i < count; ++i)
        entries << entryFor(QStringLiteral("/films/%1.mkv").arg(i), i);
    return entries;
}

inline void fillAddrList(int count)
{
    const QVector<HistoryAddrList> entries = numberedEntries(count);
    std::copy(entries.begin(), entries.end(), addrlist);
    addrNum = count;
}

inline QJsonObject goodObject(const QString &addr = QStringLiteral("/home/u/a.mp4"))
{
    return entryToJson(entryFor(addr, 42));
}

inline QByteArray documentWith(const QJsonArray &elements)
{
    return QJsonDocument(QJsonObject{{"settings", elements}}).toJson();
}

// Rows of valid documents that hold no entry.
inline void addOtherShapes()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("empty array") << QByteArray("[]");
    QTest::newRow("array") << QByteArray("[{\"settings\":[]}]");
    QTest::newRow("other member") << QByteArray("{\"Settings\":[]}");
    QTest::newRow("object inside") << QByteArray("{\"settings\":{}}");
    QTest::newRow("text inside") << QByteArray("{\"settings\":\"[]\"}");
    QTest::newRow("null inside") << QByteArray("{\"settings\":null}");
    QTest::newRow("empty list") << QByteArray("{\"settings\":[]}");
}

// Rows of what is no document at all.
inline void addBadSyntax()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("blank") << QByteArray(" \n\t ");
    QTest::newRow("text") << QByteArray("hello");
    QTest::newRow("number") << QByteArray("12");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("two documents") << QByteArray("{}{}");
    QTest::newRow("trailing comma") << QByteArray("{\"settings\":[],}");
    QTest::newRow("invalid UTF-8") << QByteArray("{\"settings\":[\"\xff\xfe\"]}");
    QTest::newRow("NUL bytes") << QByteArray(4096, '\0');
    QTest::newRow("open text") << QByteArray("{\"settings\":[\"");
    QTest::newRow("cut escape") << QByteArray("{\"settings\":[\"\\u12");
}
