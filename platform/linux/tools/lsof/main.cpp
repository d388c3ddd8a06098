// Lists open files.
#include "platform/linux/tools/lsof/lister.h"
#include "platform/linux/tools/program.h"

namespace {

constexpr const char* kUsage = R"(usage: lsof [-F FIELDS] [-w] FILE...   who has the files open
Runs the system's lsof with these or any others of its arguments. FIELDS may
begin with a blank; with -w missing files are not complained about either.
Exit status: that of the system's lsof, 1 where there is none.
)";

} // namespace

int main(int count, char** texts) {
    using namespace quorvane;
    using namespace platform::linux_::tools;
    return run({.name = "lsof",
                .usage = kUsage,
                .body = [](const Arguments& arguments,
                           Report& /*report*/) { lsof::becomeSystemLister(arguments); }},
               count, texts);
}
