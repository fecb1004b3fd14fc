#include "common.h"
#include "dialogforms.h"
#include "settings.h"
#include "testsupport.h"
#include "whenopen.h"

#include <QFileDialog>
#include <QSignalSpy>
#include <QtTest>

namespace {
// The order in which a dialog emits its signals, by name.
class SignalOrder : public QObject {
public:
    explicit SignalOrder(Settings *dialog)
    {
        connect(dialog, &Settings::setDecodeFlag, this, [this] { names << "decode"; });
        connect(dialog, &Settings::setLastTimeFlag, this, [this] { names << "lastTime"; });
        connect(dialog, &Settings::setEmptyListExitFlag, this, [this] { names << "emptyList"; });
    }

    QStringList names;
};

// Answers the folder chooser with path (an empty path cancels it). True when it came up as it
// should.
bool answerFolderChooser(Settings &dialog, const QString &path)
{
    bool asExpected = false;
    WhenModal open([&](QWidget *widget) {
        auto *chooser = qobject_cast<QFileDialog *>(widget);
        QVERIFY(chooser);
        QCOMPARE(chooser->parentWidget(), &dialog);
        QCOMPARE(chooser->windowTitle(), QString("Open Directory"));
        QCOMPARE(chooser->directory().absolutePath(), QString("/home"));
        QCOMPARE(chooser->options(), QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
        asExpected = true;
        if (path.isEmpty()) {
            chooser->reject();
            return;
        }
        chooser->findChild<QLineEdit *>("fileNameEdit")->setText(path);
        QVERIFY(QMetaObject::invokeMethod(chooser, "accept"));
    });
    dialog.ui->selectSnapPathBtn->click();
    return open.happened() && asExpected;
}
} // namespace

class TestSettingsConfirm : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void confirmWithoutChanges();
    void confirmStoresTheDecodeMode_data();
    void confirmStoresTheDecodeMode();
    void checkBoxComparison_data();
    void checkBoxComparison();
    void flagsAreSetBeforeTheirSignals();
    void playModeIsStored();
    void playModeOutOfRange();
    void chosenFolderIsStored_data();
    void chosenFolderIsStored();
    void cancelledChooserChangesNothing();
    void typedFolderIsIgnored();
    void cancelKeepsTheChosenFolderPending();
    void linksAreNotResolved();
    void everythingAtOnce();
    void cancelWritesNothing();

private:
    QByteArray ini() const { return readFile(root->configFile()); }
    QScopedPointer<InstallRoot> root;
};

void TestSettingsConfirm::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestSettingsConfirm::init()
{
    root.reset();
    resetSharedState();
    root.reset(new InstallRoot);
}

void TestSettingsConfirm::confirmWithoutChanges()
{
    Settings dialog;
    SignalOrder order(&dialog);
    dialog.show();
    dialog.ui->confirmBtn->click();
    QCOMPARE(order.names, QStringList("decode"));
    QVERIFY(dialog.isHidden());
    QVERIFY(!QFile::exists(root->configFile())); // nothing stored by the dialog itself
    QCOMPARE(decodeFlag, 0);
    QCOMPARE(playMode, 0);
    QCOMPARE(screenShotPath, QString());
}

void TestSettingsConfirm::confirmStoresTheDecodeMode_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("after");
    QTest::newRow("0 to 1") << 0 << "softMultiDecRaBtn" << 1;
    QTest::newRow("0 to 2") << 0 << "hardDecRaBtn" << 2;
    QTest::newRow("2 to 0") << 2 << "softDecRaBtn" << 0;
    QTest::newRow("2 to 1") << 2 << "softMultiDecRaBtn" << 1;
    QTest::newRow("2 stays") << 2 << "hardDecRaBtn" << 2;
    QTest::newRow("7 becomes 1") << 7 << "softMultiDecRaBtn" << 1;
}

void TestSettingsConfirm::confirmStoresTheDecodeMode()
{
    QFETCH(int, before);
    QFETCH(QString, button);
    QFETCH(int, after);
    decodeFlag = before;
    Settings dialog;
    int atSignal = -1;
    bool visible = false;
    connect(&dialog, &Settings::setDecodeFlag, &dialog, [&] {
        atSignal = decodeFlag;
        visible = dialog.isVisible();
    });
    QSignalSpy decode(&dialog, SIGNAL(setDecodeFlag()));
    dialog.show();
    QTest::mouseClick(dialog.findChild<QRadioButton *>(button), Qt::LeftButton, {}, QPoint(8, 10));
    QCOMPARE(decodeFlag, before); // not before the confirmation
    dialog.ui->confirmBtn->click();
    QCOMPARE(decode.size(), 1);
    QCOMPARE(atSignal, after);
    QVERIFY(visible);
    QCOMPARE(decodeFlag, after);
}

