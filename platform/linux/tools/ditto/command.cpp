#include "platform/linux/tools/ditto/command.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

struct Options {
    bool create = false;
    bool extract = false;
    bool zip = false;
    bool keepParent = false;
};

void takeLetter(char letter, Options& options) {
    if (letter == 'c') {
        options.create = true;
    } else if (letter == 'x') {
        options.extract = true;
    } else if (letter == 'k') {
        options.zip = true;
    } else {
        throw UsageError(std::string("unknown option -") + letter);
    }
}

void takeOption(const std::string& text, Options& options) {
    if (text == "--keepParent") {
        options.keepParent = true;
    } else if (text.starts_with("--")) {
        throw UsageError("unknown option " + text);
    } else {
        for (const char letter : text.substr(1)) takeLetter(letter, options);
    }
}

} // namespace

Command parseCommand(const Arguments& arguments) {
    Options options;
    std::size_t next = 0;
    while (next < arguments.size() && arguments[next].starts_with('-')) {
        const std::string& text = arguments[next++];
        if (text == "--") break;
        takeOption(text, options);
    }
    if (options.create == options.extract) throw UsageError("give either -c or -x");
    if (!options.zip) throw UsageError("give -k: archives are zip archives");
    if (options.extract && options.keepParent) throw UsageError("--keepParent goes with -c");
    if (arguments.size() - next != 2) throw UsageError("give a source and a destination");
    return {options.create ? Command::Action::create : Command::Action::extract, options.keepParent,
            arguments[next], arguments[next + 1]};
}

} // namespace quorvane::platform::linux_::tools::ditto
