#include "tests/desktop/agent/arguments.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace quorvane::testing {
namespace {

[[noreturn]] void usage() {
    std::fputs("usage: desktop_agent --note FILE [--user NAME] [--password PASSWORD | --cancel | "
               "--hold] PROGRAM [ARGUMENT...]\n",
               stderr);
    std::exit(2);
}

} // namespace

Arguments parseArguments(char** argv) {
    Arguments arguments;
    char** next = argv + 1;
    const auto value = [&next]() -> std::string { return *next ? *next++ : (usage(), ""); };
    while (*next && std::string_view(*next).starts_with("--")) {
        const std::string_view option = *next++;
        if (option == "--note") {
            arguments.note = value();
        } else if (option == "--user") {
            arguments.user = value();
        } else if (option == "--password") {
            arguments.answer = Arguments::Answer::password;
            arguments.password = value();
        } else if (option == "--cancel") {
            arguments.answer = Arguments::Answer::cancel;
        } else if (option == "--hold") {
            arguments.answer = Arguments::Answer::hold;
        } else {
            usage();
        }
    }
    if (!*next || arguments.note.empty()) usage();
    arguments.program = next;
    return arguments;
}

} // namespace quorvane::testing
