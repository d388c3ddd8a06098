#include "tests/support/fake_presentation.h"

#include <array>
#include <utility>

#include "tests/support/errors.h"

namespace quorvane::testing {
namespace {

constexpr const char* kLabelAttribute = "label";

} // namespace

FakePresentation::FakePresentation(std::shared_ptr<FakeDisk> disk,
                                   std::shared_ptr<FakeWorkspace> workspace,
                                   std::shared_ptr<FakePropertyLists> propertyLists,
                                   std::shared_ptr<Journal> journal)
    : disk_(std::move(disk)), workspace_(std::move(workspace)),
      propertyLists_(std::move(propertyLists)), journal_(std::move(journal)) {}

platform::Result<Path> FakePresentation::placeOf(const std::string& operation, const Path& path) {
    if (auto error = disk_->scriptedFailure(operation, path)) return *error;
    if (!disk_->contains(path)) return errorFor(ENOENT);
    return path;
}

platform::Result<platform::FileReference> FakePresentation::fileReference(const Path& path) {
    journal_->add("presentation.reference " + path);
    const auto place = placeOf("reference", path);
    if (!place) return place.error();
    return platform::FileReference{path, {}, {}};
}

platform::Result<Path> FakePresentation::path(const platform::FileReference& reference) {
    journal_->add("presentation.path " + reference.path);
    return placeOf("path", reference.path);
}

platform::Result<platform::Alias>
FakePresentation::makeMinimalAlias(const platform::FileReference& reference) {
    journal_->add("presentation.alias " + reference.path);
    const auto place = placeOf("alias", reference.path);
    if (!place) return place.error();
    return platform::Alias{reference};
}

platform::Result<platform::Event>
FakePresentation::buildEvent(const platform::EventDescription& description,
                             const platform::Alias& alias) {
    journal_->add("presentation.build " + description.eventClass + " " + description.eventId + " " +
                  description.addressType + " " + description.address + " " +
                  std::to_string(description.returnId) + " " +
                  std::to_string(description.transaction) + " " + description.parameters + " " +
                  alias.item.path);
    const auto place = placeOf("build", alias.item.path);
    if (!place) return place.error();
    return platform::Event{description, alias};
}

platform::Result<void> FakePresentation::send(const platform::Event& event, platform::Event&,
                                              platform::SendMode, std::int32_t timeout) {
    const Path& item = event.directParameter.item.path;
    journal_->add("presentation.send " + event.description.eventId + " " + item + " noReply " +
                  std::to_string(timeout));
    const auto place = placeOf("send", item);
    if (!place) return place.error();
    return {};
}

void FakePresentation::dispose(platform::Event& event) {
    const bool isReply = event.description.eventClass.empty();
    journal_->add(isReply ? "presentation.dispose reply"
                          : "presentation.dispose event " + event.directParameter.item.path);
    event = {};
}

void FakePresentation::dispose(platform::Alias& alias) {
    journal_->add("presentation.dispose alias " + alias.item.path);
    alias = {};
}

std::optional<int> FakePresentation::labelNumber(const Path& path) {
    journal_->add("presentation.label " + path);
    std::array<char, 1> digit{};
    if (!placeOf("label", path) || !disk_->getExtendedAttribute(path, kLabelAttribute, digit) ||
        digit[0] == '0')
        return std::nullopt;
    return digit[0] - '0';
}

platform::Result<void> FakePresentation::setLabelNumber(const Path& path, int number) {
    journal_->add("presentation.setLabel " + std::to_string(number) + " " + path);
    if (number < 0 || number > 7) return errorFor(EINVAL);
    const auto place = placeOf("setLabel", path);
    if (!place) return place.error();
    return disk_->setExtendedAttribute(path, kLabelAttribute, std::to_string(number));
}

platform::Result<void> FakePresentation::registerApplication(const Path& bundle,
                                                             platform::ForceUpdate forceUpdate) {
    journal_->add("presentation.register " + bundle +
                  (forceUpdate == platform::ForceUpdate::yes ? " forced" : ""));
    const auto place = placeOf("register", bundle);
    if (!place) return place.error();
    const auto info = propertyLists_->parseFile(bundle + "/Contents/Info.plist");
    if (!info) return info.error();
    const auto* entry = info.value().find("CFBundleIdentifier");
    const auto* identifier = entry == nullptr ? nullptr : std::get_if<std::string>(&entry->value);
    if (identifier == nullptr) return errorFor(EINVAL);
    workspace_->addBundle(*identifier, bundle);
    return {};
}

} // namespace quorvane::testing
