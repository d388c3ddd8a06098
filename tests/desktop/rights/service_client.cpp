// Does with the authorization service what it is told, a line at a time, and prints what came of
// it.
//
// start                      asks with a dialog                  -> status
// login USER PASSWORD        asks without one                    -> status
// inherit                    takes what a parent handed down     -> status
// free                       ends the session                    -> 0
// run TOOL ARGUMENT...       starts a tool and waits for its end -> status, reason, output
// begin TOOL ARGUMENT...     starts a tool                       -> status, reason
// many THREADS COUNT FOLDER  touches the folder so often         -> successes
//
// Words are separated by tabs.

#include <atomic>
#include <iostream>
#include <sstream>
#include <thread>
#include <vector>

#include "platform/Authorization.h"
#include "platform/Services.h"
#include "platform/linux/services.h"

namespace {

using namespace quorvane::platform;
using Words = std::vector<std::string>;

const AuthorizationItems kRight{{"system.privilege.admin", {}, 0}};
constexpr AuthorizationFlags kSilently = kAuthorizationExtendRights | kAuthorizationPreAuthorize;

class Client {
public:
    explicit Client(Authorization& service) : service_(service) {}

    void obey(const Words& words) {
        const std::string& order = words.at(0);
        if (order == "start")
            say(authorize({}, kSilently | kAuthorizationInteractionAllowed));
        else if (order == "login")
            say(authorize({{"username", words.at(1), 0}, {"password", words.at(2), 0}}, kSilently));
        else if (order == "inherit")
            inherit();
        else if (order == "run" || order == "begin")
            run(words, order == "run");
        else if (order == "many")
            many(std::stoi(words.at(1)), std::stoi(words.at(2)), words.at(3));
        else if (order == "free") {
            free();
            say(0);
        }
    }

private:
    template <class... Values>
    static void say(const Values&... values) {
        ((std::cout << values << '\t'), ...) << std::endl;
    }

    AuthorizationStatus authorize(const AuthorizationItems& environment, AuthorizationFlags flags) {
        const auto created = service_.create({}, environment, kAuthorizationDefaults);
        reference_ = created.reference;
        const auto status = service_.copyRights(reference_, kRight, environment, flags);
        if (status != kAuthorizationSuccess) free();
        return status;
    }

    void inherit() {
        const auto inherited = service_.copyPrivilegedReference(kAuthorizationDefaults);
        reference_ = inherited.reference;
        say(inherited.status);
    }

    void free() {
        service_.free(reference_, kAuthorizationDefaults);
        reference_ = nullptr;
    }

    void run(const Words& words, bool waits) {
        auto execution = service_.executeWithPrivileges(
            reference_, words.at(1), kAuthorizationDefaults, {words.begin() + 2, words.end()});
        std::string output;
        for (int c = 0; waits && execution.pipe && (c = execution.pipe->readCharacter()) >= 0;)
            output.push_back(static_cast<char>(c));
        say(execution.status, execution.reason.code, output);
        pipes_.push_back(std::move(execution.pipe));
    }

    void many(int threads, int count, const std::string& folder) {
        std::atomic<int> successes{0};
        std::vector<std::thread> crew;
        for (int number = 0; number < threads; ++number)
            crew.emplace_back([&] {
                std::vector<std::unique_ptr<CommunicationsPipe>> kept;
                for (int run = 0; run < count; ++run) {
                    kept.push_back(service_
                                       .executeWithPrivileges(reference_, "/usr/bin/touch",
                                                              kAuthorizationDefaults,
                                                              {"-c", folder})
                                       .pipe);
                    if (kept.back() && kept.back()->readCharacter() == -1) ++successes;
                }
            });
        for (std::thread& thread : crew) thread.join();
        say(successes.load());
    }

    Authorization& service_;
    AuthorizationRef reference_ = nullptr;
    std::vector<std::unique_ptr<CommunicationsPipe>> pipes_; // kept, as the kit keeps them
};

} // namespace

int main() {
    const auto services = linux_::makeServices(nullptr);
    Client client(*services.authorization);
    for (std::string line; std::getline(std::cin, line);) {
        Words words;
        std::istringstream stream(line);
        for (std::string word; std::getline(stream, word, '\t');) words.push_back(word);
        client.obey(words);
    }
}
