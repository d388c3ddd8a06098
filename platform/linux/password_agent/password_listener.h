// An authentication agent: whom polkit asks to have a user prove who they are by a password.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace quorvane::platform::linux_::agent {

/// What polkit asks for.
struct Request {
    std::string action;       ///< the action's identifier
    std::string message;      ///< why, in words for the user
    std::vector<uid_t> users; ///< those of whom one must prove who they are
};

enum class Outcome { granted, denied, cancelled };

/// How an agent takes part in an authentication. All run on the thread of the default main context.
struct Hooks {
    /// One begins; answers who will prove who they are, or nobody, which cancels it.
    std::function<std::optional<uid_t>(const Request&)> begin;
    /// The password is wanted, once for each authentication: answered by PasswordListener::answer
    /// or cancel, at once or later. Whatever else is wanted cancels the authentication.
    std::function<void()> ask;
    /// It is over. It was not necessarily asked for a password.
    std::function<void(Outcome)> end;
};

/// Answers polkit for one process, one authentication at a time; one that comes while another is
/// under way is cancelled. Needs a thread that runs the default main context; everything is called
/// and calls on that thread.
class PasswordListener {
public:
    explicit PasswordListener(Hooks hooks);
    PasswordListener(const PasswordListener&) = delete;
    PasswordListener& operator=(const PasswordListener&) = delete;
    /// Cancels what is under way, and lets polkit know that nobody answers any more.
    ~PasswordListener();

    /// Answers for a process and those that it starts. False if polkit cannot be reached or does
    /// not want it. Waits for polkit for as long as that takes.
    bool serve(pid_t process, uid_t owner);

    /// The password that was asked for; it is not kept. Ignored when none was.
    void answer(const char* password);
    /// Ends the authentication under way, if any.
    void cancel();

    class State;

private:
    std::unique_ptr<State> state_;
};

} // namespace quorvane::platform::linux_::agent
