// Changes JSON so that it mostly stays JSON: bytes changed at random hardly ever get past a parser.
#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdint>
#include <random>

#include <sanitizer/lsan_interface.h>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

namespace fuzzing {

class JsonMutator {
public:
    explicit JsonMutator(unsigned seed)
        : random(seed)
    {
    }

    // Every other time, and for what is no JSON, the bytes are changed as usual.
    size_t mutate(uint8_t *data, size_t size, size_t maxSize)
    {
        const auto *text = reinterpret_cast<const char *>(data);
        const QJsonDocument document =
            QJsonDocument::fromJson(QByteArray::fromRawData(text, static_cast<int>(size)));
        if (document.isNull() || below(2) == 0)
            return LLVMFuzzerMutate(data, size, maxSize);
        QJsonObject object = document.object();
        QJsonArray array = document.array();
        for (int changes = 1 + below(4); changes > 0; --changes) {
            object = changedObject(object);
            array = changedArray(array);
        }
        const QJsonDocument result =
            document.isArray() ? QJsonDocument(array) : QJsonDocument(object);
        const QByteArray json =
            result.toJson(below(4) == 0 ? QJsonDocument::Compact : QJsonDocument::Indented);
        if (size_t(json.size()) > maxSize)
            return LLVMFuzzerMutate(data, size, maxSize);
        std::copy(json.begin(), json.end(), data);
        return size_t(json.size());
    }

private:
    int below(int limit) { return int(random() % unsigned(limit)); }

    QJsonValue oddValue()
    {
        const QJsonValue values[] = {QJsonValue(),
                                     0,
                                     -1,
                                     2147483647,
                                     2147483648.0,
                                     1e300,
                                     0.5,
                                     true,
                                     "",
                                     "1",
                                     QString(QChar(0xd800)),
                                     "中/\n\"\\",
                                     "nan",
                                     "30000/1001",
                                     QJsonArray(),
                                     QJsonObject()};
        return values[below(int(std::size(values)))];
    }

    QJsonValue changed(const QJsonValue &value)
    {
        if (value.isObject() && below(8) != 0)
            return changedObject(value.toObject());
        if (value.isArray() && below(8) != 0)
            return changedArray(value.toArray());
        if (value.isDouble() && below(2) == 0)
            return value.toDouble() + below(200) - 100;
        if (value.isString() && below(2) == 0)
            return value.toString().left(below(20)) + QChar(below(0x10000));
        return oddValue();
    }

    QJsonObject changedObject(QJsonObject object)
    {
        if (object.isEmpty())
            return object;
        const QString key = object.keys().at(below(object.size()));
        if (below(8) == 0)
            object.remove(key);
        else
            object[key] = changed(object.value(key));
        return object;
    }

    QJsonArray changedArray(QJsonArray array)
    {
        if (array.isEmpty())
            return {oddValue()};
        const int i = below(array.size());
        switch (below(6)) {
        case 0:
            array.removeAt(i);
            break;
        case 1:
        case 2:
            array.insert(below(array.size() + 1), array.at(i));
            break;
        case 3:
            array.insert(i, oddValue());
            break;
        default:
            array[i] = changed(array.at(i));
        }
        return array;
    }

    std::minstd_rand random;
};

} // namespace fuzzing

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned seed)
{
    __lsan_disable(); // Qt's reader can leak, see fuzzing.h
    const size_t newSize = fuzzing::JsonMutator(seed).mutate(data, size, maxSize);
    __lsan_enable();
    return newSize;
}
