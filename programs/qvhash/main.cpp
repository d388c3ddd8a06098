// Prints digests of files.
#include <iostream>

#include "platform/CommandLine.h"
#include "programs/program.h"
#include "programs/qvhash/command.h"
#include "programs/qvhash/hash.h"

namespace {

using namespace quorvane;
using namespace quorvane::programs;

constexpr const char* kUsage =
    R"(usage: qvhash [--md5|--sha1|--sha256|--sha512 | -a ALGORITHM] FILE...
Prints the files' digests, SHA-256 unless asked otherwise, as "sha256sum -c" and its kin check them.
       qvhash --help
       qvhash --version
Exit status: 0 all hashed, 1 a file failed, 64 wrong usage, 130 cancelled.
)";

int qvhashMain(const Arguments& arguments, const platform::CommandLine& commandLine) {
    return run({.name = qvhash::kName,
                .usage = kUsage,
                .body =
                    [&](const Arguments& texts) {
                        return qvhash::hash(qvhash::parseCommand(texts), commandLine, std::cout);
                    }},
               arguments, commandLine);
}

} // namespace

int main(int argc, char** argv) { return platform::commandLineMain(argc, argv, qvhashMain); }
