// Digests that are cheap and known beforehand.
#pragma once

#include <atomic>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "platform/Digests.h"

namespace quorvane::testing {

/// What FakeDigests makes of some bytes, as lowercase hexadecimal digits: the algorithm's length,
/// different for different bytes and algorithms.
std::string fakeDigest(platform::DigestAlgorithm algorithm, std::string_view bytes);

/// Any thread. Counts the bytes fed to all its contexts together.
class FakeDigests : public platform::Digests {
public:
    platform::DigestContext begin(platform::DigestAlgorithm algorithm) override;

    /// Set before other threads ask.
    std::set<platform::DigestAlgorithm> forbidden;
    std::uint64_t bytesFed() const { return bytesFed_; }

private:
    std::atomic<std::uint64_t> bytesFed_ = 0;
};

} // namespace quorvane::testing