void TestSettingsConfirm::checkBoxComparison_data()
{
    QTest::addColumn<bool>("flag");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("emitted");
    QTest::newRow("clear, unchecked") << false << false << false;
    QTest::newRow("clear, checked") << false << true << true;
    QTest::newRow("set, unchecked") << true << false << true;
    QTest::newRow("set, checked: counts as changed") << true << true << true;
}

void TestSettingsConfirm::checkBoxComparison()
{
    QFETCH(bool, flag);
    QFETCH(bool, checked);
    QFETCH(bool, emitted);
    {
        lastTimePlayFlag = flag;
        Settings dialog;
        SignalOrder order(&dialog);
        dialog.show();
        dialog.ui->lastPlayCheckBox->setChecked(checked);
        QCOMPARE(lastTimePlayFlag, flag);
        dialog.ui->confirmBtn->click();
        QCOMPARE(order.names,
                 emitted ? QStringList({"decode", "lastTime"}) : QStringList("decode"));
        QCOMPARE(lastTimePlayFlag, checked);
        QVERIFY(!emptyListCheckFlag);
        lastTimePlayFlag = false;
    }
    {
        emptyListCheckFlag = flag;
        Settings dialog;
        SignalOrder order(&dialog);
        dialog.show();
        dialog.ui->emptyListCheckBox->setChecked(checked);
        dialog.ui->confirmBtn->click();
        QCOMPARE(order.names,
                 emitted ? QStringList({"decode", "emptyList"}) : QStringList("decode"));
        QCOMPARE(emptyListCheckFlag, checked);
        QVERIFY(!lastTimePlayFlag);
    }
    {
        // A half-checked box (1) equals a set flag and differs from a cleared one.
        lastTimePlayFlag = flag;
        Settings dialog;
        SignalOrder order(&dialog);
        dialog.ui->lastPlayCheckBox->setTristate();
        dialog.ui->lastPlayCheckBox->setCheckState(Qt::PartiallyChecked);
        dialog.on_confirmBtn_clicked();
        QCOMPARE(order.names.contains("lastTime"), !flag);
        QVERIFY(lastTimePlayFlag);
    }
}

void TestSettingsConfirm::flagsAreSetBeforeTheirSignals()
{
    Settings dialog;
    bool lastTime = false;
    bool emptyList = false;
    connect(&dialog, &Settings::setLastTimeFlag, &dialog, [&] { lastTime = lastTimePlayFlag; });
    connect(&dialog, &Settings::setEmptyListExitFlag, &dialog,
            [&] { emptyList = emptyListCheckFlag; });
    dialog.show();
    dialog.ui->lastPlayCheckBox->setChecked(true);
    dialog.ui->emptyListCheckBox->setChecked(true);
    dialog.ui->confirmBtn->click();
    QVERIFY(lastTime);
    QVERIFY(emptyList);
}

void TestSettingsConfirm::playModeIsStored()
{
    Settings dialog;
    dialog.show();
    dialog.ui->playModeComBox->setCurrentIndex(4);
    QCOMPARE(playMode, 0);
    dialog.ui->confirmBtn->click();
    QCOMPARE(playMode, 4);
    QCOMPARE(ini(), QByteArray("[DEFAULT]\nplay_mode=4\n"));

    QVERIFY(QFile::remove(root->configFile()));
    dialog.show();
    dialog.ui->confirmBtn->click(); // unchanged: not written again
    QVERIFY(!QFile::exists(root->configFile()));
}

void TestSettingsConfirm::playModeOutOfRange()
{
    playMode = 9;
    Settings dialog;
    dialog.show();
    dialog.ui->confirmBtn->click();
    QCOMPARE(playMode, -1);
    QCOMPARE(ini(), QByteArray("[DEFAULT]\nplay_mode=-1\n"));
}

void TestSettingsConfirm::chosenFolderIsStored_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << "shots";
    QTest::newRow("Chinese, blank and comma") << "截图 a,b";
}

void TestSettingsConfirm::chosenFolderIsStored()
{
    QFETCH(QString, name);
    const QString folder = root->path() + "/" + name;
    QVERIFY(QDir().mkpath(folder));
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, folder));
    QVERIFY(dialog.selectSnapPathFlag);
    QCOMPARE(dialog.ui->snapPathEdit->text(), folder + "/");
    QCOMPARE(dialog.ui->snapPathEdit->toolTip(), folder + "/");
    QCOMPARE(screenShotPath, QString("/old/"));

    QString pathAtDecodeSignal;
    connect(&dialog, &Settings::setDecodeFlag, &dialog,
            [&] { pathAtDecodeSignal = screenShotPath; });
    dialog.ui->confirmBtn->click();
    QCOMPARE(pathAtDecodeSignal, QString("/old/")); // the folder is taken over after that signal
    QVERIFY(!dialog.selectSnapPathFlag);
    QCOMPARE(screenShotPath, folder + "/");
    QVERIFY(ini().startsWith("[DEFAULT]\nsnap_path="));
    getDefaultConfig();
    QCOMPARE(screenShotPath, folder + "/");
}

