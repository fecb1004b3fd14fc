// A stand-in for the playback engine, without Qt. Installed as ROOT/files/bin/mplayer it records
// what it is given and does what ROOT/standin/script says (STANDIN_DIR names another folder, for a
// root that can't be written to). enginebench.h is the way to use it from a test.
//
// Record, ROOT/standin/log, one line per event and one write per line, so a crash loses nothing:
//     <microseconds> <pid> <event> <hex bytes...>
// Events: start (one field per argument), overlap (another engine of this root is alive), in (bytes
// of the input), eof, signal, crash, exit.
//
// Script, one statement per line; bytes are hex, "-" for none:
//     length BYTES          answer to get_time_length (default 20.00); "-" for no answer
//     position BYTES        fixed answer to get_time_pos; "-" for no answer
//     clock SECONDS         (default 0) the position runs from there with the real time, paused by
//                           "pause", moved by "seek"
//     ends                  exit with 0 when the clock reaches the length
//     ignore-quit           play on after "quit"
//     ignore-term           play on after SIGTERM, SIGINT and SIGHUP
//     direct                read the input oneself; see below
//     start ACTION          done at once after the start is recorded
//     after MS ACTION       done that long after the start
//     on NTH BYTES ACTION   done at the NTH (0: every) input line that begins with BYTES, in place
//                           of what is done otherwise; statements of one line are done in order
// ACTION: print BYTES | sleep MS | flood BYTECOUNT | crash | exit CODE | answer (what is done
// otherwise) | close-input | stop-reading MS
//
// The player kills an engine right after its "quit", so the engine itself would seldom live to
// record it. A second process therefore reads the input, records it and passes it on; it outlives
// the engine until the player closes the input. With "direct", and for the last two actions, the
// engine reads itself.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct Action {
    std::string verb;
    std::string value;
};

struct Hook {
    long when = 0; // milliseconds after the start, or the count of the line
    std::string prefix;
    Action action;
};

struct Script {
    std::string length = "20.00";
    std::string position;
    bool fixedPosition = false;
    double clockStart = 0;
    bool ends = false;
    bool ignoreQuit = false;
    bool ignoreTerm = false;
    bool direct = false;
    std::vector<Action> atStart;
    std::vector<Hook> later;
    std::vector<Hook> onLine;
};

const char recorderName[] = "standin-recorder";
const long pollMs = 50;
const unsigned lifeLimitSeconds = 600; // whatever happens, no stand-in lives longer

std::string folder;
int logFile = -1;
long enginePid = 0;
volatile sig_atomic_t pendingSignal = 0;

long long microseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
}

std::string toHex(const std::string &bytes)
{
    static const char digits[] = "0123456789abcdef";
    if (bytes.empty())
        return "-";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (unsigned char byte : bytes) {
        hex += digits[byte >> 4];
        hex += digits[byte & 15];
    }
    return hex;
}

