// No name becomes a command: 10,000 random ones, of every byte a file name may have, through a real
// shell, through a reader that follows the engine's rules, and onto every label.
#include "common.h"
#include "enginecommands.h"
#include "longform.h"
#include "mediaprobe.h"
#include "settings.h"
#include "showvideoinfo.h"
#include "testsupport.h"
#include "testwindow.h"
#include "toolbench.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTextDocument>
#include <QtTest>

namespace {

constexpr int nameCount = 10000;
constexpr int longestName = 255; // bytes
constexpr int engineBuffer = 4096; // bytes

const char *const pieces[] = {
    "\"",        "\\",       "$",          "`",         "'",        ";",
    "&",         "|",        "<",          ">",         "(",        ")",
    "*",         "?",        "[",          "]",         "{",        "}",
    "~",         "#",        "!",          "%",         "=",        " ",
    "\t",        "\n",       "\r",         "-",         "--",       "\\\\",
    "\\\"",      "\\n",      "$(touch x)", "`touch x`", "${IFS}",   "\";touch x;\"",
    "$((1",      "\" \"",    "\\ ",        "\n#",       "\nquit\n", "\rquit\r",
    "run touch", "!!",       "中",         "片.mp4",    "\xc2\xa0", "\xe2\x80\xae",
    "\x01",      "\x1b[31m", "\x7f",       "<b>",       "<br>",     "<img src=x>",
    "&amp;",     "&x",       "a",          "B",         "7",        ".",
    "%s%n",      "%00",      "%22"};

// Every byte but "/" and NUL, and those that mean something more often.
QByteArray randomName(QRandomGenerator &random)
{
    const int length = random.bounded(1, longestName + 1);
    const bool anyByte = random.bounded(4) == 0;
    QByteArray name;
    while (name.size() < length) {
        const char byte = char(random.bounded(1, 256));
        if (!anyByte)
            name += pieces[random.bounded(int(sizeof pieces / sizeof pieces[0]))];
        else if (byte != '/')
            name += byte;
    }
    return name.left(length);
}

QList<QByteArray> randomNames()
{
    QRandomGenerator random(4711);
    QList<QByteArray> names;
    for (int i = 0; i < nameCount; ++i)
        names << randomName(random);
    return names;
}

// Runs the commands one after the other in a real shell whose ffprobe prints its arguments, each
// list ended by an empty line of zeros. Empty: the shell has refused its input.
QList<QByteArrayList> runInShell(const QString &shell, const QByteArray &commands)
{
    QTemporaryDir folder;
    const QByteArray probe = "ffprobe() { printf '%s\\0' $# \"$@\"; }\n";
    writeFile(folder.filePath("script"), probe + commands);
    QProcess process;
    process.setWorkingDirectory(folder.path());
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(shell, {"script"});
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return {};
    const QByteArrayList words = process.readAllStandardOutput().split('\0');
    QList<QByteArrayList> calls;
    for (int i = 0; i + 1 < words.size();) {
        const int count = words.at(i).toInt();
        calls << words.mid(i + 1, count);
        i += 1 + count;
    }
    // Nothing was made by a command of a name.
    if (QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size() != 1)
        return {};
    return calls;
}

// The engine's way with its input: lines end at a line feed or a carriage return, and a line that
// does not fit its buffer is lost.
QByteArrayList engineLines(QByteArray input)
{
    input.replace('\r', '\n');
    QByteArrayList lines;
    for (const QByteArray &line : input.split('\n')) {
        if (!line.isEmpty())
            lines << (line.size() < engineBuffer ? line : QByteArray("TOO LONG"));
    }
    return lines;
}

// And with the text argument of a command: blanks and tabs before it are skipped, "#" begins a
// comment, a quote lasts to the next one, otherwise a blank ends it; a backslash takes the meaning
// from what follows.
QByteArray engineTextArgument(const QByteArray &line)
{
    int at = 0;
    while (at < line.size() && line[at] != ' ' && line[at] != '\t')
        ++at;
    while (at < line.size() && (line[at] == ' ' || line[at] == '\t'))
        ++at;
    if (at == line.size() || line[at] == '#')
        return QByteArray();
    char end = ' ';
    if (line[at] == '"' || line[at] == '\'')
        end = line[at++];
    const int start = at;
    while (at < line.size() && (line[at] != end || (at > start && line[at - 1] == '\\')))
        ++at;
    if (at == line.size() && end != ' ')
        return QByteArray();
    QByteArray text = line.mid(start, at - start);
    for (int i = text.indexOf('\\'); i >= 0; i = text.indexOf('\\', i + 1))
        text.remove(i, 1);
    return text;
}

const char *const hostileTexts[] = {
    "<b>bold.mp4",          "<img src=x.png>.mp4", "<a href=x>link", "&amp;&lt;b&gt;.mp4",
    "&File &Name.mp4",      "<!-- comment -->",    "<h1>big.mp4",    "中文<br>片.mp4",
    "<table><tr><td>x.mp4", "%1 %s %n.mp4",
};

} // namespace

