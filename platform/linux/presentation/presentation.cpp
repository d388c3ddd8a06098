#include "platform/linux/presentation/presentation.h"

#include <utility>

#include "platform/PropertyLists.h"
#include "platform/UserIdentity.h"
#include "platform/linux/acting_as.h"
#include "platform/linux/posix.h"
#include "platform/linux/presentation/application_registry.h"
#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/presentation/file_references.h"
#include "platform/linux/presentation/labels.h"
#include "platform/linux/trash_owner.h"

namespace quorvane::platform::linux_ {
namespace {

/// The event by which a file manager learns that an item changed, as its senders write it.
bool isChangeEvent(const EventDescription& event) {
    return event.eventClass == "fndr" && event.eventId == "fupd" && event.addressType == "sign" &&
           event.address == "MACS" && event.parameters == "'----':alis(@@)";
}

class LinuxPresentation final : public Presentation {
public:
    LinuxPresentation(std::shared_ptr<UserIdentity> identity,
                      std::shared_ptr<PropertyLists> propertyLists,
                      std::shared_ptr<ChangeNotices> notices)
        : identity_(std::move(identity)), propertyLists_(std::move(propertyLists)),
          notices_(std::move(notices)) {}

    Result<FileReference> fileReference(const Path& path) override {
        return makeFileReference(path);
    }
    Result<Path> path(const FileReference& reference) override {
        return pathOfReference(reference);
    }

    Result<Alias> makeMinimalAlias(const FileReference& reference) override {
        const Result<Path> item = pathOfReference(reference);
        if (!item) return item.error();
        return Alias{reference};
    }
    Result<Event> buildEvent(const EventDescription& description, const Alias& alias) override {
        if (!isChangeEvent(description)) return systemError(ENOTSUP);
        return Event{description, alias};
    }
    Result<void> send(const Event& event, Event&, SendMode, std::int32_t) override {
        const Result<Path> item = pathOfReference(event.directParameter.item);
        if (!item) return item.error();
        return notices_->announce(item.value());
    }
    void dispose(Event& event) override { event = {}; }
    void dispose(Alias& alias) override { alias = {}; }

    std::optional<int> labelNumber(const Path& path) override { return readLabel(path); }
    Result<void> setLabelNumber(const Path& path, int number) override {
        return writeLabel(path, number);
    }

    Result<void> registerApplication(const Path& bundle, ForceUpdate forceUpdate) override {
        const auto owner = trashOwner(*identity_);
        if (!owner) return systemError(ENOENT);
        const ActingAs user(owner->rights);
        if (!user) return systemError(EPERM);
        return registerBundle(bundle, owner->dataHome + "/applications", forceUpdate,
                              *propertyLists_);
    }

private:
    std::shared_ptr<UserIdentity> identity_;
    std::shared_ptr<PropertyLists> propertyLists_;
    std::shared_ptr<ChangeNotices> notices_;
};

} // namespace

std::shared_ptr<Presentation> makePresentation(std::shared_ptr<UserIdentity> identity,
                                               std::shared_ptr<PropertyLists> propertyLists,
                                               std::shared_ptr<ChangeNotices> notices) {
    return std::make_shared<LinuxPresentation>(std::move(identity), std::move(propertyLists),
                                               std::move(notices));
}

} // namespace quorvane::platform::linux_
