#include "programs/qvcopy/command.h"

#include <map>

#include "programs/options.h"

namespace quorvane::programs::qvcopy {
namespace {

VerificationType verificationNamed(const std::string& name) {
    static const std::map<std::string, VerificationType> kTypes = {
        {"md5", VerificationType::md5},
        {"sha1", VerificationType::sha1},
        {"sha256", VerificationType::sha256},
        {"sha512", VerificationType::sha512}};
    const auto type = kTypes.find(name);
    if (type == kTypes.end()) throw UsageError("unknown algorithm " + name);
    return type->second;
}

} // namespace

Command parseCommand(const Arguments& arguments) {
    Command command;
    const std::vector<Option> options = {
        {"--force", false, [&](const std::string&) { command.replaces = true; }},
        {"--to", true,
         [&](const std::string& folder) {
             command.toFolders = true;
             command.destinations.push_back(folder);
         }},
        {"--verify", true,
         [&](const std::string& name) { command.verification = verificationNamed(name); }}};
    command.sources = takeOptions(arguments, options);
    if (command.sources.empty()) throw UsageError("a source is missing");
    if (command.toFolders) return command;
    if (command.sources.size() == 1) throw UsageError("a destination is missing");
    command.destinations.push_back(command.sources.back());
    command.sources.pop_back();
    return command;
}

} // namespace quorvane::programs::qvcopy
