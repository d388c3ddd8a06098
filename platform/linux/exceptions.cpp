#include "platform/linux/exceptions.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <mutex>
#include <typeinfo>

namespace quorvane::platform::linux_ {
namespace {

using Handler = std::function<void(const Exception&)>;

/// Never destroyed: an exception may go uncaught while static objects are destroyed.
struct Installed {
    std::mutex mutex;
    Handler handler;
    std::terminate_handler before = nullptr;
};

Installed& installed() {
    static auto& installed = *new Installed;
    return installed;
}

std::string readableName(const char* mangled) {
    int status = 0;
    char* name = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    std::string text = status == 0 ? name : mangled;
    std::free(name); // NOLINT(cppcoreguidelines-no-malloc): the demangler allocates with malloc
    return text;
}

/// What is being thrown, told as a platform exception.
Exception currentException() {
    try {
        throw;
    } catch (const Exception& exception) {
        return exception;
    } catch (const std::exception& exception) {
        return {readableName(typeid(exception).name()), exception.what()};
    } catch (...) {
        const std::type_info* type = abi::__cxa_current_exception_type();
        return {type != nullptr ? readableName(type->name()) : "unknown", "unknown exception"};
    }
}

[[noreturn]] void terminateProcess() {
    Handler handler;
    std::terminate_handler before = nullptr;
    {
        // Taken, so that a handler that throws itself does not come back here.
        const std::lock_guard lock(installed().mutex);
        handler.swap(installed().handler);
        before = installed().before;
    }
    if (handler && std::current_exception()) handler(currentException());
    if (before != nullptr) before();
    std::abort();
}

class ProcessExceptions : public Exceptions {
public:
    void setUncaughtExceptionHandler(Handler handler) override {
        const std::lock_guard lock(installed().mutex);
        installed().handler = std::move(handler);
        if (std::get_terminate() != terminateProcess)
            installed().before = std::set_terminate(terminateProcess);
    }
};

} // namespace

std::shared_ptr<Exceptions> makeExceptions() { return std::make_shared<ProcessExceptions>(); }

} // namespace quorvane::platform::linux_
