// Extended attributes of the items of a fake disk.
#pragma once

#include <memory>

#include "platform/ExtendedAttributes.h"
#include "tests/support/fake_disk.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// Each call adds one line to the journal before it is performed:
///     attributes.size NAME /a
///     attributes.get NAME /a 255 bytes
///     attributes.set NAME /a VALUE
class FakeExtendedAttributes : public platform::ExtendedAttributes {
public:
    FakeExtendedAttributes(std::shared_ptr<FakeDisk> disk, std::shared_ptr<Journal> journal);

    platform::Result<std::size_t> size(const Path& path, const std::string& name) override;
    platform::Result<std::size_t> get(const Path& path, const std::string& name,
                                      std::span<char> buffer) override;
    platform::Result<void> set(const Path& path, const std::string& name,
                               std::string_view value) override;

private:
    std::shared_ptr<FakeDisk> disk_;
    std::shared_ptr<Journal> journal_;
};

} // namespace quorvane::testing
