#include "platform/linux/tools/lsof/lister.h"

#include <algorithm>
#include <array>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "platform/linux/posix.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::lsof {
namespace {

/// Distributions differ.
constexpr std::array kListers = {"/usr/bin/lsof", "/usr/sbin/lsof"};

void silenceErrors() {
    const Descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (nowhere) dup2(nowhere.get(), STDERR_FILENO);
}

} // namespace

Arguments forSystemLister(Arguments arguments) {
    for (std::string& argument : arguments) {
        if (argument == "--") break;
        if (argument.starts_with("-F")) std::erase(argument, ' ');
    }
    return arguments;
}

bool isQuiet(const Arguments& arguments) {
    const auto names = std::ranges::find(arguments, "--");
    return std::find(arguments.begin(), names, "-w") != names;
}

void becomeSystemLister(const Arguments& arguments) {
    Arguments words = forSystemLister(arguments);
    words.insert(words.begin(), "lsof");
    std::vector<char*> texts;
    for (std::string& word : words) texts.push_back(word.data());
    texts.push_back(nullptr);
    for (const char* lister : kListers) {
        if (access(lister, X_OK) != 0) continue;
        if (isQuiet(arguments)) silenceErrors();
        execv(lister, texts.data());
    }
    throw Failure("lsof", systemError());
}

} // namespace quorvane::platform::linux_::tools::lsof