class TestInjection : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void probeCommandIsOneWord_data();
    void probeCommandIsOneWord();
    void probeItself();
    void subtitleCommandIsOneLine();
    void readerFollowsTheEngine();
    void labelsTakeAllNames();
    void labelsPaintLiterally_data();
    void labelsPaintLiterally();
    void listPaintsLiterally();

private:
    QList<QByteArray> names;
};

void TestInjection::initTestCase() { names = randomNames(); }

void TestInjection::init() { resetSharedState(); }

void TestInjection::probeCommandIsOneWord_data()
{
    QTest::addColumn<QString>("shell");
    for (const char *shell : {"sh", "dash", "bash"}) {
        if (!QStandardPaths::findExecutable(shell).isEmpty())
            QTest::newRow(shell) << QString(shell);
    }
}

void TestInjection::probeCommandIsOneWord()
{
    QFETCH(QString, shell);
    QByteArray commands;
    QList<QByteArray> expected;
    for (const QByteArray &name : names) {
        const QString file = QFile::decodeName(name);
        const QByteArray command = probeCommand(file).toLocal8Bit();
        QVERIFY(!command.isEmpty());
        commands += command + '\n';
        // What is no text arrives with its replacement characters and names no file.
        expected << file.toLocal8Bit();
    }
    const QList<QByteArrayList> calls = runInShell(shell, commands);
    QCOMPARE(calls.size(), expected.size());
    int verbatim = 0;
    for (int i = 0; i < expected.size(); ++i) {
        QCOMPARE(calls.at(i), QByteArrayList({"-of", "json", "-show_streams", expected.at(i)}));
        verbatim += expected.at(i) == names.at(i);
    }
    QVERIFY2(verbatim > nameCount / 2, qPrintable(QString::number(verbatim)));
}

// The same by the way that a real file takes: a shell and a tool for each.
void TestInjection::probeItself()
{
    LogCapture log;
    StandInTools tools;
    QTemporaryDir folder;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    const int count = rounds(100, nameCount);
    QList<QByteArray> expected;
    for (int i = 0; i < count; ++i) {
        const QString file = QFile::decodeName(names.at(i));
        expected << file.toLocal8Bit();
        QVERIFY(probeMedia(file));
    }
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(QDir(folder.path()).isEmpty());
    const QList<QByteArrayList> calls = tools.probeCalls();
    QCOMPARE(calls.size(), count);
    for (int i = 0; i < count; ++i)
        QCOMPARE(calls.at(i), QByteArrayList({"-of", "json", "-show_streams", expected.at(i)}));
    QVERIFY(!probeMedia(QStringLiteral("a%1b").arg(QChar(0))));
    QCOMPARE(tools.probeCalls().size(), count);
}

// A file dialog gives whole paths, so a name never begins the argument.
void TestInjection::subtitleCommandIsOneLine()
{
    int refused = 0;
    for (const QByteArray &name : names) {
        const QString file = QFile::decodeName("/home/films and more/" + name);
        const QByteArray bytes = QFile::encodeName(file);
        const QByteArray command = enginecommands::loadSubtitle(file);
        if (command.isEmpty()) {
            QVERIFY(bytes.contains('\n') || bytes.contains('\r'));
            ++refused;
            continue;
        }
        const QByteArrayList lines = engineLines(command + "sub_select 1\n");
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(1), QByteArray("sub_select 1"));
        QVERIFY(lines.at(0).startsWith("sub_load "));
        QCOMPARE(engineTextArgument(lines.at(0)), bytes);
    }
    QVERIFY(refused > 0 && refused < nameCount - 1000);

    // Deep folders: whole or refused, never cut.
    for (int length : {3900, 3985, 3986, 3989, 3990, 3991, 4000, 4080, 4096, 5000}) {
        const QByteArray bytes = '/' + QByteArray(length, 'x');
        const QByteArray command = enginecommands::loadSubtitle(QFile::decodeName(bytes));
        if (!command.isEmpty())
            QCOMPARE(engineTextArgument(engineLines(command).at(0)), bytes);
        QCOMPARE(command.isEmpty(), length > 3989);
    }
}

// The reader of this test is as strict as the engine: what is not escaped it cuts.
void TestInjection::readerFollowsTheEngine()
{
    QCOMPARE(engineTextArgument("sub_load /a b"), QByteArray("/a"));
    QCOMPARE(engineTextArgument("sub_load /a\\ b c"), QByteArray("/a b"));
    QCOMPARE(engineTextArgument("sub_load /a\\b"), QByteArray("/ab"));
    QCOMPARE(engineTextArgument("sub_load /a\\\\b"), QByteArray("/a\\b"));
    QCOMPARE(engineTextArgument("sub_load \"/a b\" c"), QByteArray("/a b"));
    QCOMPARE(engineTextArgument("sub_load 'a b"), QByteArray());
    QCOMPARE(engineTextArgument("sub_load #a"), QByteArray());
    QCOMPARE(engineTextArgument("sub_load /a#\"b'"), QByteArray("/a#\"b'"));
    QCOMPARE(engineLines("a\rb\nc\n").size(), 3);
    QCOMPARE(engineLines(QByteArray(engineBuffer, 'x')), QByteArrayList{"TOO LONG"});
}

