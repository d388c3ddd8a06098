// The files of the log: where they stand, how generations move on, how a new one begins.
#include <variant>

#include "kit/base/components.h"
#include "kit/log/QVLog.h"
#include "kit/log/date_text.h"
#include "kit/log/log_file.h"
#include "kit/paths/QVLocalPaths.h"
#include "platform/FileManager.h"
#include "platform/PropertyLists.h"
#include "platform/Services.h"
#include "platform/SystemInfo.h"
#include "platform/UserIdentity.h"

namespace quorvane {
namespace {

constexpr const char* kFolder = "Logs/Quorvane";
constexpr const char* kGlobalPreferences = "com.quorvane.global.plist";
constexpr const char* kDisableKey = "disable-logging";

std::unique_ptr<platform::FileManager> fileManager() {
    return platform::services().makeFileManager();
}

bool exists(const Path& path) { return fileManager()->existence(path).exists; }

MaybePath folderOf(UserDomain user) {
    return joinPath(QVLocalPaths::libraryDirectory(user), kFolder);
}

/// The text "1", a number equal to 1, or true.
bool isOn(const platform::PropertyList& entry) {
    if (const auto* text = std::get_if<std::string>(&entry.value)) return *text == "1";
    if (const auto* number = std::get_if<std::int64_t>(&entry.value)) return *number == 1;
    if (const auto* number = std::get_if<double>(&entry.value)) return *number == 1.0;
    const auto* flag = std::get_if<bool>(&entry.value);
    return flag != nullptr && *flag;
}

void logHeader() {
    platform::SystemInfo& system = *platform::services().systemInfo;
    QVLog::fastAppendLog("Log started: %@\n", currentDateText());
    if (const MaybeText version = system.bundleVersion())
        QVLog::fastAppendLog("Version: %@\n", version);
    if (const MaybePath path = system.executablePath()) QVLog::fastAppendLog("Path: %@\n", path);
    const double gigabytes = static_cast<double>(system.physicalMemory()) / 1024 / 1024 / 1024;
    QVLog::appendLog("System: macOS %@, %li CPU(s), %0.2f GB RAM\n",
                     system.operatingSystemVersion(), system.processorCount(), gigabytes);
    QVLog::fastAppendLog("Running in 64-bit mode\n");
}

} // namespace

// Calls on different threads are deliberately not kept apart: applications call this at start-up,
// the lane at the size limit.
void QVLog::createNewLog(const MaybeText& name) {
    QVLog& log = sharedController();
    if (log.loggingDisabled()) return;
    log.setFileHandle(nullptr);
    if (isDisabledByUser()) {
        log.print("Logging is disabled\n");
        log.setLoggingDisabled(true);
        return;
    }
    log.settleName(name);
    log.setBytesWritten(0);
    log.beginFile();
}

std::vector<Path> QVLog::availableLogs() {
    const QVLog& log = sharedController();
    const MaybePath folder = folderOf(UserDomain::yes);
    std::vector<Path> found;
    for (long generation = 1; generation <= kGenerations; ++generation) {
        Path path = log.generationPath(folder, generation);
        if (exists(path)) found.push_back(std::move(path));
    }
    return found;
}

bool QVLog::isDisabledByUser() {
    const MaybePath path =
        joinPath(QVLocalPaths::prefsDirectory(UserDomain::yes), kGlobalPreferences);
    if (!path) return false;
    const auto preferences = platform::services().propertyLists->parseFile(*path);
    if (!preferences) return false;
    const platform::PropertyList* entry = preferences.value().find(kDisableKey);
    return entry != nullptr && isOn(*entry);
}

/// The executable's name goes before a given one: the files of an application keep their names
/// whatever its code passes.
void QVLog::settleName(const MaybeText& name) {
    if (name && !appName()) setAppName(name);
    if (appName().value_or("").empty()) setAppName("Unknown");
}

Path QVLog::generationPath(const MaybePath& folder, long generation) const {
    return formatText("%@/%@.%li.log", {folder, appName(), generation});
}

/// The superuser's current log stands in the machine-wide folder, while folder and generations stay
/// the user's own: support tools look for it there.
Path QVLog::currentPath() const {
    const bool superuser =
        platform::services().userIdentity->realUserId() == platform::kSuperuserId;
    return generationPath(folderOf(superuser ? UserDomain::no : UserDomain::yes), 1);
}

void QVLog::beginFile() {
    const MaybePath folder = folderOf(UserDomain::yes);
    const Path path = currentPath();
    if (!prepareFolder(folder)) return;
    if (exists(path) && !moveGenerationsOn(folder)) return;
    const auto written = fileManager()->writeAtomically(path, "");
    if (!written)
        return print(
            formatText("Unable to create log file %s - %s\n", {path, written.error().text}));
    const auto handle = fileManager()->openForAppending(path);
    if (!handle) return;
    setFileHandle(std::make_shared<LogFile>(handle.value()));
    logHeader();
}

bool QVLog::prepareFolder(const MaybePath& folder) const {
    if (folder && (exists(*folder) || fileManager()->createDirectories(*folder))) return true;
    print(formatText("Unable to create folder %s.\n", {folder}));
    return false;
}

bool QVLog::moveGenerationsOn(const MaybePath& folder) const {
    const Path oldest = generationPath(folder, kGenerations);
    if (exists(oldest)) static_cast<void>(fileManager()->removeItem(oldest));
    for (long generation = kGenerations - 1; generation >= 1; --generation) {
        const Path from = generationPath(folder, generation);
        const Path to = generationPath(folder, generation + 1);
        if (!exists(from) || fileManager()->moveItem(from, to)) continue;
        print(formatText("Unable to move file %s to %s.\n", {from, to}));
        return false;
    }
    return true;
}

std::shared_ptr<LogFile> QVLog::openFile() {
    if (auto file = fileHandle()) return file;
    const auto handle = fileManager()->openForAppending(currentPath());
    if (!handle) return nullptr;
    auto file = std::make_shared<LogFile>(handle.value());
    setFileHandle(file);
    const auto end = fileManager()->seekToEnd(handle.value());
    if (!end) throw platform::Exception("NSFileHandleOperationException", end.error().text);
    return file;
}

} // namespace quorvane
