// Does with the kit's file manager what it is told, a line at a time, and prints what it answers.
//
// login USER PASSWORD            asks for the right without a dialog
// createDirectory PATH
// createEmptyFile PATH
// copyFile SOURCE DESTINATION
// moveFile SOURCE DESTINATION
// removeFile PATH
// trashFile PATH
//
// Words are separated by tabs. Timed forms wait for ten seconds.

#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <vector>

#include "kit/auth/QVAuthorization.h"
#include "kit/files/QVFileManager.h"
#include "kit/log/QVLog.h"
#include "platform/Services.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"

namespace {

using namespace quorvane;
using Words = std::vector<std::string>;
using Operation = std::function<bool(const Words&)>;

constexpr std::chrono::seconds kPatience{10};

const std::map<std::string, Operation> kOperations = {
    {"login",
     [](const Words& words) {
         return QVAuthorization::sharedController().authStartWithUser(words.at(1), words.at(2));
     }},
    {"createDirectory",
     [](const Words& words) { return QVFileManager::createDirectory(words.at(1), kPatience); }},
    {"createEmptyFile",
     [](const Words& words) { return QVFileManager::createEmptyFile(words.at(1)); }},
    {"copyFile",
     [](const Words& words) {
         return QVFileManager::copyFile(words.at(1), words.at(2), kPatience);
     }},
    {"moveFile",
     [](const Words& words) {
         return QVFileManager::moveFile(words.at(1), words.at(2), kPatience);
     }},
    {"removeFile",
     [](const Words& words) { return QVFileManager::removeFile(words.at(1), kPatience); }},
    {"trashFile",
     [](const Words& words) { return QVFileManager::trashFile(words.at(1), kPatience); }},
};

} // namespace

int main() {
    const auto loop = std::make_shared<platform::linux_::RunLoop>();
    const platform::Services services = platform::linux_::makeServices(loop);
    platform::installServices(&services);
    QVLog::createNewLog("kit_client"); // without one, messages go among the answers
    for (std::string line; std::getline(std::cin, line);) {
        Words words;
        std::istringstream stream(line);
        for (std::string word; std::getline(stream, word, '\t');) words.push_back(word);
        std::cout << (kOperations.at(words.at(0))(words) ? "yes" : "no") << '\t' << std::endl;
    }
}
