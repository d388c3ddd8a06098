// Copies files to several places at once, and verifies each copy.
#include <iostream>

#include "platform/CommandLine.h"
#include "programs/program.h"
#include "programs/qvcopy/command.h"
#include "programs/qvcopy/copy.h"

namespace {

using namespace quorvane;
using namespace quorvane::programs;

constexpr const char* kUsage =
    R"(usage: qvcopy [OPTION]... SOURCE DESTINATION
       qvcopy [OPTION]... SOURCE... FOLDER
       qvcopy [OPTION]... --to FOLDER [--to FOLDER]... SOURCE...
       qvcopy --help
       qvcopy --version
Copies files to a file or into folders, and reads each once, however many folders it goes to.
  --to FOLDER         copies into the folder; several get a copy each
  --verify ALGORITHM  md5, sha1, sha256 or sha512: reads back each destination, compares it with
                      the source, and prints the digests
  --force             replaces the content of files that are there
Exit status: 0 copied, and verified if asked; 1 failed; 2 copied, but a destination differs, or
nothing copied, as a folder stands where a file belongs, or the other way round; 64 wrong usage;
130 cancelled.
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
