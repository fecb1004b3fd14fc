// The start-up sequence, nothing else.
#include "common.h"
#include "dialogs.h"
#include "mainwindow.h"
#include "startup.h"
#include "terminationnotifier.h"

#include <QApplication>

namespace {

// The engine draws into an X11 window, which a Wayland session offers through XWayland only.
void preferX11()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}

} // namespace

int main(int argc, char *argv[])
{
    preferX11();
    QApplication application(argc, argv);
    startPath = "/opt/apps/com.quelmark.player";
    storeCommandLineLocations(argc, argv);
    getDefaultConfig();
    if (!passFirstStart()) {
        showNotice(QStringLiteral("系统暂不支持硬解码!"));
        fallBackToSoftwareDecoding();
    }
    readJsonConfig(defaultPlayPath);

    TerminationNotifier termination;
    MainWindow window(nullptr);
    QObject::connect(&termination, SIGNAL(requested()), &window, SLOT(close()));
    window.show();
    // A signal may already have been taken by a dialog of the construction; its exit would be
    // forgotten by exec().
    if (termination.isPending()) {
        window.close();
        return 0;
    }
    return application.exec();
}
