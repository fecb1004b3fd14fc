// Acts on a modal dialog or a menu from inside its own event loop, which blocks the test.
#pragma once

#include <QApplication>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <functional>

// Waits until find() returns a visible widget and then calls action with it, once. A widget that
// the action leaves open is closed after a while, so that a failed test ends instead of hanging.
class WhenOpen {
public:
    WhenOpen(std::function<QWidget *()> find, std::function<void(QWidget *)> action)
        : find(std::move(find))
        , action(std::move(action))
    {
        QObject::connect(&poll, &QTimer::timeout, &poll, [this] { look(); });
        poll.start(10);
    }

    bool happened() const { return done; }

private:
    void look()
    {
        QPointer<QWidget> widget = find();
        if (!widget || !widget->isVisible())
            return;
        poll.stop();
        done = true;
        QTimer::singleShot(10000, widget, [widget] { widget->close(); });
        action(widget);
    }

    std::function<QWidget *()> find;
    std::function<void(QWidget *)> action;
    QTimer poll;
    bool done = false;
};

class WhenModal : public WhenOpen {
public:
    explicit WhenModal(std::function<void(QWidget *)> action)
        : WhenOpen([] { return QApplication::activeModalWidget(); }, std::move(action))
    {
    }
};

class WhenPopup : public WhenOpen {
public:
    explicit WhenPopup(std::function<void(QWidget *)> action)
        : WhenOpen([] { return QApplication::activePopupWidget(); }, std::move(action))
    {
    }
};
