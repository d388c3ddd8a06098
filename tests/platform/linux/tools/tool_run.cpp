#include "tests/platform/linux/tools/tool_run.h"

#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/linux/posix.h"
#include "platform/linux/spawn.h"
#include "tests/platform/linux/scratch_folder.h"

extern "C" { // which the header forgets in glibc 2.36
#include <sys/pidfd.h>
}

namespace quorvane::testing {
namespace {

using platform::linux_::Descriptor;

Descriptor createFile(const Path& path) {
    return Descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

int waitFor(const Descriptor& child) {
    siginfo_t info{};
    EXPECT_EQ(waitid(P_PIDFD, static_cast<id_t>(child.get()), &info, WEXITED), 0);
    return info.si_code == CLD_EXITED ? info.si_status : -info.si_status;
}

} // namespace

ToolRun runTool(const Path& program, const Arguments& arguments,
                const std::optional<Path>& folder) {
    const ScratchFolder scratch;
    const Descriptor output = createFile(scratch / "output");
    const Descriptor error = createFile(scratch / "error");
    const Arguments inFolder = {"-C", folder.value_or("/"), "--", program};
    Arguments whole = folder ? inFolder : Arguments();
    whole.insert(whole.end(), arguments.begin(), arguments.end());
    const auto child =
        platform::linux_::spawn(folder ? "/usr/bin/env" : program, whole, std::nullopt,
                                {platform::linux_::kNullDevice, output.get(), error.get()});
    if (!child) {
        ADD_FAILURE() << program << ": " << child.error().text;
        return {};
    }
    const int status = waitFor(child.value());
    return {status, contentOf(scratch / "output"), contentOf(scratch / "error")};
}

std::string runPython(const std::string& script, const Arguments& arguments) {
    Arguments whole = {"-c", script};
    whole.insert(whole.end(), arguments.begin(), arguments.end());
    const ToolRun run = runTool("/usr/bin/python3", whole);
    EXPECT_EQ(run.status, 0) << run.error;
    return run.output;
}

} // namespace quorvane::testing
