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
    const Option verify = {"--verify", true, [&](const std::string& name) {
                               command.verification = verificationNamed(name);
                           }};
    const Arguments names = takeOptions(arguments, {verify});
    if (names.empty()) throw UsageError("a source is missing");
    if (names.size() == 1) throw UsageError("a destination is missing");
    command.source = names.front();
    command.destinations.assign(names.begin() + 1, names.end());
    return command;
}

} // namespace quorvane::programs::qvcopy
