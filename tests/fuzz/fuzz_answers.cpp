// The engine's output lines, and the labels made of them.
#include "clocktext.h"
#include "enginecommands.h"
#include "fuzzing.h"

#include <QStringList>

#include <algorithm>
#include <cctype>
#include <string>

using enginecommands::Answer;
using fuzzing::require;

namespace {

// Numbers as the engine writes them: up to 9999, with or without two decimals.
bool isOrdinary(const std::string &number)
{
    const size_t digits = std::min(number.find('.'), number.size());
    const auto isDigit = [](unsigned char c) { return std::isdigit(c) != 0; };
    return digits >= 1 && digits <= 4 && number.size() <= digits + 3 &&
        std::all_of(number.begin(), number.begin() + long(digits), isDigit) &&
        std::all_of(number.begin() + long(std::min(digits + 1, number.size())), number.end(),
                    isDigit);
}

void checkLabel(int seconds)
{
    const QStringList parts = clockText(seconds).split(':');
    require(parts.size() == 3, "a label has hours, minutes and seconds");
    for (const QString &part : parts)
        require(part.size() >= 2, "each has two digits at least");
    const int minutes = parts.at(1).toInt();
    const int rest = parts.at(2).toInt();
    require(minutes < 60 && rest < 60, "minutes and seconds are below 60");
    const int shown = parts.at(0).toInt() * 3600 + minutes * 60 + rest;
    require(shown == (seconds == 3600 ? 0 : seconds), "a label reads back as its seconds");
}

// What the engine prints by itself.
void checkRemark(const QByteArray &line)
{
    const enginecommands::Remark remark = enginecommands::parseRemark(line);
    const bool isFile = remark.kind == enginecommands::Remark::AddedSubtitle;
    require(isFile == (remark.number > 0), "a subtitle file has a number, nothing else has");
    require(!isFile || line.startsWith("SUB: Added subtitle file ("), "the words tell a file");
    require(line.endsWith(remark.name), "a name is the end of the line");
    require(isFile || remark.name.isEmpty(), "nothing else has a name");
    require(remark.kind == enginecommands::Remark::Other || !line.startsWith("ANS_"),
            "an answer is no remark");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray line = fuzzing::bytes(data, size);
    const Answer answer = enginecommands::parseAnswer(line);
    const bool isLength = line.startsWith("ANS_LENGTH");
    const bool isPosition = line.startsWith("ANS_TIME_POSITION");
    require((answer.kind == Answer::Length) == isLength, "the word tells a length");
    require((answer.kind == Answer::Position) == isPosition, "the word tells a position");
    require(answer.kind != Answer::Other || answer.seconds == 0, "other lines carry no number");
    if (answer.kind != Answer::Other) {
        const int wordSize = isLength ? 10 : 17;
        const std::string number = line.mid(wordSize + 1).toStdString();
        require(answer.seconds >= 0 || number.find('-') != std::string::npos,
                "seconds are negative only where a sign says so");
        if (isOrdinary(number))
            require(answer.seconds == std::atoi(number.c_str()), "ordinary numbers are cut");
    }
    if (answer.seconds >= 0)
        checkLabel(answer.seconds);
    checkRemark(line);
    return 0;
}
