// What ties the main window to the desktop around it: the session bus, if there is one.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

class MainWindow;
class MprisObject;
class ScreenKeeper;

// The bus is connected to after the window's first painting and without being waited for. Where
// there is none, nothing is said and nothing else is different; none is started.
class Desktop : public QObject {
    Q_OBJECT

public:
    explicit Desktop(MainWindow &window);
    ~Desktop() override;

    // The address of the bus that runs in this session; empty for none.
    static QString busAddress();

    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void recvChanged();
    void recvSought();

private:
    void connectToBus();
    void begin();
    void tell();

    MainWindow &window;
    const QString connection; // its name
    QTimer settling; // several changes at once are told as one
    bool seekToTell = false;
    std::unique_ptr<ScreenKeeper> screen;
    std::unique_ptr<MprisObject> mpris;
};
