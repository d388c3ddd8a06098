// Stands in for one of the system's file tools where a program on the kit is the superuser.
#include <iostream>
#include <memory>

#include <unistd.h>

#include "platform/UserIdentity.h"
#include "platform/linux/posix.h"
#include "platform/linux/tools/program.h"
#include "platform/linux/tools/superuser/command.h"
#include "platform/linux/trash.h"
#include "platform/linux/user_identity.h"

int main(int count, char** texts) {
    using namespace quorvane;
    using namespace platform::linux_;
    const Arguments arguments(texts + std::min(count, 1), texts + count);
    if (::getuid() == platform::kSuperuserId) {
        Trash trash(std::make_shared<LinuxUserIdentity>());
        const auto done = tools::superuser::perform(QV_TOOL, arguments, trash);
        if (done && *done) return done->value();
        if (done) {
            std::cerr << texts[0] << ": " << done->error().text << '\n';
            return tools::kFailed;
        }
    }
    // Whoever runs the tool for a purpose of their own gets what they named.
    ::execv(QV_TOOL, texts);
    std::cerr << QV_TOOL << ": " << systemError().text << '\n';
    return tools::kFailed;
}
