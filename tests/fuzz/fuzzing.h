// What the fuzz targets share. Each feeds endless made-up input to one reader of outside text and
// requires what must hold for every input; a broken requirement ends it like a crash.
#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <sanitizer/allocator_interface.h>
#include <sanitizer/lsan_interface.h>

namespace fuzzing {

inline void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

inline QByteArray bytes(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size));
}

inline void silenceLog()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
}

// Qt's JSON reader (5.15) never frees what a repeated member held before, when that was a list or
// an object: {"a": [], "a": 1}. While an input lives with which the reader alone does so, leaks are
// not reported; they are for every other input.
class JsonReaderLeaks {
public:
    explicit JsonReaderLeaks(const QByteArray &json)
    {
        __lsan_disable();
        const size_t before = __sanitizer_get_current_allocated_bytes();
        QJsonDocument::fromJson(json);
        expected = __sanitizer_get_current_allocated_bytes() != before;
        if (!expected)
            __lsan_enable();
    }
    ~JsonReaderLeaks()
    {
        if (expected)
            __lsan_enable();
    }
    Q_DISABLE_COPY(JsonReaderLeaks)

private:
    bool expected = false;
};

} // namespace fuzzing
