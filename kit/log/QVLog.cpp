// The shared instance, its properties and its end.
#include "kit/log/QVLog.h"

#include <cstdio>
#include <utility>

#include "kit/base/components.h"
#include "kit/log/log_file.h"
#include "kit/log/write_lane.h"
#include "platform/Application.h"
#include "platform/Exceptions.h"
#include "platform/Services.h"
#include "platform/SystemInfo.h"

namespace quorvane {
namespace {

/// With more pending lines than this, the log of a quitting application drops them.
constexpr std::uint64_t kLinesWorthWaitingFor = 10;

QVLog* instance = nullptr; ///< guarded by instanceMutex()

std::mutex& instanceMutex() {
    static std::mutex mutex;
    return mutex;
}

/// The last line of a process that nobody caught the exception of.
void logUncaught(const platform::Exception& exception) {
    QVLog::appendLogAndPrint(exception.reason());
    QVLog::finishWriting();
}

} // namespace

QVLog::QVLog()
    : lane_(std::make_unique<WriteLane>(
          [this](LineBatch& batch, std::size_t first) { return writeLines(batch, first); })) {}

QVLog* QVLog::allocate() {
    const std::lock_guard lock(instanceMutex());
    if (instance != nullptr) return nullptr;
    instance = new QVLog;
    return instance;
}

QVLog& QVLog::sharedController() {
    static QVLog& shared = []() -> QVLog& {
        allocate();
        const std::lock_guard lock(instanceMutex());
        instance->registerWithApplication();
        return *instance;
    }();
    return shared;
}

void QVLog::registerWithApplication() {
    const platform::Services& services = platform::services();
    registration_ = services.application->addWillTerminateObserver([] { willTerminate(); });
    services.exceptions->setUncaughtExceptionHandler(logUncaught);
}

void QVLog::finishWriting() {
    static std::mutex mutex;
    WriteLane& lane = *sharedController().lane_;
    if (lane.isCurrentThread()) return;
    const std::lock_guard lock(mutex);
    lane.waitUntilAllOperationsAreFinished();
}

void QVLog::willTerminate() {
    QVLog& log = sharedController();
    platform::services().application->removeWillTerminateObserver(log.registration_);
    if (log.lane_->operationCount() > kLinesWorthWaitingFor) log.lane_->cancelAllOperations();
    log.lane_->close();
    finishWriting(); // after a cancel: for the write under way, which cannot be taken back
    log.setAppName(std::nullopt);
    log.setFileHandle(nullptr);
}

MaybeText QVLog::appName() const {
    {
        const std::lock_guard lock(mutex_);
        if (appName_) return appName_;
    }
    const MaybePath executable = platform::services().systemInfo->executablePath();
    if (!executable) return std::nullopt;
    return std::string(withoutExtension(lastComponent(*executable)));
}

void QVLog::setAppName(const MaybeText& name) {
    const std::lock_guard lock(mutex_);
    appName_ = name;
}

std::shared_ptr<LogFile> QVLog::fileHandle() const {
    const std::lock_guard lock(mutex_);
    return fileHandle_;
}

void QVLog::setFileHandle(std::shared_ptr<LogFile> file) {
    const std::lock_guard lock(mutex_);
    fileHandle_.swap(file); // the old one is let go after the lock
}

WriteLane* QVLog::writeQueue() const { return lane_->isClosed() ? nullptr : lane_.get(); }

void QVLog::print(const std::string& text) const {
    if (noPrinting()) return;
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout); // the process may be about to end without
}

} // namespace quorvane
