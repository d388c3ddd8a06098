#include "platform/linux/tools/xattr/attributes.h"

#include <algorithm>
#include <map>

#include <sys/xattr.h>

#include "platform/linux/extended_attributes.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::tools::xattr {
namespace {

constexpr std::string_view kUserNamespace = "user.";

using Action = Command::Action;

std::string wholeName(const std::string& name) {
    const Result<std::string> whole = attributeName(name);
    if (!whole) throw Failure(name, whole.error());
    return whole.value();
}

/// The shortest name that means the attribute.
std::string shownName(const std::string& whole) {
    if (!whole.starts_with(kUserNamespace)) return whole;
    const std::string shortName = whole.substr(kUserNamespace.size());
    return wholeName(shortName) == whole ? shortName : whole;
}

/// Fills a text by a system call that answers the size when there is no buffer. The answer grows
/// when somebody else changes the file meanwhile, so the call is repeated.
template <class Call>
std::string filled(Call call) {
    for (;;) {
        const ssize_t size = call(nullptr, 0);
        if (size < 0) throw Failure(systemError().text);
        if (size == 0) return {};
        std::string text(static_cast<std::size_t>(size), '\0');
        const ssize_t length = call(text.data(), text.size());
        if (length >= 0) return text.substr(0, static_cast<std::size_t>(length));
        if (errno != ERANGE) throw Failure(systemError().text);
    }
}

std::vector<std::string> namesOf(const Path& file) {
    const std::string list = filled(
        [&](char* buffer, std::size_t size) { return listxattr(file.c_str(), buffer, size); });
    std::vector<std::string> names;
    for (std::size_t start = 0; start < list.size(); start += names.back().size() + 1)
        names.emplace_back(list.c_str() + start);
    std::sort(names.begin(), names.end());
    return names;
}

std::string valueOf(const Path& file, const std::string& whole) {
    return filled([&](char* buffer, std::size_t size) {
        return getxattr(file.c_str(), whole.c_str(), buffer, size);
    });
}

/// Throws the reason why a system call failed.
void check(int result, const Command& command) {
    if (result == 0) return;
    if (errno == ENODATA) throw Failure("no attribute " + command.name);
    throw Failure(systemError().text);
}

void performOn(const Path& file, const Command& command, std::ostream& output) {
    // Tells files apart only where there are several.
    const std::string prefix = command.files.size() > 1 ? file + ": " : "";
    const std::string whole = wholeName(command.name);
    switch (command.action) {
    case Action::listNames:
        for (const std::string& name : namesOf(file)) output << prefix << shownName(name) << '\n';
        return;
    case Action::listValues:
        for (const std::string& name : namesOf(file))
            output << prefix << shownName(name) << ": " << valueOf(file, name) << '\n';
        return;
    case Action::print:
        check(getxattr(file.c_str(), whole.c_str(), nullptr, 0) < 0 ? -1 : 0, command);
        output << prefix << valueOf(file, whole) << '\n';
        return;
    case Action::write:
        check(setxattr(file.c_str(), whole.c_str(), command.value.data(), command.value.size(), 0),
              command);
        return;
    case Action::remove:
        check(removexattr(file.c_str(), whole.c_str()), command);
        return;
    }
}

} // namespace

Command parseCommand(const Arguments& arguments) {
    struct Form {
        Action action;
        std::size_t operands; ///< before the files
    };
    static const std::map<std::string, Form> kForms = {{"-l", {Action::listValues, 0}},
                                                       {"-p", {Action::print, 1}},
                                                       {"-w", {Action::write, 2}},
                                                       {"-d", {Action::remove, 1}}};
    Command command;
    std::size_t next = 0;
    std::size_t operands = 0;
    if (!arguments.empty() && arguments.front().starts_with('-')) {
        const auto form = kForms.find(arguments.front());
        if (form != kForms.end()) {
            command.action = form->second.action;
            operands = form->second.operands;
        } else if (arguments.front() != "--") {
            throw UsageError("unknown option " + arguments.front());
        }
        next = 1;
    }
    if (arguments.size() <= next + operands) throw UsageError("too few arguments");
    if (operands > 0) command.name = arguments[next++];
    if (operands > 1) command.value = arguments[next++];
    if (operands > 0 && command.name.empty()) throw UsageError("an attribute needs a name");
    for (; next < arguments.size(); ++next) command.files.push_back(arguments[next]);
    return command;
}

void perform(const Command& command, std::ostream& output, Report& report) {
    for (const Path& file : command.files) {
        try {
            performOn(file, command, output);
        } catch (const Failure& failure) {
            report.failure(file, failure.what());
        }
    }
}

} // namespace quorvane::platform::linux_::tools::xattr
