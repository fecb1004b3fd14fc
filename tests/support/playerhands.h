// Uses a running player as a person does: knows where the controls of its main window are, with the
// list shown, and drives its file dialogs.
//
//     PlayerHands hands(player);
//     QVERIFY(hands.takeHold());             // the window is there and has the focus
//     hands.click(PlayerHands::Stop);
//     QVERIFY(hands.chooseFile("ctrl+o", clip));
#pragma once

#include "installedplayer.h"
#include "screen.h"

#include <QProcess>
#include <QTest>

class PlayerHands {
public:
    // Middles of the buttons, in the window of the size that it starts with.
    static constexpr QPoint Snapshot{39, 526};
    static constexpr QPoint Open{120, 526};
    static constexpr QPoint Stop{221, 526};
    static constexpr QPoint Backward{292, 526};
    static constexpr QPoint Play{367, 526};
    static constexpr QPoint Forward{444, 526};
    static constexpr QPoint Mute{525, 526};
    static constexpr QPoint Speed{732, 526};
    static constexpr QPoint FullScreen{809, 526};
    static constexpr QPoint HideList{890, 526};
    static constexpr QPoint Title{300, 15};
    static constexpr QPoint Pin{823, 15};
    static constexpr QPoint Settings{850, 15};
    static constexpr QPoint Minimize{877, 15};
    static constexpr QPoint Maximize{904, 15};
    static constexpr QPoint Close{929, 15};
    static constexpr QPoint Video{365, 246};
    static constexpr QPoint FirstRow{800, 52};

    // scale: how much larger than usual the player is, on a dense screen.
    explicit PlayerHands(InstalledPlayer &player, double scale = 1)
        : player(player)
        , scale(scale)
    {
    }

    // Waits for the window and gives it the focus.
    bool takeHold()
    {
        window = player.window();
        return window && focus(window);
    }

    static bool focus(qulonglong id)
    {
        return QTest::qWaitFor(
            [id] {
                if (Screen::active() == id)
                    return true;
                Screen::activate(id);
                return false;
            },
            15000);
    }

    qulonglong mainWindow() const { return window; }
    QPoint at(const QPoint &inWindow) const
    {
        const QRect place = Screen::geometry(window);
        return place.topLeft() + (inWindow + shift(inWindow, place.size() / scale)) * scale;
    }
    void click(const QPoint &inWindow, int button = 1, int times = 1) const
    {
        Screen::click(at(inWindow), button, times);
    }

    // Where the engine draws, and a part of it that no notice, subtitle or progress bar covers.
    QRect picture() const { return Screen::geometry(player.playArea()); }
    QRect sample() const
    {
        const QRect all = picture();
        return QRect(all.topLeft() + QPoint(60, 60), QSize(all.width() / 4, all.height() / 5));
    }
    bool waitForPicture(const QColor &colour, int ms = 20000) const
    {
        return Screen::waitForColour(sample(), colour, 0.9, ms);
    }
    // Whether the picture changes within ms.
    bool pictureMoves(int ms = 5000) const
    {
        const QImage before = Screen::grab(picture());
        return QTest::qWaitFor([&] { return Screen::grab(picture()) != before; }, ms);
    }

    // The progress slider's handle is 8 wide and goes along 734 pixels.
    QPoint timeAt(double share) const { return at(QPoint(4 + int(share * 726), 479)); }
    // Presses the handle where it is, moves it and lets it go.
    void dragTime(double from, double to) const
    {
        Screen::press(timeAt(from));
        for (int step = 1; step <= 4; ++step)
            Screen::moveMouse(timeAt(from + (to - from) * step / 4));
        Screen::release();
    }

    // Opens a file dialog with a key of the main window and chooses a file in it.
    bool chooseFile(const QString &key, const QString &path) const
    {
        Screen::key(key);
        return fillFileDialog(path);
    }
    bool fillFileDialog(const QString &path) const
    {
        const qulonglong dialog = player.dialog(QStringLiteral("选择本地文件"));
        if (!dialog || !focus(dialog))
            return false;
        QProcess::execute(QStringLiteral("xdotool"), {"type", "--delay", "2", path});
        Screen::key(QStringLiteral("Return"));
        return waitForNoWindow(dialog);
    }
    // Menus and pop-ups are windows that the window manager does not know.
    bool waitForMenus(int count) const
    {
        const auto shown = [this] {
            int menus = 0;
            for (qulonglong id : Screen::windowsOf(player.pid()))
                menus += Screen::property(id, QStringLiteral("_NET_WM_WINDOW_TYPE"))
                             .contains("_NET_WM_WINDOW_TYPE_POPUP_MENU");
            return menus;
        };
        return QTest::qWaitFor([&] { return shown() == count; }, 15000);
    }
    // The speed pop-up and the full-screen bar are tool windows, known by their sizes.
    bool waitForSpeeds(bool shown = true) const
    {
        return waitForSize(QSize(100, 400) * scale, shown);
    }
    bool waitForBar(bool shown = true) const { return waitForSize(Screen::whole().size(), shown); }

    static bool waitForNoWindow(qulonglong id, int ms = 15000)
    {
        return QTest::qWaitFor([id] { return !Screen::windows().contains(id); }, ms);
    }

private:
    // How far a control has moved in a window of another size than 945 x 564: the row of buttons
    // stays in the middle, the list and the title bar's buttons at the right.
    static QPoint shift(const QPoint &control, const QSize &size)
    {
        if (control.y() > 500)
            return QPoint((size.width() - 50) / 2 - 447, size.height() - 564);
        return QPoint(control.x() > 735 ? size.width() - 945 : 0, 0);
    }
    bool waitForSize(const QSize &size, bool shown) const
    {
        const auto isThere = [&] {
            for (qulonglong id : Screen::windowsOf(player.pid())) {
                if (Screen::property(id, QStringLiteral("_NET_WM_WINDOW_TYPE"))
                        .contains("_NET_WM_WINDOW_TYPE_UTILITY") &&
                    Screen::geometry(id).size() == size)
                    return true;
            }
            return false;
        };
        return QTest::qWaitFor([&] { return isThere() == shown; }, 15000);
    }

    InstalledPlayer &player;
    double scale;
    qulonglong window = 0;
};
