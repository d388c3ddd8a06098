#include "platform/linux/authorization/process_shield.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <sys/prctl.h>

namespace quorvane::platform::linux_ {
namespace {

/// What PR_GET_DUMPABLE returns for a process that others of its user may look into.
constexpr int kOpenToItsUser = 1;

/// Whether a thread has a tracer, or ended before it could be asked.
bool isTraced(const std::filesystem::path& task) {
    std::ifstream status(task / "status");
    std::string line;
    while (std::getline(status, line))
        if (line.starts_with("TracerPid:")) return line != "TracerPid:\t0";
    std::error_code unknown;
    return std::filesystem::exists(task, unknown) || unknown;
}

} // namespace

bool startedShielded() { return ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) != kOpenToItsUser; }

bool shieldProcess() {
    if (::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0) return false;
    // A tracer is attached to single threads.
    std::error_code failed;
    std::filesystem::directory_iterator task("/proc/self/task", failed);
    for (; !failed && task != end(task); task.increment(failed))
        if (isTraced(*task)) return false;
    return !failed;
}

} // namespace quorvane::platform::linux_
