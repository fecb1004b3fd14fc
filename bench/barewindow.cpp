// The least a Qt program with a window can be: what the player's start and memory are measured by.
// With an argument without OpenGL, as the player is.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char *argv[])
{
    if (argc > 1)
        qputenv("QT_XCB_GL_INTEGRATION", "none");
    QApplication application(argc, argv);
    QMainWindow window;
    window.resize(945, 564);
    window.move(167, 118);
    window.show();
    return application.exec();
}
