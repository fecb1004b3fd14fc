// Acts in the GUI thread while it is held up by something that lets events in, but no timers.
#pragma once

#include <QObject>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

// From another thread, asks for act every 10 ms until it has returned true.
class Aside {
public:
    explicit Aside(std::function<bool()> act)
        : act(std::move(act))
        , asking([this] { ask(); })
    {
    }
    ~Aside()
    {
        over = true;
        asking.join();
    }
    Aside(const Aside &) = delete;
    Aside &operator=(const Aside &) = delete;

    bool happened() const { return done; }

private:
    void ask()
    {
        for (; !over && !done; std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
            if (asked.exchange(true))
                continue; // not answered yet
            QMetaObject::invokeMethod(
                &receiver,
                [this] {
                    done = act();
                    asked = false;
                },
                Qt::QueuedConnection);
        }
    }

    std::function<bool()> act;
    QObject receiver;
    std::atomic<bool> over{false};
    std::atomic<bool> done{false};
    std::atomic<bool> asked{false};
    std::thread asking; // the last, as it uses the others
};
