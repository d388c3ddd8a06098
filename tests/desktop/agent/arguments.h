// How the test agent shall answer.
#pragma once

#include <string>

namespace quorvane::testing {

struct Arguments {
    enum class Answer { dialog, password, cancel, hold };

    std::string note;
    Answer answer = Answer::dialog;
    std::string user; ///< who proves who they are; the first whom polkit names, if empty
    std::string password;
    char** program = nullptr; ///< its arguments, ended by a null pointer
};

/// Ends the process with the usage if it does not understand.
Arguments parseArguments(char** argv);

} // namespace quorvane::testing
