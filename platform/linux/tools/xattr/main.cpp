// Reads and changes extended attributes from the command line.
#include <iostream>

#include "platform/linux/tools/xattr/attributes.h"

namespace {

constexpr const char* kUsage = R"(usage: xattr FILE...                     names of the attributes
       xattr -l FILE...                  names and values
       xattr -p NAME FILE...             the value of an attribute
       xattr -w NAME VALUE FILE...       creates or replaces an attribute
       xattr -d NAME FILE...             removes an attribute
A NAME without a namespace stands in "user.". Links are followed.
Exit status: 0 done, 1 failed for a file at least, 64 wrong usage.
)";

} // namespace

int main(int count, char** texts) {
    using namespace quorvane;
    using namespace platform::linux_::tools;
    return run({.name = "xattr",
                .usage = kUsage,
                .body =
                    [](const Arguments& arguments, Report& report) {
                        xattr::perform(xattr::parseCommand(arguments), std::cout, report);
                    }},
               count, texts);
}
