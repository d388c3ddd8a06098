#include "kit/log/QVException.h"

#include "kit/base/format.h"
#include "kit/log/QVLog.h"

namespace quorvane {

std::string QVException::logException(const platform::Exception& exception, const char* method) {
    std::string text =
        formatText("Exception in %s. %@ - %@.", {method, exception.name(), exception.reason()});
    QVLog::appendLogAndPrint(text);
    return text;
}

bool QVException::didTimeout(const platform::Exception& exception) {
    return exception.name() == "NSPortTimeoutException";
}

} // namespace quorvane
