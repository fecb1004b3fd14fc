// Display names, percent decoding and hexadecimal digits.
#include "common.h"

#include <QtTest>

#include <climits>

class TestAddresses : public QObject {
    Q_OBJECT

private slots:
    void takesTheNameFromTheAddress_data();
    void takesTheNameFromTheAddress();
    void decodesNames_data();
    void decodesNames();
    void decodesVeryLongNames();
    void readsHexadecimal_data();
    void readsHexadecimal();
};

void TestAddresses::takesTheNameFromTheAddress_data()
{
    QTest::addColumn<QString>("addr");
    QTest::addColumn<QString>("name");
    QTest::newRow("path") << "/home/u/a.mp4"
                          << "a.mp4";
    QTest::newRow("stream") << "rtmp://192.0.2.10/live/cam"
                            << "cam";
    QTest::newRow("no slash") << "a.mp4"
                              << "a.mp4";
    QTest::newRow("slash at the end") << "/home/u/"
                                      << "";
    QTest::newRow("only a slash") << "/"
                                  << "";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("backslash") << "/a\\b.mp4"
                               << "a\\b.mp4";
    QTest::newRow("query") << "http://h/s.mp4?a=/b"
                           << "b";
}

void TestAddresses::takesTheNameFromTheAddress()
{
    QFETCH(QString, addr);
    QFETCH(QString, name);
    QCOMPARE(getFileNameFromAddr(addr), name);
}

void TestAddresses::decodesNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("decoded");
    QTest::newRow("plain") << "/home/u/a.mp4"
                           << "/home/u/a.mp4";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("blank") << "a%20b.mp4"
                           << "a b.mp4";
    QTest::newRow("bytes stay apart") << "%E4%B8%AD.mp4" << QString::fromLatin1("\xe4\xb8\xad.mp4");
    QTest::newRow("small digits") << "%e4" << QString(QChar(0xe4));
    QTest::newRow("adjacent") << "%41%42%43"
                              << "ABC";
    QTest::newRow("encoded percent") << "%2541"
                                     << "%41";
    QTest::newRow("no digits") << "a%zzb" << QString("a") + QChar(0) + "b";
    QTest::newRow("one digit then garbage") << "%4g"
                                            << "@";
    QTest::newRow("percent after percent") << "%%41" << QString(QChar(4)) + "1";
    QTest::newRow("one character left") << "a%4"
                                        << "a@";
    QTest::newRow("nothing left") << "a%" << QString("a") + QChar(0);
    QTest::newRow("wide characters behind") << QString::fromUtf8("中%中41文")
                                            << QString::fromUtf8("中\x04"
                                                                 "1文");
    QTest::newRow("highest") << "%FF" << QString(QChar(0xff));
}

void TestAddresses::decodesNames()
{
    QFETCH(QString, name);
    QFETCH(QString, decoded);
    QCOMPARE(checkInputFileName(name), decoded);
}

void TestAddresses::decodesVeryLongNames()
{
    constexpr int count = 500000;
    QCOMPARE(checkInputFileName(QString("%41").repeated(count)), QString("A").repeated(count));
}

void TestAddresses::readsHexadecimal_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("value");
    QTest::newRow("digits") << QByteArray("19") << 2 << 0x19;
    QTest::newRow("small") << QByteArray("af") << 2 << 0xaf;
    QTest::newRow("capital") << QByteArray("AF") << 2 << 0xaf;
    QTest::newRow("mixed") << QByteArray("0aB9") << 4 << 0x0ab9;
    QTest::newRow("just outside the digits") << QByteArray("/1:1@1G1`1g1") << 12 << 0x01010101;
    QTest::newRow("fewer asked for") << QByteArray("1234") << 3 << 0x123;
    QTest::newRow("none asked for") << QByteArray("1234") << 0 << 0;
    QTest::newRow("negative count") << QByteArray("1234") << -1 << 0;
    QTest::newRow("missing characters") << QByteArray("4") << 2 << 0x40;
    QTest::newRow("empty") << QByteArray("") << 2 << 0;
    QTest::newRow("seven") << QByteArray("7ffffff") << 7 << 0x7ffffff;
    QTest::newRow("eight") << QByteArray("7fffffff") << 8 << INT_MAX;
    QTest::newRow("overflow") << QByteArray("ffffffff") << 8 << -1;
    QTest::newRow("sixteen") << QByteArray("123456789abcdef0") << 16 << int(0x9abcdef0);
    QTest::newRow("more than fit") << QByteArray("000000000000001234") << 18 << 0x12;
    QTest::newRow("far more than fit") << QByteArray(100000, '0') << INT_MAX << 0;
}

void TestAddresses::readsHexadecimal()
{
    QFETCH(QByteArray, text);
    QFETCH(int, count);
    QFETCH(int, value);
    QCOMPARE(changeNum(text.data(), count), value);

    // Sixteen characters need no terminator behind them.
    QScopedArrayPointer<char> bare(new char[16]);
    std::fill_n(bare.data(), 16, '0');
    bare[15] = '7';
    QCOMPARE(changeNum(bare.data(), 16), 7);
}

QTEST_GUILESS_MAIN(TestAddresses)
#include "tst_addresses.moc"
