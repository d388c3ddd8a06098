#include "programs/qvhash/command.h"

#include <map>

#include "programs/options.h"

namespace quorvane::programs::qvhash {
namespace {

using platform::DigestAlgorithm;

const std::map<std::string, DigestAlgorithm>& algorithms() {
    static const std::map<std::string, DigestAlgorithm> kAlgorithms = {
        {"md5", DigestAlgorithm::md5},
        {"sha1", DigestAlgorithm::sha1},
        {"sha256", DigestAlgorithm::sha256},
        {"sha512", DigestAlgorithm::sha512}};
    return kAlgorithms;
}

DigestAlgorithm algorithmNamed(const std::string& name) {
    const auto algorithm = algorithms().find(name);
    if (algorithm == algorithms().end()) throw UsageError("unknown algorithm " + name);
    return algorithm->second;
}

} // namespace

Command parseCommand(const Arguments& arguments) {
    Command command;
    std::vector<Option> options = {
        {"-a", true, [&](const std::string& name) { command.algorithm = algorithmNamed(name); }}};
    for (const auto& [name, algorithm] : algorithms())
        options.push_back({"--" + name, false, [&command, algorithm = algorithm](const auto&) {
                               command.algorithm = algorithm;
                           }});
    command.files = takeOptions(arguments, options);
    if (command.files.empty()) throw UsageError("a file is missing");
    return command;
}

} // namespace quorvane::programs::qvhash
