#include "tests/support/fake_digests.h"

#include <array>

namespace quorvane::testing {
namespace {

// The 64-bit hash of Fowler, Noll and Vo.
constexpr std::uint64_t kStart = 14695981039346656037U;
constexpr std::uint64_t kPrime = 1099511628211U;

constexpr std::array<std::size_t, 4> kSizes{16, 20, 32, 64};

class FakeState : public platform::DigestState {
public:
    FakeState(platform::DigestAlgorithm algorithm, std::atomic<std::uint64_t>& bytesFed)
        : size_(kSizes.at(static_cast<std::size_t>(algorithm))), bytesFed_(bytesFed) {}

    std::unique_ptr<platform::DigestState> clone() const override {
        return std::make_unique<FakeState>(*this);
    }
    void update(std::string_view bytes) override {
        for (const char byte : bytes) hash_ = (hash_ ^ static_cast<unsigned char>(byte)) * kPrime;
        bytesFed_ += bytes.size();
    }
    Bytes finish() override {
        Bytes digest;
        for (std::uint64_t rest = hash_ + size_; digest.size() < size_; rest *= kPrime)
            digest += static_cast<char>(rest >> 56U);
        return digest;
    }

private:
    std::size_t size_;
    std::atomic<std::uint64_t>& bytesFed_;
    std::uint64_t hash_ = kStart;
};

} // namespace

std::string fakeDigest(platform::DigestAlgorithm algorithm, std::string_view bytes) {
    FakeDigests digests;
    platform::DigestContext context = digests.begin(algorithm);
    context.update(bytes);
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const char byte : context.finish()) {
        text += kDigits[static_cast<unsigned char>(byte) >> 4U];
        text += kDigits[static_cast<unsigned char>(byte) & 15U];
    }
    return text;
}

platform::DigestContext FakeDigests::begin(platform::DigestAlgorithm algorithm) {
    if (forbidden.contains(algorithm)) return {algorithm, nullptr};
    return {algorithm, std::make_unique<FakeState>(algorithm, bytesFed_)};
}

} // namespace quorvane::testing
