#include "platform/linux/spawn.h"

#include <csignal>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // which the header forgets in glibc 2.36
#include <sys/pidfd.h>
}

namespace quorvane::platform::linux_ {
namespace {

/// A null-terminated array of C strings, as exec takes it.
class StringArray {
public:
    void add(std::string text) {
        cut_ = cut_ || text.find('\0') != std::string::npos;
        texts_.push_back(std::move(text));
    }
    /// Whether a NUL byte would cut one of the strings short.
    bool isCut() const { return cut_; }
    /// Valid until the next `add`.
    char* const* pointers() {
        pointers_.clear();
        for (std::string& text : texts_) pointers_.push_back(text.data());
        pointers_.push_back(nullptr);
        return pointers_.data();
    }

private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
    bool cut_ = false;
};

StringArray argumentArray(const Path& path, const Arguments& arguments) {
    StringArray array;
    array.add(path);
    for (const std::string& argument : arguments) array.add(argument);
    return array;
}

StringArray environmentArray(const Environment& environment) {
    StringArray array;
    for (const auto& [name, value] : environment) array.add(std::string(name) + "=" + value);
    return array;
}

/// What the child does with its descriptors before it becomes the tool.
class FileActions {
public:
    explicit FileActions(const StandardDescriptors& streams) {
        check(posix_spawn_file_actions_init(&actions_));
        for (int target = 0; const int source : streams) connect(source, target++);
        check(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
    }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    const posix_spawn_file_actions_t* get() const { return &actions_; }
    /// The error number of what could not be prepared; 0 if all could.
    int error() const { return error_; }

private:
    void connect(int source, int target) {
        if (source == kNullDevice)
            check(posix_spawn_file_actions_addopen(&actions_, target, "/dev/null", O_RDWR, 0));
        else
            check(posix_spawn_file_actions_adddup2(&actions_, source, target));
    }
    void check(int code) {
        if (error_ == 0) error_ = code;
    }

    posix_spawn_file_actions_t actions_{};
    int error_ = 0;
};

/// The tool starts with no signal blocked and all of them doing what they do by default.
class SpawnAttributes {
public:
    SpawnAttributes() : error_(posix_spawnattr_init(&attributes_)) {
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }
    int error() const { return error_; }

private:
    posix_spawnattr_t attributes_{};
    int error_;
};

/// The child's process descriptor. A child that this process cannot hold is ended and reaped: it
/// could be neither waited for nor terminated.
Result<Descriptor> holdChild(pid_t child) {
    Descriptor held(::pidfd_open(child, 0));
    if (held) return held;
    const int code = errno;
    ::kill(child, SIGKILL);
    siginfo_t info{};
    retryInterrupted([&] { return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED); });
    return systemError(code);
}

} // namespace

Result<Descriptor> spawn(const Path& path, const Arguments& arguments,
                         const std::optional<Environment>& environment,
                         const StandardDescriptors& streams) {
    // Out of descriptors, it fails here, before anything is started.
    Descriptor spare(::eventfd(0, EFD_CLOEXEC));
    if (!spare) return systemError();
    const FileActions actions(streams);
    if (actions.error() != 0) return systemError(actions.error());
    const SpawnAttributes attributes;
    if (attributes.error() != 0) return systemError(attributes.error());
    StringArray argumentTexts = argumentArray(path, arguments);
    StringArray variables = environmentArray(environment.value_or(Environment()));
    if (argumentTexts.isCut() || variables.isCut()) return systemError(EINVAL);

    pid_t child = 0;
    const int code =
        posix_spawn(&child, path.c_str(), actions.get(), attributes.get(), argumentTexts.pointers(),
                    environment ? variables.pointers() : environ);
    if (code != 0) return systemError(code);
    spare.reset();
    return holdChild(child);
}

Descriptor aboveStandardStreams(Descriptor descriptor) {
    if (descriptor.get() > STDERR_FILENO) return descriptor;
    return Descriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

} // namespace quorvane::platform::linux_
