// A user whom a test makes up, and who has no folder before the test gives one: the services under
// test would use it on the real disk.
#pragma once

#include "tests/support/fake_identity.h"

namespace quorvane::testing {

class StubIdentity final : public FakeIdentity {
public:
    StubIdentity() {
        userId = 1000;
        home.reset();
        homes.clear();
        temporary = "/tmp";
    }
};

} // namespace quorvane::testing
