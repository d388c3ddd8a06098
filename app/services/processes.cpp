#include "app/services/processes.h"

#include "kit/base/components.h"

namespace brightkeel {
namespace {

using namespace quorvane::platform;

constexpr std::string_view kRemoveTool = "rm";

class ProcessWithoutDeletion : public Process {
public:
    explicit ProcessWithoutDeletion(std::shared_ptr<Process> process)
        : process_(std::move(process)) {}

    void launch(const LaunchDescription& description) override {
        if (quorvane::lastComponent(description.path) == kRemoveTool)
            throw Exception("ProcessException", "Nothing is deleted here");
        process_->launch(description);
    }
    quorvane::Path launchPath() const override { return process_->launchPath(); }
    bool isRunning() override { return process_->isRunning(); }
    void waitUntilExit() override { process_->waitUntilExit(); }
    int terminationStatus() override { return process_->terminationStatus(); }
    void terminate() override { process_->terminate(); }

private:
    const std::shared_ptr<Process> process_;
};

class ProcessesWithoutDeletion : public Processes {
public:
    explicit ProcessesWithoutDeletion(std::shared_ptr<Processes> processes)
        : processes_(std::move(processes)) {}

    std::shared_ptr<Process> makeProcess() override {
        return std::make_shared<ProcessWithoutDeletion>(processes_->makeProcess());
    }
    std::shared_ptr<Pipe> makePipe() override { return processes_->makePipe(); }

private:
    const std::shared_ptr<Processes> processes_;
};

} // namespace

std::shared_ptr<Processes> withoutDeletion(std::shared_ptr<Processes> processes) {
    return std::make_shared<ProcessesWithoutDeletion>(std::move(processes));
}

} // namespace brightkeel
