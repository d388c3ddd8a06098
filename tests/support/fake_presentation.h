// How the desktop shows items of a fake disk.
#pragma once

#include <memory>

#include "platform/Presentation.h"
#include "tests/support/fake_disk.h"
#include "tests/support/fake_system.h"
#include "tests/support/fake_workspace.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// Each call adds one line to the journal before it is performed:
///     presentation.reference /a
///     presentation.path /a
///     presentation.alias /a
///     presentation.build fndr fupd sign MACS -1 0 '----':alis(@@) /a
///     presentation.send fupd /a noReply -1
///     presentation.dispose reply
///     presentation.dispose event /a
///     presentation.dispose alias /a
///     presentation.label /a
///     presentation.setLabel 6 /a
///     presentation.register /A.app forced
/// Each fails where the disk is scripted to fail for the path and the word behind the dot.
/// References lead to their path as long as something is there. A bundle is registered where its
/// property list is known to have an identifier.
class FakePresentation : public platform::Presentation {
public:
    FakePresentation(std::shared_ptr<FakeDisk> disk, std::shared_ptr<FakeWorkspace> workspace,
                     std::shared_ptr<FakePropertyLists> propertyLists,
                     std::shared_ptr<Journal> journal);

    platform::Result<platform::FileReference> fileReference(const Path& path) override;
    platform::Result<Path> path(const platform::FileReference& reference) override;
    platform::Result<platform::Alias>
    makeMinimalAlias(const platform::FileReference& reference) override;
    platform::Result<platform::Event> buildEvent(const platform::EventDescription& description,
                                                 const platform::Alias& alias) override;
    platform::Result<void> send(const platform::Event& event, platform::Event& reply,
                                platform::SendMode mode, std::int32_t timeout) override;
    void dispose(platform::Event& event) override;
    void dispose(platform::Alias& alias) override;
    std::optional<int> labelNumber(const Path& path) override;
    platform::Result<void> setLabelNumber(const Path& path, int number) override;
    platform::Result<void> registerApplication(const Path& bundle,
                                               platform::ForceUpdate forceUpdate) override;

private:
    platform::Result<Path> placeOf(const std::string& operation, const Path& path);

    std::shared_ptr<FakeDisk> disk_;
    std::shared_ptr<FakeWorkspace> workspace_;
    std::shared_ptr<FakePropertyLists> propertyLists_;
    std::shared_ptr<Journal> journal_;
};

} // namespace quorvane::testing