std::string fromHex(const std::string &hex)
{
    std::string bytes;
    for (size_t i = 0; hex != "-" && i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return bytes;
}

void writeAll(int file, const char *data, size_t size)
{
    while (size > 0) {
        const ssize_t written = write(file, data, size);
        if (written < 0 && errno == EINTR && !pendingSignal)
            continue;
        if (written < 0)
            return; // the player is gone or asks us to end
        data += written;
        size -= static_cast<size_t>(written);
    }
}

void record(const std::string &event, const std::string &fields)
{
    const std::string line = std::to_string(microseconds()) + ' ' + std::to_string(enginePid) +
        ' ' + event + fields + '\n';
    if (write(logFile, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        perror("standin-engine: record");
}

Action readAction(std::istringstream &words)
{
    Action action;
    words >> action.verb >> action.value;
    return action;
}

Script readScript()
{
    Script script;
    std::ifstream file(folder + "/script");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string key;
        std::string hex;
        words >> key;
        if (key == "length" && words >> hex) {
            script.length = fromHex(hex);
        } else if (key == "position" && words >> hex) {
            script.position = fromHex(hex);
            script.fixedPosition = true;
        } else if (key == "clock") {
            words >> script.clockStart;
        } else if (key == "ends") {
            script.ends = true;
        } else if (key == "ignore-quit") {
            script.ignoreQuit = true;
        } else if (key == "ignore-term") {
            script.ignoreTerm = true;
        } else if (key == "direct") {
            script.direct = true;
        } else if (key == "start") {
            script.atStart.push_back(readAction(words));
        } else if (key == "after") {
            Hook hook;
            words >> hook.when;
            hook.action = readAction(words);
            script.later.push_back(hook);
        } else if (key == "on") {
            Hook hook;
            words >> hook.when >> hex;
            hook.prefix = fromHex(hex);
            hook.action = readAction(words);
            script.onLine.push_back(hook);
        }
    }
    std::stable_sort(script.later.begin(), script.later.end(),
                     [](const Hook &a, const Hook &b) { return a.when < b.when; });
    return script;
}

void onSignal(int number) { pendingSignal = number; }

// Reads the player's input to its end, recording it and passing it on to the engine.
int recorderMain(char **arguments)
{
    folder = arguments[1];
    enginePid = std::atol(arguments[2]);
    logFile = open((folder + "/log").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    signal(SIGPIPE, SIG_IGN); // the engine may be gone; the recording goes on
    alarm(lifeLimitSeconds);
    char buffer[65536];
    for (;;) {
        const ssize_t got = read(STDIN_FILENO, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        record("in", ' ' + toHex(std::string(buffer, static_cast<size_t>(got))));
        writeAll(STDOUT_FILENO, buffer, static_cast<size_t>(got));
    }
    record("eof", "");
    return 0;
}

// Puts the recorder between the input and this process; the engine's input is then its output.
void startRecorder()
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return;
    const std::string pid = std::to_string(enginePid);
    if (fork() == 0) {
        dup2(pipeEnds[1], STDOUT_FILENO);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDERR_FILENO);
        for (int file = 3; file < 64; ++file)
            close(file);
        setsid(); // a terminal's Ctrl+C is not for it
        execl("/proc/self/exe", recorderName, folder.c_str(), pid.c_str(),
              static_cast<char *>(nullptr));
        _exit(127);
    }
    dup2(pipeEnds[0], STDIN_FILENO);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

class Engine {
public:
    explicit Engine(Script first)
        : script(std::move(first))
        , started(microseconds())
        , clockBase(script.clockStart)
        , clockSince(started)
        , direct(script.direct)
    {
    }

    int run(const std::string &location);

private:
    double position() const;
    void setPosition(double seconds, bool play);
    void perform(const Action &action, const std::string &line);
    void flood(size_t count);
    void handleLine(const std::string &line);
    void answer(const std::string &line);
    void seek(const std::string &line);
    void readInput();
    void doDueActions();
    void print(const std::string &text) { writeAll(STDOUT_FILENO, text.data(), text.size()); }
    [[noreturn]] void leave(int code)
    {
        record("exit", ' ' + toHex(std::to_string(code)));
        _exit(code);
    }

    Script script;
    long long started;
    double clockBase;
    long long clockSince;
    bool direct;
    bool paused = false;
    bool inputOpen = true;
    long long readAgainAt = 0;
    std::string partial;
    std::map<std::string, long> counts; // lines seen so far, by the prefix of a hook
    size_t nextLater = 0;
};

double Engine::position() const
{
    return paused ? clockBase : clockBase + static_cast<double>(microseconds() - clockSince) / 1e6;
}

void Engine::setPosition(double seconds, bool play)
{
    clockBase = seconds < 0 ? 0 : seconds;
    clockSince = microseconds();
    paused = !play;
}

void Engine::flood(size_t count)
{
    std::string block;
    for (int i = 0; block.size() < 65536; ++i)
        block += "chatter line " + std::to_string(i) + "\n";
    while (count > 0 && !pendingSignal) {
        const size_t piece = count < block.size() ? count : block.size();
        writeAll(STDOUT_FILENO, block.data(), piece);
        count -= piece;
    }
}

void Engine::perform(const Action &action, const std::string &line)
{
    const long number = std::atol(action.value.c_str());
    if (action.verb == "print") {
        print(fromHex(action.value));
    } else if (action.verb == "sleep") {
        usleep(static_cast<useconds_t>(number) * 1000);
    } else if (action.verb == "flood") {
        flood(static_cast<size_t>(number));
    } else if (action.verb == "crash") {
        record("crash", "");
        signal(SIGSEGV, SIG_DFL);
        raise(SIGSEGV);
    } else if (action.verb == "exit") {
        leave(static_cast<int>(number));
    } else if (action.verb == "answer") {
        answer(line);
    } else if (action.verb == "close-input") {
        close(STDIN_FILENO);
        inputOpen = false;
    } else if (action.verb == "stop-reading") {
        readAgainAt = microseconds() + number * 1000LL;
    }
}

void Engine::seek(const std::string &line)
{
    double amount = 0;
    int kind = 0;
    if (sscanf(line.c_str(), "seek %lf %d", &amount, &kind) < 1)
        return;
    setPosition(kind == 2 ? amount : position() + amount, true); // a seek ends a pause
}

void Engine::answer(const std::string &line)
{
    if (line == "get_time_length") {
        if (!script.length.empty())
            print("ANS_LENGTH=" + script.length + "\n");
    } else if (line == "get_time_pos") {
        char text[64];
        snprintf(text, sizeof text, "%.1f", position());
        const std::string shown = script.fixedPosition ? script.position : text;
        if (!shown.empty())
            print("ANS_TIME_POSITION=" + shown + "\n");
    } else if (line == "pause") {
        setPosition(position(), paused);
    } else if (line.compare(0, 5, "seek ") == 0) {
        seek(line);
    } else if ((line == "quit" || line.compare(0, 5, "quit ") == 0) && !script.ignoreQuit) {
        leave(0);
    }
}

void Engine::handleLine(const std::string &line)
{
    script = readScript(); // a test may change its mind while the engine runs
    std::map<std::string, long> now;
    bool handled = false;
    for (const Hook &hook : script.onLine) {
        if (line.compare(0, hook.prefix.size(), hook.prefix) != 0)
            continue;
        const auto [count, first] = now.try_emplace(hook.prefix);
        if (first)
            count->second = ++counts[hook.prefix];
        if (hook.when != 0 && hook.when != count->second)
            continue;
        handled = true;
        perform(hook.action, line);
    }
    if (!handled)
        answer(line);
}

void Engine::readInput()
{
    char buffer[65536];
    const ssize_t got = read(STDIN_FILENO, buffer, sizeof buffer);
    if (got < 0)
        return;
    if (got == 0) {
        // As the real one, it plays on when its input is closed.
        inputOpen = false;
        if (direct)
            record("eof", "");
        return;
    }
    const std::string bytes(buffer, static_cast<size_t>(got));
    if (direct)
        record("in", ' ' + toHex(bytes));
    partial += bytes;
    for (size_t end; (end = partial.find('\n')) != std::string::npos;) {
        const std::string line = partial.substr(0, end);
        partial.erase(0, end + 1);
        handleLine(line);
    }
}

void Engine::doDueActions()
{
    while (nextLater < script.later.size() &&
           microseconds() - started >= script.later[nextLater].when * 1000LL) {
        const Action action = script.later[nextLater++].action;
        perform(action, std::string());
    }
    if (script.ends && !script.length.empty() && position() >= std::atof(script.length.c_str()))
        leave(0);
}

int Engine::run(const std::string &location)
{
    const std::vector<Action> first = script.atStart;
    for (const Action &action : first)
        perform(action, std::string());
    print("Playing " + location + ".\nStarting playback...\n");
    for (;;) {
        if (pendingSignal) {
            record("signal", ' ' + toHex(std::to_string(pendingSignal)));
            if (!script.ignoreTerm)
                leave(1);
            pendingSignal = 0;
        }
        struct stat found { };
        if (stat(folder.c_str(), &found) != 0)
            return 0; // the test has cleaned up: nobody looks after us any more
        doDueActions();
        const bool reading = inputOpen && microseconds() >= readAgainAt;
        pollfd input = {reading ? STDIN_FILENO : -1, POLLIN, 0};
        if (poll(&input, 1, pollMs) > 0)
            readInput();
    }
}

// Each engine holds a lock as long as it lives; the kernel releases it before the player can learn
// of the end. Never closed, and not inherited by the recorder.
void recordOverlap()
{
    const int file = open((folder + "/alive").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    struct flock lock { };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(file, F_SETLK, &lock) != 0)
        record("overlap", "");
}

bool needsDirectInput(const Script &script)
{
    const auto needs = [](const Action &action) {
        return action.verb == "close-input" || action.verb == "stop-reading";
    };
    for (const Action &action : script.atStart) {
        if (needs(action))
            return true;
    }
    for (const Hook &hook : script.later) {
        if (needs(hook.action))
            return true;
    }
    for (const Hook &hook : script.onLine) {
        if (needs(hook.action))
            return true;
    }
    return script.direct;
}

std::string findFolder(const char *program)
{
    if (const char *named = getenv("STANDIN_DIR"))
        return named;
    std::string root = program;
    for (int i = 0; i < 3; ++i)
        root.erase(root.find_last_of('/') == std::string::npos ? 0 : root.find_last_of('/'));
    return root + "/standin";
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && strcmp(argv[0], recorderName) == 0)
        return recorderMain(argv);

    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    alarm(lifeLimitSeconds);
    signal(SIGPIPE, SIG_IGN);
    struct sigaction action { };
    action.sa_handler = onSignal;
    for (int number : {SIGTERM, SIGINT, SIGHUP})
        sigaction(number, &action, nullptr);

    folder = findFolder(argv[0]);
    enginePid = getpid();
    logFile = open((folder + "/log").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (logFile < 0) {
        perror("standin-engine: log");
        return 99;
    }
    Script script = readScript();
    script.direct = needsDirectInput(script);
    if (!script.direct)
        startRecorder(); // first: what has a recorded start has its whole input recorded
    std::string arguments;
    for (int i = 1; i < argc; ++i)
        arguments += ' ' + toHex(argv[i]);
    record("start", arguments);
    recordOverlap();
    return Engine(script).run(argc > 1 ? argv[1] : "");
}
