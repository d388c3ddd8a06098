// What tools print, as text.

#include "kit/tasks/QVTaskEx.h"

namespace quorvane {
namespace {

MaybeText decode(const std::optional<Bytes>& data, TextEncoding encoding) {
    return data ? decodeText(*data, encoding) : MaybeText("");
}

} // namespace

MaybeText QVTaskEx::stringFromTask(const MaybePath& tool, const Arguments& arguments,
                                   TaskSlot* task) {
    return stringFromTask(tool, arguments, TextEncoding::ascii, task);
}

MaybeText QVTaskEx::stringFromTask(const MaybePath& tool, const Arguments& arguments,
                                   TextEncoding encoding, TaskSlot* task) {
    return decode(dataFromTask(tool, arguments, task), encoding);
}

MaybeText QVTaskEx::stringFromTask(const MaybePath& tool, const Arguments& arguments,
                                   TaskTimeout timeout) {
    return stringFromTask(tool, arguments, TextEncoding::ascii, timeout);
}

MaybeText QVTaskEx::stringFromTask(const MaybePath& tool, const Arguments& arguments,
                                   TextEncoding encoding, TaskTimeout timeout, LogOutput logOutput,
                                   LogError logError) {
    return decode(dataFromTask(tool, arguments, timeout, logOutput, logError), encoding);
}

} // namespace quorvane
