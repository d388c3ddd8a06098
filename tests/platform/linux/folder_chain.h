// Trees far deeper than one path can name.
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "platform/linux/posix.h"

namespace quorvane::testing {

enum class ChainHolds : bool { folders, foldersAndFiles };

/// Makes a folder in a folder in a folder, each named "below", beside an empty "file" if asked for.
inline void addChain(const Path& top, int depth, ChainHolds holds) {
    using platform::linux_::Descriptor;
    Descriptor folder(open(top.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(mkdirat(folder.get(), "below", 0755), 0);
        if (holds == ChainHolds::foldersAndFiles) {
            ASSERT_EQ(mknodat(folder.get(), "file", S_IFREG | 0644, 0), 0);
        }
        folder = Descriptor(openat(folder.get(), "below", O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
}

/// Opens the last folder of such a chain.
inline platform::linux_::Descriptor openDeepest(const Path& top, int depth) {
    using platform::linux_::Descriptor;
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    Descriptor folder(open(top.c_str(), kFlags));
    for (int level = 0; level < depth; ++level)
        folder = Descriptor(openat(folder.get(), "below", kFlags));
    return folder;
}

/// Few descriptors for the process, as long as this lives.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t count) {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &usual_), 0);
        const rlimit few{count, usual_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &usual_); }

private:
    rlimit usual_{};
};

} // namespace quorvane::testing