void TestSettingsConfirm::cancelledChooserChangesNothing()
{
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, QString()));
    QVERIFY(!dialog.selectSnapPathFlag);
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("/old/"));
    dialog.ui->confirmBtn->click();
    QVERIFY(!QFile::exists(root->configFile()));
    QCOMPARE(screenShotPath, QString("/old/"));
}

void TestSettingsConfirm::typedFolderIsIgnored()
{
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    dialog.ui->snapPathEdit->setText("/typed/");
    dialog.ui->confirmBtn->click();
    QVERIFY(!QFile::exists(root->configFile()));
    QCOMPARE(screenShotPath, QString("/old/"));
}

void TestSettingsConfirm::cancelKeepsTheChosenFolderPending()
{
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, "/"));
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("//")); // the root folder
    dialog.ui->cancelBtn->click();
    QVERIFY(dialog.selectSnapPathFlag);
    QVERIFY(!QFile::exists(root->configFile()));
    QCOMPARE(screenShotPath, QString("/old/"));

    // The next confirmation stores what the line edit holds then, even when it was typed.
    dialog.show();
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("/old/"));
    dialog.ui->snapPathEdit->setText("/typed");
    dialog.ui->confirmBtn->click();
    QVERIFY(!dialog.selectSnapPathFlag);
    QCOMPARE(screenShotPath, QString("/typed"));
    QCOMPARE(ini(), QByteArray("[DEFAULT]\nsnap_path=/typed\n"));
}

void TestSettingsConfirm::linksAreNotResolved()
{
    QVERIFY(QDir().mkpath(root->path() + "/real"));
    QVERIFY(QFile::link(root->path() + "/real", root->path() + "/link"));
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, root->path() + "/link"));
    QCOMPARE(dialog.ui->snapPathEdit->text(), root->path() + "/link/");
}

void TestSettingsConfirm::everythingAtOnce()
{
    Settings dialog;
    SignalOrder order(&dialog);
    dialog.show();
    dialog.ui->hardDecRaBtn->click();
    dialog.ui->lastPlayCheckBox->click();
    dialog.ui->emptyListCheckBox->click();
    QVERIFY(answerFolderChooser(dialog, root->path()));
    dialog.ui->playModeComBox->setCurrentIndex(2);
    dialog.ui->confirmBtn->click();
    QCOMPARE(order.names, QStringList({"decode", "lastTime", "emptyList"}));
    QCOMPARE(decodeFlag, 2);
    QVERIFY(lastTimePlayFlag);
    QVERIFY(emptyListCheckFlag);
    QCOMPARE(playMode, 2);
    QCOMPARE(screenShotPath, root->path() + "/");
    // The decode mode and the two options are stored by those who receive the signals.
    QCOMPARE(ini(), "[DEFAULT]\nplay_mode=2\nsnap_path=" + root->path().toUtf8() + "/\n");
    QVERIFY(dialog.isHidden());
}

void TestSettingsConfirm::cancelWritesNothing()
{
    Settings dialog;
    SignalOrder order(&dialog);
    dialog.show();
    dialog.ui->hardDecRaBtn->click();
    dialog.ui->lastPlayCheckBox->click();
    dialog.ui->playModeComBox->setCurrentIndex(2);
    dialog.ui->snapPathEdit->setText("/typed/");
    dialog.ui->cancelBtn->click();
    QVERIFY(dialog.isHidden());
    QCOMPARE(order.names, QStringList());
    QCOMPARE(decodeFlag, 0);
    QVERIFY(!lastTimePlayFlag);
    QCOMPARE(playMode, 0);
    QVERIFY(!QFile::exists(root->configFile()));
    // Kept until the next showing, except for the check boxes.
    QVERIFY(dialog.ui->hardDecRaBtn->isChecked());
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("/typed/"));
    dialog.show();
    QVERIFY(dialog.ui->softDecRaBtn->isChecked());
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString());
    QCOMPARE(dialog.ui->playModeComBox->currentIndex(), 0);
    QVERIFY(dialog.ui->lastPlayCheckBox->isChecked());
}

QTEST_MAIN(TestSettingsConfirm)
#include "tst_settings_confirm.moc"
