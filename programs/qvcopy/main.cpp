// Copies a file to several places at once, and verifies each.
#include <iostream>

#include "platform/CommandLine.h"
#include "programs/program.h"
#include "programs/qvcopy/command.h"
#include "programs/qvcopy/copy.h"

namespace {

using namespace quorvane;
using namespace quorvane::programs;

constexpr const char* kUsage =
    R"(usage: qvcopy [--verify md5|sha1|sha256|sha512] SOURCE DESTINATION...
Copies a file to one or several files, or into folders, while it reads it once. With --verify each
destination is read back and compared with the source, and the digests are printed.
       qvcopy --help
       qvcopy --version
Exit status: 0 copied, and verified if asked; 1 failed; 2 copied, but a destination differs;
64 wrong usage; 130 cancelled.
)";

int qvcopyMain(const Arguments& arguments, const platform::CommandLine& commandLine) {
    return run({.name = qvcopy::kName,
                .usage = kUsage,
                .body =
                    [&](const Arguments& texts) {
                        return qvcopy::copy(qvcopy::parseCommand(texts), commandLine, std::cout);
                    }},
               arguments, commandLine);
}

} // namespace

int main(int argc, char** argv) { return platform::commandLineMain(argc, argv, qvcopyMain); }
