// Makes and unpacks zip archives.
#include <clocale>
#include <csignal>

#include <malloc.h>

#include "platform/linux/interruption.h"
#include "platform/linux/posix.h"
#include "platform/linux/tools/ditto/command.h"
#include "platform/linux/tools/ditto/create.h"
#include "platform/linux/tools/ditto/extract.h"

namespace {

using namespace quorvane;
using namespace platform::linux_::tools;

/// The library allocates a compressor for each file; its memory is kept for the next one.
constexpr int kKeptMemory = 16 << 20;

constexpr const char* kUsage =
    R"(usage: ditto -c -k [--keepParent] SOURCE ARCHIVE   makes a zip archive
       ditto -x -k ARCHIVE FOLDER                  unpacks a zip archive
Without --keepParent the archive holds what is in a SOURCE folder, with it the folder.
Exit status: 0 done, 1 failed, 64 wrong usage.
)";

void perform(const Arguments& arguments, Report& report) {
    const ditto::Command command = ditto::parseCommand(arguments);
    // Some archives give names in several encodings, the best of them for this one.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    ::mallopt(M_TRIM_THRESHOLD, kKeptMemory);
    platform::linux_::watchForInterruption();
    // What cannot be said or written is a failure like others, which leaves nothing behind.
    for (const int signal : {SIGPIPE, SIGXFSZ})
        platform::linux_::ignore(std::signal(signal, SIG_IGN));
    if (command.action == ditto::Command::Action::create) {
        ditto::createArchive(command.source, command.destination, command.keepParent, report);
    } else {
        ditto::extractArchive(command.source, command.destination, report);
    }
}

} // namespace

int main(int count, char** texts) {
    return run({.name = "ditto", .usage = kUsage, .body = perform}, count, texts);
}
