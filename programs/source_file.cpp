#include "programs/source_file.h"

#include <cerrno>
#include <system_error>

#include "platform/FileManager.h"
#include "platform/Services.h"
#include "programs/program.h"

namespace quorvane::programs {

SourceFile sourceFile(const std::string& name) {
    const Path path = absolutePath(name);
    const auto files = platform::services().makeFileManager();
    const auto opened = files->openForReading(path);
    if (!opened) throw Failure(name, opened.error().text);
    const auto end = files->seekToEnd(opened.value());
    files->close(opened.value());
    if (files->existence(path).isDirectory)
        throw Failure(name, std::generic_category().message(EISDIR));
    if (name.ends_with('/')) throw Failure(name, std::generic_category().message(ENOTDIR));
    return {name, path, end ? end.value() : 0};
}

} // namespace quorvane::programs