// Every label that a name can reach, of all windows.
static QList<QLabel *> nameLabels(TestWindow &window, showVideoInfo &information)
{
    QList<QLabel *> labels{window.fsvc->titleLabel, window.ui->stateLabel};
    for (QLabel *label : window.m_titleBar->findChildren<QLabel *>()) {
        if (label->pixmap(Qt::ReturnByValue).isNull())
            labels << label;
    }
    for (const char *name :
         {"fileName", "location", "vcodecType", "acodecType", "duration", "resolutionRatio"}) {
        if (auto *label = information.findChild<QLabel *>(name))
            labels << label;
    }
    return labels;
}

static void showName(TestWindow &window, showVideoInfo &information, const QString &name)
{
    addrlist[0].addr = "/films/" + name;
    playinglist.addrIndex = 0;
    ::videoInfo.vcodecType = ::videoInfo.acodecType = ::videoInfo.showDuration = name;
    window.m_titleBar->setWindowTitle(name);
    window.fsvc->titleLabel->setText(name);
    window.showStateLabel(name, 2000);
    QShowEvent event;
    QCoreApplication::sendEvent(&information, &event);
}

void TestInjection::labelsTakeAllNames()
{
    LogCapture log;
    InstallRoot root;
    screenShotPath = root.path() + '/';
    TestWindow window(nullptr);
    showVideoInfo information(&window);
    const QList<QLabel *> labels = nameLabels(window, information);
    QCOMPARE(labels.size(), 9);
    const int step = rounds(10, 1);
    for (int i = 0; i < names.size(); i += step) {
        const QString name = QFile::decodeName(names.at(i));
        showName(window, information, name);
        int shown = 0;
        for (const QLabel *label : labels) {
            QCOMPARE(label->textFormat(), Qt::PlainText);
            shown += label->text() == name || label->text() == "/films/" + name;
        }
        QCOMPARE(shown, labels.size() - 1); // the resolution is made of numbers
    }
}

void TestInjection::labelsPaintLiterally_data()
{
    QTest::addColumn<QString>("text");
    for (const char *text : hostileTexts)
        QTest::newRow(text) << QString::fromUtf8(text);
}

// Painted as plain text is, and not as the markup would be.
void TestInjection::labelsPaintLiterally()
{
    QFETCH(QString, text);
    LogCapture log;
    InstallRoot root;
    screenShotPath = root.path() + '/';
    TestWindow window(nullptr);
    showVideoInfo information(&window);
    showName(window, information, text);
    int painted = 0;
    for (QLabel *label : nameLabels(window, information)) {
        if (!label->text().endsWith(text))
            continue;
        ++painted;
        label->setFixedSize(600, 60);
        const QImage picture = label->grab().toImage();
        QVERIFY(label->buddy() == nullptr); // or "&" would mark a shortcut
        label->setTextFormat(Qt::PlainText);
        QCOMPARE(label->grab().toImage(), picture);
        label->setTextFormat(Qt::RichText);
        if (Qt::mightBeRichText(text))
            QVERIFY(label->grab().toImage() != picture);
    }
    QCOMPARE(painted, 8);
}

// The rows of the list, too: the delegate knows no markup.
void TestInjection::listPaintsLiterally()
{
    LogCapture log;
    InstallRoot root;
    screenShotPath = root.path() + '/';
    TestWindow window(nullptr);
    for (const char *text : hostileTexts) {
        HistoryAddrList entry;
        entry.label = QString::fromUtf8(text);
        QListWidgetItem *item = ListWidget::makeItem(entry, QIcon(":/image/icon/video1.png"));
        QCOMPARE(item->text(), entry.label);
        window.listWidget->clear();
        window.listWidget->addItem(item);
        window.listWidget->setFixedSize(600, 60);
        const QRect row = window.listWidget->visualItemRect(item);
        const int width = QFontMetrics(item->font()).horizontalAdvance(entry.label);
        QVERIFY2(window.listWidget->sizeHintForColumn(0) >= width, text);
        QVERIFY(row.height() < 60);
    }
    HistoryAddrList entry;
    entry.label = QString(4096, QChar('x'));
    const QScopedPointer<QListWidgetItem> longest(ListWidget::makeItem(entry, QIcon()));
    QCOMPARE(longest->text(), entry.label);
    entry.label += 'y'; // no file name is so long; millions of characters would take minutes
    const QScopedPointer<QListWidgetItem> longer(ListWidget::makeItem(entry, QIcon()));
    QCOMPARE(longer->text(), entry.label.left(4096));
    QCOMPARE(longer->toolTip(), entry.label.left(4096));
}

QTEST_MAIN(TestInjection)
#include "tst_injection.moc"
