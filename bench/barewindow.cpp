// The least a Qt program with a window can be: what the player's start and memory are measured by.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QMainWindow window;
    window.resize(945, 564);
    window.move(167, 118);
    window.show();
    return application.exec();
}
