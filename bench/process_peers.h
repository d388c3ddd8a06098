// The ways in which a program would run tools instead.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quorvane::bench {

/// Every one of them starts a tool, waits for its end and throws when that failed.
using Launch = void (*)(const std::string& tool);
/// Every one of them answers how many bytes the tool printed.
using Capture = std::size_t (*)(const std::string& tool, const std::vector<std::string>& arguments);

struct LaunchPeer {
    const char* name;
    Launch launch;
    double aim; ///< ours at most so many times the peer's time
};

struct CapturePeer {
    const char* name;
    Capture capture;
    double aim; ///< ours at least so many times the peer's bytes per second
};

const std::vector<LaunchPeer>& launchPeers();
const std::vector<CapturePeer>& capturePeers();

} // namespace quorvane::bench
