#include "programs/options.h"

#include <algorithm>

namespace quorvane::programs {
namespace {

const Option& find(const std::string& name, const std::vector<Option>& options) {
    const auto found = std::ranges::find(options, name, &Option::name);
    if (found == options.end()) throw UsageError("unknown option " + name);
    return *found;
}

} // namespace

Arguments takeOptions(const Arguments& arguments, const std::vector<Option>& options) {
    Arguments others;
    for (auto next = arguments.begin(); next != arguments.end(); ++next) {
        if (*next == "--") {
            others.insert(others.end(), next + 1, arguments.end());
            break;
        }
        // A single dash is a name as any other.
        if (!next->starts_with('-') || *next == "-") {
            others.push_back(*next);
            continue;
        }
        const std::size_t equals = next->starts_with("--") ? next->find('=') : std::string::npos;
        const std::string name = next->substr(0, equals);
        const Option& option = find(name, options);
        if (!option.takesValue) {
            if (equals != std::string::npos) throw UsageError(option.name + " takes no value");
            option.take({});
        } else if (equals != std::string::npos) {
            option.take(next->substr(equals + 1));
        } else if (++next == arguments.end()) {
            throw UsageError(option.name + " needs a value");
        } else {
            option.take(*next);
        }
    }
    return others;
}

} // namespace quorvane::programs
