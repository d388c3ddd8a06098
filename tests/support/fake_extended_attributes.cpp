#include "tests/support/fake_extended_attributes.h"

#include <utility>

namespace quorvane::testing {

FakeExtendedAttributes::FakeExtendedAttributes(std::shared_ptr<FakeDisk> disk,
                                               std::shared_ptr<Journal> journal)
    : disk_(std::move(disk)), journal_(std::move(journal)) {}

platform::Result<std::size_t> FakeExtendedAttributes::size(const Path& path,
                                                           const std::string& name) {
    journal_->add("attributes.size " + name + " " + path);
    return disk_->sizeOfExtendedAttribute(path, name);
}

platform::Result<std::size_t> FakeExtendedAttributes::get(const Path& path, const std::string& name,
                                                          std::span<char> buffer) {
    journal_->add("attributes.get " + name + " " + path + " " + std::to_string(buffer.size()) +
                  " bytes");
    return disk_->getExtendedAttribute(path, name, buffer);
}

platform::Result<void> FakeExtendedAttributes::set(const Path& path, const std::string& name,
                                                   std::string_view value) {
    journal_->add("attributes.set " + name + " " + path + " " + std::string(value));
    return disk_->setExtendedAttribute(path, name, value);
}

} // namespace quorvane::testing
