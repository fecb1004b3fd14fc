#include "pulse.h"

#include "testsupport.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include <poll.h>
#include <xcb/xcb.h>

namespace {

constexpr int period = 50; // ms, between two questions, and between two looks for an answer
constexpr qint64 noticeable = 500; // ms, before it is asked whether the silence is excused
constexpr qint64 million = 1000000;

qint64 now()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

// ns for which the main thread of a process was ready to run while the machine did something else.
qint64 waitedForProcessor(qint64 pid)
{
    const QByteArray text = readFile(QStringLiteral("/proc/%1/task/%1/schedstat").arg(pid));
    return text.split(' ').value(1).toLongLong();
}

class Connection {
public:
    Connection()
        : connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(connection))
            qFatal("no connection to the X server");
        root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        protocols = atom("WM_PROTOCOLS");
        ping = atom("_NET_WM_PING");
        // Qt sends its answer to the root window, to those that listen for this.
        const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &events);
        xcb_flush(connection);
    }
    ~Connection() { xcb_disconnect(connection); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    void ask(xcb_window_t window, uint32_t number)
    {
        xcb_client_message_event_t message = {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = protocols;
        message.data.data32[0] = ping;
        message.data.data32[1] = number; // in the place of a time
        message.data.data32[2] = window;
        xcb_send_event(connection, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char *>(&message));
        xcb_flush(connection);
    }

    // Waits up to ms milliseconds for an event, and says whether this question was answered.
    bool answered(uint32_t number, int ms)
    {
        pollfd descriptor = {xcb_get_file_descriptor(connection), POLLIN, 0};
        poll(&descriptor, 1, ms);
        bool found = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(connection)) {
            if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
                const auto *message = reinterpret_cast<xcb_client_message_event_t *>(event);
                found = found ||
                    (message->type == protocols && message->data.data32[0] == ping &&
                     message->data.data32[1] == number);
            }
            std::free(event);
        }
        return found;
    }

    bool exists(xcb_window_t window)
    {
        xcb_get_geometry_reply_t *reply =
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr);
        std::free(reply);
        return reply != nullptr;
    }

private:
    xcb_atom_t atom(const QByteArray &name)
    {
        const auto cookie =
            xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.constData());
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(connection, cookie, nullptr);
        const xcb_atom_t found = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return found;
    }

    xcb_connection_t *connection;
    xcb_window_t root = 0;
    xcb_atom_t protocols = 0;
    xcb_atom_t ping = 0;
};

void raise(std::atomic<qint64> &value, qint64 to) { value = std::max(value.load(), to); }

} // namespace

Pulse::Pulse(qint64 pid, qulonglong window, const std::function<bool()> &isExcused)
    : isExcused(isExcused)
    , thread([this, pid, window] { watch(pid, window); })
{
}

Pulse::~Pulse()
{
    ended = true;
    thread.join();
}

void Pulse::watch(qint64 pid, qulonglong id)
{
    Connection connection;
    const auto window = static_cast<xcb_window_t>(id);
    for (uint32_t number = 1; !ended; ++number) {
        const qint64 began = now();
        const qint64 waited = waitedForProcessor(pid);
        bool excused = false;
        int looks = 0;
        connection.ask(window, number);
        // On a machine that is late with everything a look takes longer, and counts no more.
        const auto silence = [&] {
            const qint64 ran = (now() - began - waitedForProcessor(pid) + waited) / million;
            return std::min(ran, qint64(looks) * period);
        };
        for (; !connection.answered(number, period); ++looks) {
            if (ended || !connection.exists(window))
                return;
            excused = excused || (silence() >= noticeable && isExcused());
            if (silence() >= noticeable)
                raise(excused ? worstExcusedSilence : worstSilence, silence());
        }
        ++answered;
        raise(excused ? worstExcusedSilence : worstSilence, silence());
        std::this_thread::sleep_for(std::chrono::milliseconds(period));
    }
}
