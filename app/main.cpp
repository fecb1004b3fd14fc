// The start-up sequence, nothing else.
#include "applicationlooks.h"
#include "common.h"
#include "desktop.h"
#include "dialogs.h"
#include "mainwindow.h"
#include "screenscale.h"
#include "startup.h"
#include "terminationnotifier.h"

#include <QApplication>

#include <clocale>

namespace {

void setUnlessChosen(const char *variable, const char *value)
{
    if (qEnvironmentVariableIsEmpty(variable))
        qputenv(variable, value);
}

// Before the application object, which reads all of them.
void choosePlatform()
{
    // The engine draws into an X11 window, which a Wayland session offers through XWayland only.
    setUnlessChosen("QT_QPA_PLATFORM", "xcb");
    // Nothing here is drawn with OpenGL; loading it would take half of the start-up time.
    setUnlessChosen("QT_XCB_GL_INTEGRATION", "none");
    // Where no session bus runs, the toolkit would have one started.
    if (Desktop::busAddress().isEmpty())
        setUnlessChosen("DBUS_SESSION_BUS_ADDRESS", "disabled:");
}

} // namespace

int main(int argc, char *argv[])
{
    choosePlatform();
    startPath = "/opt/apps/com.quelmark.player";
    // As the application object does it; what names mean hangs on it.
    setlocale(LC_ALL, "");
    // The probe needs no window, and the window's construction not yet the probe.
    const bool early = filesComeFirst(argc, argv);
    if (early)
        probeAhead(commandLineFiles(argc, argv));
    followScreenDensity();
    QApplication application(argc, argv);
    setUpApplicationLooks();
    storeCommandLineLocations(argc, argv);
    getDefaultConfig();
    if (!passFirstStart()) {
        showNotice(QStringLiteral("系统暂不支持硬解码!"));
        fallBackToSoftwareDecoding();
    }
    if (!early)
        probeAhead(commandLineFiles(argc, argv));
    readJsonConfig(defaultPlayPath);

    TerminationNotifier termination;
    MainWindow window(nullptr);
    QObject::connect(&termination, SIGNAL(requested()), &window, SLOT(close()));
    Desktop desktop(window);
    window.show();
    // A signal may already have been taken by a dialog of the construction; its exit would be
    // forgotten by exec().
    if (termination.isPending()) {
        window.close();
        return 0;
    }
    return application.exec();
}
