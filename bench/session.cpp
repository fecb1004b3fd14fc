// Measures the installed player from outside, beside what it can't be quicker or smaller than:
//
//     bench-session PLAYER BARE_WINDOW STILL_CLIP MOVING_CLIP SHORT_CLIP RUNS
//
// SHORT_CLIP is known by 98 more names: SHORT_CLIP.0 to SHORT_CLIP.97.
// What is quick is measured twice as often. The player's own folder of settings must be empty but
// for config.ini. Prints rows of the table. STILL_CLIP is all lime, so that its first frame can be
// told by one pixel.
#include "childprocess.h"
#include "display.h"
#include "figures.h"

#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include <unistd.h>

namespace {

constexpr int groundX = 400; // a place that both programs paint, and the engine doesn't
constexpr int groundY = 640;
constexpr double patience = 20000; // ms
constexpr double longPatience = 200000; // ms
constexpr double briefInterval = 0.5; // ms between two looks at the screen
constexpr double longInterval = 20; // ms; at what takes seconds
constexpr int mostLocations = 98;
constexpr double playingTime = 15000; // ms
constexpr double memoryAfter = 10000; // ms
constexpr double settlingTime = 2000; // ms
constexpr double stoppedTime = 5000; // ms
const char historyFile[] = "/opt/apps/com.quelmark.player/files/config/config.json";

using Command = std::vector<std::string>;

void sleepFor(double ms) { usleep(static_cast<useconds_t>(ms * 1000)); }

[[noreturn]] void giveUp(const char *what)
{
    std::fprintf(stderr, "bench: %s\n", what);
    std::exit(1);
}

// Looks again and again, so seldom that it costs the measured program little.
void waitUntil(const std::function<bool()> &condition, const char *otherwise, double ms = patience,
               double interval = briefInterval)
{
    const double end = milliseconds() + ms;
    while (!condition()) {
        if (milliseconds() > end)
            giveUp(otherwise);
        sleepFor(interval);
    }
}

class Session {
public:
    explicit Session(char *arguments[])
        : player(arguments[1])
        , bareWindow(arguments[2])
        , stillClip(arguments[3])
        , movingClip(arguments[4])
        , shortClip(arguments[5])
        , ground(display.pixel(groundX, groundY))
    {
    }

    void measureStart(int rounds);
    void measureColdStart(int rounds);
    void measureManyLocations(int rounds);
    void measurePlaying(int rounds);
    void measureStopped(int rounds);

private:
    double timeToWindow(const Command &command);
    double timeToFrame();
    double timeOfProbe(const std::string &clip) const;
    double timeOfBareEngine();
    void learnEngine();
    std::unique_ptr<ChildProcess> startPlaying(const std::string &clip) const;
    static pid_t engineOf(const ChildProcess &player);
    Command engineIn(xcb_window_t window, const std::string &clip) const;
    bool showsFrame() const;
    void waitForGround();

