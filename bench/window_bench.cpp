// How soon the main window is there and how much memory it holds, beside a bare window program
// started in turn on the same display.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 21;

struct Child {
    pid_t pid = -1;
    FILE* output = nullptr;
};

/// Starts a program with its standard output on a pipe; no pid where it cannot be started.
Child start(std::vector<std::string> words) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) std::exit(EXIT_FAILURE);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    Child child;
    if (posix_spawnp(&child.pid, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
        child.pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    child.output = fdopen(ends[0], "r");
    return child;
}

void finish(const Child& child) {
    std::fclose(child.output);
    if (child.pid > 0) waitpid(child.pid, nullptr, 0);
}

/// A display of our own for the time of the measurement; without one, Qt's own picture in memory.
class Display {
public:
    Display() : server_(start({"Xvfb", "-displayfd", "1", "-nolisten", "tcp"})) {
        int number = 0;
        if (server_.pid > 0 && std::fscanf(server_.output, "%d", &number) == 1) {
            setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
            setenv("QT_QPA_PLATFORM", "xcb", 1);
        } else {
            setenv("QT_QPA_PLATFORM", "offscreen", 1);
        }
    }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;
    ~Display() {
        if (server_.pid > 0) kill(server_.pid, SIGTERM);
        finish(server_);
    }

private:
    Child server_;
};

/// All runs of one program.
class Program {
public:
    explicit Program(std::string path) : path_(std::move(path)) {}

    void run() {
        const auto started = std::chrono::steady_clock::now().time_since_epoch();
        const Child child = start({path_});
        long long idle = 0;
        long resident = 0;
        if (std::fscanf(child.output, "%lld %ld", &idle, &resident) != 2) {
            std::fprintf(stderr, "%s shows no window.\n", path_.c_str());
            std::exit(EXIT_FAILURE);
        }
        finish(child);
        const auto taken = std::chrono::nanoseconds(idle) - started;
        milliseconds_.push_back(std::chrono::duration<double, std::milli>(taken).count());
        megabytes_.push_back(static_cast<double>(resident) / 1024);
    }

    double milliseconds() { return median(milliseconds_); }
    double megabytes() { return median(megabytes_); }

private:
    static double median(std::vector<double>& values) {
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    }

    std::string path_;
    std::vector<double> milliseconds_;
    std::vector<double> megabytes_;
};

void report(const char* name, double ours, double peer, const char* unit, const char* aim) {
    std::printf("figure %s: ours %.1f %s, peer bare-qt-window %.1f %s, ratio %.2f (aim <= %s)\n",
                name, ours, unit, peer, unit, ours / peer, aim);
}

} // namespace

int main() {
    const Display display;
    Program ours(WINDOW_OURS);
    Program peer(WINDOW_PEER);
    ours.run(); // warm the caches of both
    peer.run();
    ours = Program(WINDOW_OURS);
    peer = Program(WINDOW_PEER);
    for (int round = 0; round < kRounds; ++round) {
        ours.run();
        peer.run();
    }
    report("window-first-idle", ours.milliseconds(), peer.milliseconds(), "ms", "1.3");
    report("window-resident-memory", ours.megabytes(), peer.megabytes(), "MB", "1.3");
    const bool met = ours.milliseconds() < 150 && ours.megabytes() < 64;
    std::printf("first idle under 150 ms and memory under 64 MB: %s\n", met ? "met" : "not met");
}
