// The lifetime rules of the kit's process-wide instances, told in the platform's own words.
#pragma once

#include <cstdint>

namespace quorvane {

/// An instance that lives as long as its process: nothing that a caller does with its reference
/// count copies, frees or counts it. Callers ported from reference-counted code rely on these
/// answers.
template <class Instance>
class ProcessLifetime {
public:
    /// What a retain count reports for an instance that is never released: the largest 32-bit
    /// number.
    static constexpr std::uint32_t kRetainCount = 4294967295U;

    ProcessLifetime(const ProcessLifetime&) = delete;
    ProcessLifetime& operator=(const ProcessLifetime&) = delete;

    Instance& copy() { return self(); }
    Instance& retain() { return self(); }
    Instance& autorelease() { return self(); }
    void release() {}
    std::uint32_t retainCount() const { return kRetainCount; }

protected:
    ProcessLifetime() = default;
    ~ProcessLifetime() = default;

private:
    Instance& self() { return static_cast<Instance&>(*this); }
};

} // namespace quorvane