    const Display display;
    const std::string player;
    const std::string bareWindow;
    const std::string stillClip;
    const std::string movingClip;
    const std::string shortClip;
    const std::uint32_t ground;
    Command engineCommand; // as the player gives it
    Area playArea;
};

void Session::waitForGround()
{
    waitUntil([this] { return display.pixel(groundX, groundY) == ground && !showsFrame(); },
              "a window stays on the screen");
    sleepFor(100); // the window manager is done as well
}

bool Session::showsFrame() const
{
    if (playArea.width == 0)
        return false;
    const std::uint32_t colour =
        display.pixel(playArea.x + playArea.width / 2, playArea.y + playArea.height / 2);
    return (colour >> 16 & 0xff) < 80 && (colour >> 8 & 0xff) > 170 && (colour & 0xff) < 80;
}

double Session::timeToWindow(const Command &command)
{
    unlink(historyFile);
    const double began = milliseconds();
    const ChildProcess program(command);
    waitUntil([this] { return display.pixel(groundX, groundY) != ground; },
              "a window does not show");
    const double took = milliseconds() - began;
    sleepFor(200);
    return took;
}

pid_t Session::engineOf(const ChildProcess &player)
{
    for (const pid_t child : childrenOf(player.id())) {
        const Command command = commandLine(child);
        if (std::find(command.begin(), command.end(), "-slave") != command.end())
            return child;
    }
    return 0;
}

std::unique_ptr<ChildProcess> Session::startPlaying(const std::string &clip) const
{
    unlink(historyFile);
    auto playing = std::make_unique<ChildProcess>(Command{player, clip});
    waitUntil([&] { return engineOf(*playing) != 0; }, "the player starts no engine");
    return playing;
}

// The engine's arguments and the place of its picture, from the player itself.
void Session::learnEngine()
{
    const auto playing = startPlaying(stillClip);
    sleepFor(settlingTime);
    engineCommand = commandLine(engineOf(*playing));
    const auto option = std::find(engineCommand.begin(), engineCommand.end(), "-wid");
    if (option == engineCommand.end() || option + 1 == engineCommand.end())
        giveUp("the engine has no window");
    playArea = display.areaOf(static_cast<xcb_window_t>(std::stoul(*(option + 1))));
    if (!showsFrame())
        giveUp("the engine shows no picture");
}

Command Session::engineIn(xcb_window_t window, const std::string &clip) const
{
    Command command = engineCommand;
    for (std::size_t i = 0; i < command.size(); i++) {
        if (i > 0 && command[i - 1] == "-wid")
            command[i] = std::to_string(window);
        else if (command[i] == stillClip)
            command[i] = clip;
    }
    return command;
}

double Session::timeToFrame()
{
    unlink(historyFile);
    const double began = milliseconds();
    const ChildProcess program({player, stillClip});
    waitUntil([this] { return showsFrame(); }, "the player shows no picture");
    const double took = milliseconds() - began;
    sleepFor(200);
    return took;
}

double Session::timeOfProbe(const std::string &clip) const
{
    const double began = milliseconds();
    ChildProcess probe({"ffprobe", "-of", "json", "-show_streams", clip});
    probe.waitForEnd();
    return milliseconds() - began;
}

double Session::timeOfBareEngine()
{
    const xcb_window_t window = display.openWindow(playArea);
    double took = 0;
    {
        const double began = milliseconds();
        const ChildProcess engine(engineIn(window, stillClip));
        waitUntil([this] { return showsFrame(); }, "the engine shows no picture");
        took = milliseconds() - began;
        sleepFor(200);
    }
    display.closeWindow(window);
    return took;
}

void Session::measureStart(int rounds)
{
    learnEngine();
    Samples bare;
    Samples plain;
    Samples window;
    Samples sum;
    Samples frame;
    for (int i = -1; i < rounds; i++) { // the first round only warms up
        waitForGround();
        const double bareTook = timeToWindow({bareWindow});
        waitForGround();
        const double plainTook = timeToWindow({bareWindow, "plain"});
        waitForGround();
        const double windowTook = timeToWindow({player});
        waitForGround();
        const double together = bareTook + timeOfProbe(stillClip) + timeOfBareEngine();
        waitForGround();
        const double frameTook = timeToFrame();
        if (i < 0)
            continue;
        bare.push_back(bareTook);
        plain.push_back(plainTook);
        window.push_back(windowTook);
        sum.push_back(together);
        frame.push_back(frameTook);
    }
    printRatio("command to window painted, no file, beside a bare Qt window", window, bare, 1,
               " ms", "1.25");
    printRatio("the same, beside a bare Qt window without OpenGL", window, plain, 1, " ms", "1.9");
    printRatio("command with a file to its first frame, beside bare Qt window + ffprobe + bare "
               "engine's first frame",
               frame, sum, 1, " ms", "0.85");
}

// Everything is read from the disk again. Only root can have that.
void Session::measureColdStart(int rounds)
{
    const char name[] = "the same first frame with nothing in the system's caches";
    const auto forget = [] {
        sync();
        std::ofstream caches("/proc/sys/vm/drop_caches");
        return static_cast<bool>(caches << 3 << std::flush);
    };
    if (!forget()) {
        printRow(std::string(name) + " (needs root)", "-", "-", "-", "0.80");
        return;
    }
    Samples sum;
    Samples frame;
    for (int i = 0; i < rounds; i++) {
        waitForGround();
        forget();
        double together = timeToWindow({bareWindow});
        waitForGround();
        forget();
        together += timeOfProbe(stillClip);
        forget();
        together += timeOfBareEngine();
        waitForGround();
        forget();
        frame.push_back(timeToFrame());
        sum.push_back(together);
    }
    printRatio(name, frame, sum, 1, " ms", "0.80");
}

void Session::measureManyLocations(int rounds)
{
    Command command = {player};
    for (int i = 0; i < mostLocations; i++)
        command.push_back(shortClip + '.' + std::to_string(i));
    Samples sum;
    Samples window;
    for (int i = 0; i < rounds; i++) {
        double together = 0;
        for (int location = 1; location <= mostLocations; location++)
            together += timeOfProbe(command[static_cast<std::size_t>(location)]);
        sum.push_back(together);
        waitForGround();
        unlink(historyFile);
        const double began = milliseconds();
        const ChildProcess program(command);
        waitUntil([this] { return display.pixel(groundX, groundY) != ground; },
                  "the window of many locations does not show", longPatience, longInterval);
        window.push_back(milliseconds() - began);
        sleepFor(200);
    }
    waitForGround();
    printRatio("command with 98 files to window painted, beside their probes one after the other",
               window, sum, 0, " ms", "0.60");
}

void Session::measurePlaying(int rounds)
{
    Samples own;
    Samples engine;
    Samples bareEngine;
    Samples memory;
    Samples bareMemory;
    // One pass over all that plays: processor time of 15 s, memory at 10 s.
    const auto watch = [](pid_t program, pid_t engine, Samples &programCpu, Samples &engineCpu,
                          Samples &programMemory) {
        sleepFor(settlingTime);
        const double programBefore = cpuMilliseconds(program);
        const double engineBefore = cpuMilliseconds(engine);
        sleepFor(memoryAfter - settlingTime);
        const double pss = pssMebibytes(program);
        sleepFor(playingTime - (memoryAfter - settlingTime));
        programCpu.push_back(cpuMilliseconds(program) - programBefore);
        engineCpu.push_back(cpuMilliseconds(engine) - engineBefore);
        programMemory.push_back(pss);
    };
    for (int i = 0; i < rounds; i++) {
        {
            const auto playing = startPlaying(movingClip);
            watch(playing->id(), engineOf(*playing), own, engine, memory);
        }
        waitForGround();
        const xcb_window_t window = display.openWindow(playArea);
        {
            const ChildProcess bare({bareWindow});
            const ChildProcess playing(engineIn(window, movingClip));
            Samples unused;
            watch(bare.id(), playing.id(), unused, bareEngine, bareMemory);
        }
        display.closeWindow(window);
        waitForGround();
    }
    printRow("the player's own processor time over 15 s of playing", number(median(own), 1, " ms"),
             "-", "-", "50 ms");
    printRatio("the engine's processor time over the same, beside the bare engine at the same size",
               engine, bareEngine, 0, " ms", "1.05");
    printRatio("the player's own memory (PSS) at 10 s of playing, beside the bare Qt window",
               memory, bareMemory, 1, " MiB", "1.25");
}

// Counted on the main thread, where every timer of the windows fires.
void Session::measureStopped(int rounds)
{
    Samples wakes;
    Samples bareWakes;
    const auto count = [](pid_t pid) {
        const long before = wakeUps(pid);
        sleepFor(stoppedTime);
        return static_cast<double>(wakeUps(pid) - before);
    };
    for (int i = 0; i < rounds; i++) {
        {
            const auto played = startPlaying(shortClip);
            waitUntil([&] { return engineOf(*played) == 0; }, "a short clip does not end");
            sleepFor(settlingTime);
            wakes.push_back(count(played->id()));
        }
        waitForGround();
        const ChildProcess bare({bareWindow});
        sleepFor(settlingTime);
        bareWakes.push_back(count(bare.id()));
    }
    printRow("wake-ups of the main thread in 5 s, stopped, beside the bare Qt window",
             number(median(wakes), 0), number(median(bareWakes), 0), "-", "0");
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 7) {
        std::fprintf(stderr,
                     "usage: bench-session PLAYER BARE_WINDOW STILL_CLIP MOVING_CLIP "
                     "SHORT_CLIP RUNS\n");
        return 2;
    }
    Session session(argv);
    const int runs = std::atoi(argv[6]);
    session.measureStart(2 * runs + 1);
    session.measureColdStart(runs);
    session.measureManyLocations(3);
    session.measurePlaying(runs);
    session.measureStopped(runs);
    return 0;
}
