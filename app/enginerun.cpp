#include "enginerun.h"

#include <QFile>
#include <QRegularExpression>

namespace {
constexpr qint64 kAtOnce = 2000; // ms
constexpr int kShortestRow = 60; // two starts a second: half a minute
constexpr int kKnownAfter = 3;

const QLatin1String kFileScheme("file://");
} // namespace

using enginecommands::Remark;

void EngineRun::begin(const QString &address, bool byAnEnd)
{
    *this = EngineRun();
    addr = address;
    afterAnEnd = byAnEnd;
    age.start();
}

// With a picture, "Starting playback..." comes before the engine knows whether it can show one.
void EngineRun::heard(Remark::Kind kind)
{
    if (kind == Remark::Opening)
        awaited = Remark::Begun;
    else if (kind == Remark::HasPicture)
        awaited = Remark::ShowsPicture;
    else if (kind == awaited)
        awaited = Remark::Other;
    else if (kind == Remark::OwnSubtitles)
        hasOwnSubtitles = true;
    else if (kind == Remark::AddedSubtitle)
        questionsBeforeSubtitle = -1;
}

void EngineRun::choose(const QByteArray &subtitle)
{
    chosenSubtitle = subtitle;
    questionsBeforeSubtitle = questions;
}

// Everything is done and answered in its order, so the questions before the file say nothing.
bool EngineRun::answeredWithoutSubtitle()
{
    ++answers;
    if (questionsBeforeSubtitle < 0 || answers <= questionsBeforeSubtitle)
        return false;
    questionsBeforeSubtitle = -1;
    return true;
}

bool EngineRun::failedAtOnce() const
{
    return !positionTold && (lifetime < 0 ? age.elapsed() : lifetime) <= kAtOnce;
}

bool EngineRun::foundNothingToResume() const
{
    return started && resumed && !positionTold && awaited == Remark::Other && !isFileMissing();
}

bool EngineRun::isFileMissing() const
{
    static const QRegularExpression scheme("^[A-Za-z][A-Za-z0-9+.-]*://");
    if (addr.startsWith(kFileScheme))
        return !QFile::exists(addr.mid(kFileScheme.size()));
    return !scheme.match(addr).hasMatch() && !QFile::exists(addr);
}

void FailureRow::clear()
{
    length = 0;
    perAddress.clear();
}

void FailureRow::add(const QString &addr)
{
    ++length;
    ++perAddress[addr];
}

bool FailureRow::isTooLong(int entries) const { return length >= qMax(kShortestRow, entries + 10); }

bool FailureRow::knows(const QString &addr) const { return perAddress.value(addr) >= kKnownAfter; }
