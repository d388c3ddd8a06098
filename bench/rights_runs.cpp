// Times the authorization service: `rights_runs USER PASSWORD FOLDER` prints the milliseconds of
// authenticating, then the microseconds of a tool through the session and of one without rights.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/Authorization.h"
#include "platform/Services.h"
#include "platform/linux/services.h"

namespace {

using namespace quorvane::platform;

constexpr int kRounds = 400;
constexpr const char* kTool = "/usr/bin/touch";

template <class Work>
double microseconds(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
        .count();
}

double median(std::vector<double> times) {
    std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
    return times.at(kRounds / 2);
}

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

AuthorizationRef authenticate(Authorization& service, const char* user, const char* password) {
    const AuthorizationItems environment{{"username", user, 0}, {"password", password, 0}};
    const auto created = service.create({}, environment, kAuthorizationDefaults);
    require(service.copyRights(created.reference, {{"system.privilege.admin", {}, 0}}, environment,
                               kAuthorizationExtendRights | kAuthorizationPreAuthorize) ==
                kAuthorizationSuccess,
            "the right was not granted");
    return created.reference;
}

void runWithRights(Authorization& service, AuthorizationRef reference, const std::string& folder) {
    const auto run =
        service.executeWithPrivileges(reference, kTool, kAuthorizationDefaults, {"-c", folder});
    require(run.pipe && run.pipe->readCharacter() == -1, "the tool did not run");
}

void runWithout(const std::string& folder) {
    std::string option = "-c";
    std::string operand = folder;
    std::string tool = kTool;
    char* const arguments[] = {tool.data(), option.data(), operand.data(), nullptr};
    pid_t child = 0;
    int status = -1;
    require(posix_spawn(&child, kTool, nullptr, nullptr, arguments, environ) == 0 &&
                ::waitpid(child, &status, 0) == child,
            "the tool did not run");
}

} // namespace

int main(int count, char** arguments) {
    require(count == 4, "usage: rights_runs USER PASSWORD FOLDER");
    const auto services = linux_::makeServices(nullptr);
    Authorization& service = *services.authorization;
    AuthorizationRef reference = nullptr;
    const double asked =
        microseconds([&] { reference = authenticate(service, arguments[1], arguments[2]); });
    std::vector<double> with;
    std::vector<double> without;
    for (int round = 0; round < kRounds; ++round) {
        with.push_back(microseconds([&] { runWithRights(service, reference, arguments[3]); }));
        without.push_back(microseconds([&] { runWithout("/tmp"); }));
    }
    std::printf("%f %f %f\n", asked / 1000, median(with), median(without));
}
