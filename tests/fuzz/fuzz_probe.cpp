// The output of the probe: the line filter and the reader of what it lets through.
#include "common.h"
#include "fuzzing.h"
#include "jsonmutator.h"
#include "mediaprobe.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <string>

using fuzzing::require;

namespace {

// The lines whose first character belongs to JSON, as far as they fit.
std::string jsonLines(const char *in)
{
    std::istringstream lines(in);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        const size_t first = line.find_first_not_of(' ');
        if (first != std::string::npos &&
            std::string("\"[]{}").find(line[first]) != std::string::npos)
            kept += line + '\n';
    }
    return kept.substr(0, kProbeBufferSize - 1);
}

void checkReader(QByteArray text)
{
    struct videoInfo untouched;
    untouched.width = -7;
    untouched.showDuration = "before";
    ::videoInfo = untouched;
    const int result = readConfigFromBuffer(text.data());
    require(result == 0 || result == -1, "reading gives 0 or -1");
    if (result == -1) {
        require(::videoInfo.width == -7 && ::videoInfo.showDuration == "before" &&
                    ::videoInfo.vcodecType.isEmpty() && ::videoInfo.acodecType.isEmpty(),
                "what can't be read changes nothing");
        return;
    }
    require(::videoInfo.type >= 0 && ::videoInfo.type <= 2, "there are three kinds of codec");
    require(!(::videoInfo.frame > 100), "more than 100 pictures a second are taken for unknown");
    require(::videoInfo.showDuration.size() <= 8 || ::videoInfo.showDuration.count(':') == 2,
            "a duration has three parts");

    const struct videoInfo first = ::videoInfo;
    require(readConfigFromBuffer(text.data()) == 0, "reading again succeeds again");
    const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    require(same(first.frame, ::videoInfo.frame) && same(first.duration, ::videoInfo.duration) &&
                first.type == ::videoInfo.type && first.width == ::videoInfo.width &&
                first.height == ::videoInfo.height && first.bitRate == ::videoInfo.bitRate &&
                first.vcodecType == ::videoInfo.vcodecType &&
                first.acodecType == ::videoInfo.acodecType &&
                first.showDuration == ::videoInfo.showDuration,
            "reading again gives the same");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzzing::silenceLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray in(kProbeBufferSize, '\0');
    QByteArray out(kProbeBufferSize, '\0');
    std::copy_n(data, std::min<size_t>(size, kProbeBufferSize - 1), in.begin());
    const QByteArray before = in;
    AnalyseToken(in.data(), out.data());
    require(in == before, "the filter leaves its input alone");
    require(jsonLines(in.constData()) == out.constData(), "exactly the lines of JSON pass");
    const fuzzing::JsonReaderLeaks leaks(out.constData());
    checkReader(out);
    return 0;
}
