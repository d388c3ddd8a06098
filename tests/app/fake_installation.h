// The whole suite, installed on a fake disk.
#pragma once

#include "tests/support/fake_platform.h"

namespace brightkeel::testing {

/// Puts every item of the catalogue in its place, registers the shared applications, and adds what
/// must stay: a hidden file and a Disabled entry in the user's support folder, names that miss the
/// scans.
void install(quorvane::testing::FakePlatform& system);

} // namespace brightkeel::testing
