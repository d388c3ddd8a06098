// Message digests.
#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "platform/Values.h"

namespace quorvane::platform {

/// RFC 1321 and FIPS 180; digests of 16, 20, 32 and 64 bytes.
enum class DigestAlgorithm { md5, sha1, sha256, sha512 };

/// How far a system's implementation of an algorithm has come. One thread at a time.
class DigestState {
public:
    virtual ~DigestState() = default;
    /// A state of its own that has come as far; null when there is no memory for it.
    virtual std::unique_ptr<DigestState> clone() const = 0;
    virtual void update(std::string_view bytes) = 0;
    /// The digest, or no bytes when it could not be made. Nothing can be done with the state
    /// afterwards.
    virtual Bytes finish() = 0;
};

/// A digest that is being made, passed by value: finishing a copy does not disturb the original.
/// One thread at a time.
class DigestContext {
public:
    DigestContext(DigestAlgorithm algorithm, std::unique_ptr<DigestState> state)
        : algorithm_(algorithm), state_(std::move(state)) {}
    DigestContext(const DigestContext& other)
        : algorithm_(other.algorithm_), state_(other.state_ ? other.state_->clone() : nullptr) {}
    DigestContext& operator=(const DigestContext& other) { return *this = DigestContext(other); }
    DigestContext(DigestContext&&) = default;
    DigestContext& operator=(DigestContext&&) = default;
    ~DigestContext() = default;

    DigestAlgorithm algorithm() const { return algorithm_; }
    /// False where the system forbids the algorithm, as some do with the old ones.
    bool isUsable() const { return state_ != nullptr; }
    void update(std::string_view bytes) {
        if (state_) state_->update(bytes);
    }
    /// The digest; no bytes when none could be made. The context is not usable afterwards.
    Bytes finish() {
        const std::unique_ptr<DigestState> state = std::move(state_);
        return state ? state->finish() : Bytes();
    }

private:
    DigestAlgorithm algorithm_;
    std::unique_ptr<DigestState> state_;
};

/// Any thread.
class Digests {
public:
    virtual ~Digests() = default;
    /// A context that has been fed nothing.
    virtual DigestContext begin(DigestAlgorithm algorithm) = 0;
};

} // namespace quorvane::platform
