#include "bench/process_peers.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <glib.h>

#include <QProcess>

#include <boost/process.hpp>

namespace quorvane::bench {
namespace {

void require(bool succeeded) {
    if (!succeeded) throw std::runtime_error("A peer could not run its tool.");
}

void waitFor(pid_t child) {
    int status = -1;
    require(::waitpid(child, &status, 0) == child && status == 0);
}

/// What exec takes; as long as the texts live.
std::vector<char*> argumentPointers(const std::string& tool,
                                    const std::vector<std::string>& arguments) {
    std::vector<char*> pointers = {const_cast<char*>(tool.c_str())};
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

/// The limit: nothing but what the kernel must do.
void launchWithVfork(const std::string& tool) {
    const auto arguments = argumentPointers(tool, {});
    const pid_t child = ::vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (child == 0) {
        ::execve(tool.c_str(), arguments.data(), environ);
        ::_exit(127);
    }
    waitFor(child);
}

void launchWithPosixSpawn(const std::string& tool) {
    pid_t child = 0;
    const auto arguments = argumentPointers(tool, {});
    require(posix_spawn(&child, tool.c_str(), nullptr, nullptr, arguments.data(), environ) == 0);
    waitFor(child);
}

void launchWithQProcess(const std::string& tool) {
    QProcess process;
    process.start(QString::fromStdString(tool), {});
    require(process.waitForFinished(-1) && process.exitCode() == 0);
}

void launchWithGlib(const std::string& tool) {
    auto arguments = argumentPointers(tool, {});
    int status = -1;
    require(g_spawn_sync(
                nullptr, arguments.data(), nullptr,
                static_cast<GSpawnFlags>(G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL),
                nullptr, nullptr, nullptr, nullptr, &status, nullptr) == TRUE &&
            status == 0);
}

void launchWithSystem(const std::string& tool) {
    require(std::system(tool.c_str()) == 0); // NOLINT(cert-env33-c): it is what is measured
}

void launchWithBoost(const std::string& tool) { require(boost::process::system(tool) == 0); }

struct Spawned {
    pid_t child = 0;
    int output = -1;
};

Spawned spawnWithPipe(const std::string& tool, const std::vector<std::string>& arguments) {
    std::array<int, 2> ends{};
    require(::pipe2(ends.data(), O_CLOEXEC) == 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    Spawned spawned{0, ends[0]};
    require(posix_spawn(&spawned.child, tool.c_str(), &actions, nullptr,
                        argumentPointers(tool, arguments).data(), environ) == 0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    return spawned;
}

/// The limit: nothing is kept.
std::size_t readAndDrop(const std::string& tool, const std::vector<std::string>& arguments) {
    const Spawned spawned = spawnWithPipe(tool, arguments);
    std::vector<char> buffer(1 << 20);
    std::size_t size = 0;
    ssize_t count = 0;
    while ((count = ::read(spawned.output, buffer.data(), buffer.size())) > 0)
        size += static_cast<std::size_t>(count);
    ::close(spawned.output);
    waitFor(spawned.child);
    return size;
}

/// What is written by hand most often.
std::size_t readIntoString(const std::string& tool, const std::vector<std::string>& arguments) {
    const Spawned spawned = spawnWithPipe(tool, arguments);
    std::array<char, 65536> buffer{};
    std::string text;
    ssize_t count = 0;
    while ((count = ::read(spawned.output, buffer.data(), buffer.size())) > 0)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    ::close(spawned.output);
    waitFor(spawned.child);
    return text.size();
}

std::size_t captureWithQProcess(const std::string& tool,
                                const std::vector<std::string>& arguments) {
    QStringList texts;
    for (const std::string& argument : arguments) texts.append(QString::fromStdString(argument));
    QProcess process;
    process.start(QString::fromStdString(tool), texts);
    require(process.waitForFinished(-1) && process.exitCode() == 0);
    return static_cast<std::size_t>(process.readAllStandardOutput().size());
}

std::size_t captureWithGlib(const std::string& tool, const std::vector<std::string>& arguments) {
    auto pointers = argumentPointers(tool, arguments);
    char* output = nullptr;
    int status = -1;
    // It counts the bytes only by their end: what is printed holds no NUL.
    require(g_spawn_sync(nullptr, pointers.data(), nullptr, G_SPAWN_DEFAULT, nullptr, nullptr,
                         &output, nullptr, &status, nullptr) == TRUE &&
            status == 0);
    const std::unique_ptr<char, decltype(&g_free)> held(output, g_free);
    return std::char_traits<char>::length(output);
}

std::size_t captureWithBoost(const std::string& tool, const std::vector<std::string>& arguments) {
    boost::asio::io_context context;
    std::future<std::string> output;
    require(boost::process::system(tool, boost::process::args(arguments),
                                   boost::process::std_out > output, context) == 0);
    return output.get().size();
}

} // namespace

const std::vector<LaunchPeer>& launchPeers() {
    static const std::vector<LaunchPeer> peers = {
        {"vfork", launchWithVfork, 1.15},     {"posix_spawn", launchWithPosixSpawn, 1.15},
        {"qprocess", launchWithQProcess, 1.}, {"glib", launchWithGlib, 1.},
        {"system", launchWithSystem, 1.},     {"boost", launchWithBoost, 1.}};
    return peers;
}

const std::vector<CapturePeer>& capturePeers() {
    static const std::vector<CapturePeer> peers = {{"read-and-drop", readAndDrop, 0.5},
                                                   {"posix_spawn", readIntoString, 1.},
                                                   {"glib", captureWithGlib, 1.},
                                                   {"qprocess", captureWithQProcess, 1.4},
                                                   {"boost", captureWithBoost, 1.}};
    return peers;
}

} // namespace quorvane::bench
