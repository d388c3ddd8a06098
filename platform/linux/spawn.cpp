#include "platform/linux/spawn.h"

#include <array>
#include <csignal>
#include <cstddef>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/signals_blocked.h"
#include "platform/linux/spawn_child.h"

/// clone, by a name that the thread sanitizer does not take for a fork.
extern "C" int __clone(int (*)(void*), void* stack, int flags, void* argument, ...) noexcept;

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

/// Starts a child that shares this process's memory until it has become the tool, while the calling
/// thread waits. Nothing is copied, so that it takes no longer from a large process.
Result<Descriptor> startChild(ChildPlan& plan) {
    // No more than a few system calls; no signal handler runs on it.
    alignas(16) std::array<std::byte, 16384> stack; // NOLINT(*-member-init): it is the child's
    int process = -1;
    const SignalsBlocked blocked; // a handler would run in the child with its parent's memory
    const int child = ::__clone(becomeTool, stack.data() + stack.size(),
                                CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD, &plan, &process);
    if (child == -1) return systemError();
    return Descriptor(process);
}

void reap(const Descriptor& child) {
    siginfo_t info{};
    retryInterrupted(
        [&] { return ::waitid(P_PIDFD, static_cast<id_t>(child.get()), &info, WEXITED); });
}

} // namespace

Result<Descriptor> spawn(const Path& path, const Arguments& arguments,
                         const std::optional<Environment>& environment,
                         const StandardDescriptors& streams) {
    StringArray argumentTexts = argumentArray(path, arguments);
    StringArray variables = environmentArray(environment.value_or(Environment()));
    if (argumentTexts.isCut() || variables.isCut()) return systemError(EINVAL);

    ChildPlan plan{path.c_str(), argumentTexts.pointers(),
                   environment ? variables.pointers() : environ, streams};
    auto child = startChild(plan);
    if (!child || plan.error == 0) return child;
    reap(child.value());
    return systemError(plan.error);
}

Descriptor aboveStandardStreams(Descriptor descriptor) {
    if (descriptor.get() > STDERR_FILENO) return descriptor;
    return Descriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

} // namespace quorvane::platform::linux_
