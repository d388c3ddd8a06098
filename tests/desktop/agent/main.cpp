// desktop_agent --note FILE [--user NAME] [--password PASSWORD | --cancel | --hold] PROGRAM...
//
// Becomes the program, with a child beside it that answers polkit for it: by a dialog, or at once
// as the options say. Each authentication leaves a line in the file: granted, denied or cancelled;
// one that is held, "asked". The child ends with the program.

#include <cstdio>
#include <fstream>
#include <optional>

#include <QApplication>
#include <QPointer>
#include <csignal>
#include <fcntl.h>
#include <glib.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "platform/linux/password_agent/password_listener.h"
#include "tests/desktop/agent/arguments.h"
#include "tests/desktop/agent/dialog.h"

namespace {

using namespace quorvane::testing;
using namespace quorvane::platform::linux_::agent;

class DesktopAgent {
public:
    explicit DesktopAgent(const Arguments& arguments)
        : arguments_(arguments),
          listener_({.begin = [this](const Request& request) { return begin(request); },
                     .ask = [this] { answer(); },
                     .end = [this](Outcome outcome) { end(outcome); }}) {}

    bool serve(pid_t program) { return listener_.serve(program, getuid()); }

private:
    std::optional<uid_t> begin(const Request& request) {
        message_ = request.message;
        const passwd* const user =
            arguments_.user.empty()
                ? (request.users.empty() ? nullptr : getpwuid(request.users.front()))
                : getpwnam(arguments_.user.c_str());
        if (!user) return std::nullopt;
        user_ = user->pw_name;
        return user->pw_uid;
    }

    void answer() {
        switch (arguments_.answer) {
        case Arguments::Answer::password:
            return listener_.answer(arguments_.password.c_str());
        case Arguments::Answer::cancel:
            return listener_.cancel();
        case Arguments::Answer::hold:
            return note("asked");
        case Arguments::Answer::dialog:
            return showDialog();
        }
    }

    void showDialog() {
        dialog_ = new Dialog(
            message_, user_,
            [this](const std::string& password) { listener_.answer(password.c_str()); },
            [this] { listener_.cancel(); });
        dialog_->show();
        dialog_->activateWindow();
    }

    void end(Outcome outcome) {
        if (dialog_) dialog_->deleteLater(); // polkit asks no longer
        note(outcome == Outcome::granted  ? "granted"
             : outcome == Outcome::denied ? "denied"
                                          : "cancelled");
    }

    void note(const char* line) const {
        std::ofstream(arguments_.note, std::ios::app) << line << '\n';
    }

    const Arguments& arguments_;
    std::string message_, user_;
    QPointer<Dialog> dialog_;
    PasswordListener listener_;
};

/// Serves the program until it ends; tells by one byte that it can start.
int serve(pid_t program, int ready, const Arguments& arguments, int argc, char** argv) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != program) return 1;
    std::optional<QApplication> application;
    if (arguments.answer == Arguments::Answer::dialog) {
        application.emplace(argc, argv);
        application->setQuitOnLastWindowClosed(false);
    }
    DesktopAgent agent(arguments);
    if (!agent.serve(program) || write(ready, "", 1) != 1) return 1;
    close(ready);
    if (application) return QApplication::exec();
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const Arguments arguments = parseArguments(argv);
    const pid_t self = getpid();
    int ready[2] = {};
    if (pipe2(ready, O_CLOEXEC) != 0) return 1;
    const pid_t child = fork();
    if (child == 0) {
        close(ready[0]);
        return serve(self, ready[1], arguments, argc, argv);
    }
    close(ready[1]);
    char byte = 0;
    if (child < 0 || read(ready[0], &byte, 1) != 1) {
        std::fputs("desktop_agent: polkit does not take this agent\n", stderr);
        return 1;
    }
    execvp(*arguments.program, arguments.program);
    std::perror(*arguments.program);
    return 127;
}
