// The title bar of the frameless main window. It owns the settings dialog and relays its changes.
#pragma once

#include <QPoint>
#include <QRect>
#include <QWidget>

class QLabel;
class QPushButton;
class Settings;

class TitleBar : public QWidget {
    Q_OBJECT

public:
    explicit TitleBar(QWidget *parent = nullptr);
    ~TitleBar() override;

    // Sets the shown title: centred, white.
    void setWindowTitle(const QString &title);
    // Loads the picture at path into the icon label.
    void SetTitleBarIcon(const QString &path);
    // The window no longer follows the mouse, as when the left button is released.
    void endDrag() { m_leftButtonPressed = false; }
    // Moves the window as its move() does, but Qt goes on knowing that it is maximised or in full
    // screen where the window manager keeps it so.
    void moveWindow(const QPoint &position);
    // Keeps the buttons inside the window where the bar is wider than that. For the window,
    // whenever its width has changed.
    void keepButtonsInside();

    QLabel *m_iconLabel = nullptr;
    QLabel *m_titleLabel = nullptr;
    QPushButton *m_memuButton = nullptr;
    QPushButton *m_minimizeButton = nullptr;
    QPushButton *m_maximizeButton = nullptr;
    QPushButton *m_closeButton = nullptr;
    QPushButton *m_thumbtackBtn = nullptr;
    QPoint m_start;
    QPoint m_end; // unused
    int screenWidth = 0; // pixels
    int screenHeight = 0; // pixels
    bool m_leftButtonPressed = false;
    Settings *setDialog = nullptr;

    // For a window that installs the bar as its filter: follows its title, icon and state.
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void decodeSetSignal(); // the decode mode was confirmed in the settings
    void settingsClosed();
    void lastTimeFlagSignal(); // never emitted
    void setWindowAlwaysOnTopSignal(bool onTop);

public slots:
    void onClicked(); // minimises, maximises, restores or closes, as the sender says
    void setWindowAlwaysOnTop(); // pins, or takes the pin out
    void settingsFunc(); // opens the settings
    void sendSetDecodeFlagSignal();
    void recvSetLastTimeFlagSignal(); // stores lastTimePlayFlag
    void recvSetEmptyListExitFlagSigbal(); // stores emptyListCheckFlag

protected:
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void setUpLabels();
    void setUpButtons();
    void setUpLayout();
    void connectAll();
    void updateMaximize();
    void restore(QWidget *top);
    QPushButton *addButton(const QString &objectName, const QSize &size, const QString &icon,
                           const QString &toolTip);

    QRect placeToRestore; // of a maximised window that was moved; else empty
};
