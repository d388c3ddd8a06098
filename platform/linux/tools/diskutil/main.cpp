// Describes volumes to programs.
#include <iostream>

#include "platform/linux/tools/diskutil/description.h"
#include "platform/linux/tools/program.h"

namespace {

using namespace quorvane;
using namespace platform::linux_::tools;

constexpr const char* kUsage = R"(usage: diskutil info -plist ITEM-OR-DEVICE
Describes the volume that an item is on, or a block device, as an XML property list.
Exit status: 0 done, 1 no such volume, 64 wrong usage.
)";

void perform(const Arguments& arguments, Report& /*report*/) {
    if (arguments.size() != 3 || arguments[0] != "info" || arguments[1] != "-plist")
        throw UsageError("give info -plist and one item or device");
    const auto facts = diskutil::describe(arguments[2]);
    if (!facts) throw Failure("could not find disk: " + arguments[2]);
    std::cout << diskutil::propertyList(*facts);
}

} // namespace

int main(int count, char** texts) {
    return run({.name = "diskutil", .usage = kUsage, .body = perform}, count, texts);
}
