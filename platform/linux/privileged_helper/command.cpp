#include "platform/linux/privileged_helper/command.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace quorvane::platform::linux_::helper {
namespace {

struct Form {
    Job job = Job::remove;
    const char* tool = nullptr;
    std::array<const char*, 3> asked{}; ///< the options of the request, to the letter
    const char* given = nullptr;        ///< what the tool gets for them
    std::uint32_t operandCount = 0;
    Replace replace = Replace::yes;
};

// Removals, moves and copies have no tool: they are the helper's own work.
// -nT: the same without replacing anything, as the Trash asks for.
// -h: of a link the link itself is touched.
constexpr std::array<Form, 9> kForms{{
    {Job::remove, "/bin/rm", {"-Rdf"}, nullptr, 1},
    {Job::remove, "/bin/rm", {"-R", "-f"}, nullptr, 1},
    {Job::removeEmptyFolders, "/bin/rmdir", {}, nullptr, 1},
    {Job::move, "/bin/mv", {"-f"}, nullptr, 2},
    {Job::move, "/bin/mv", {"-nT"}, nullptr, 2, Replace::no},
    {Job::copy, "/bin/cp", {"-f", "-p", "-R"}, nullptr, 2},
    {Job::copy, "/bin/cp", {"-nT", "-p", "-R"}, nullptr, 2, Replace::no},
    {Job::makeFolder, "/bin/mkdir", {"-p"}, "-p", 1},
    {Job::touch, "/usr/bin/touch", {"-c"}, "-ch", 1},
}};

std::uint32_t optionCount(const Form& form) {
    return static_cast<std::uint32_t>(
        std::count_if(form.asked.begin(), form.asked.end(), [](const char* text) { return text; }));
}

bool asksFor(const Request& request, const Form& form) {
    const auto options = optionCount(form);
    if (request.count != 1 + options + form.operandCount) return false;
    return std::equal(form.asked.begin(), form.asked.begin() + options, request.texts.begin() + 1,
                      [](std::string_view asked, std::string_view text) { return asked == text; });
}

bool isPlainAbsolute(std::string_view path) {
    if (!path.starts_with('/')) return false;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string_view part = path.substr(0, path.find('/'));
        if (part.empty() || part == "." || part == "..") return false;
        path.remove_prefix(part.size());
    }
    return true;
}

} // namespace

Command readCommand(const Request& request) {
    Command command;
    command.error = EPERM;
    for (const Form& form : kForms) {
        if (std::string_view(request.texts[0]) != form.tool) continue;
        command.error = EINVAL;
        if (!asksFor(request, form)) continue;
        command.job = form.job;
        command.tool = form.tool;
        command.option = form.given;
        command.replace = form.replace;
        command.operandCount = form.operandCount;
        const auto* const first = request.texts.begin() + 1 + optionCount(form);
        std::copy_n(first, form.operandCount, command.operands.begin());
        if (std::all_of(first, first + form.operandCount, isPlainAbsolute)) command.error = 0;
        break;
    }
    return command;
}

} // namespace quorvane::platform::linux_::helper
