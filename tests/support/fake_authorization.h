// An authorization service that answers what the test says and starts nothing.
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/Authorization.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// Journals, with references numbered "#1", "#2", ... in the order they were handed out:
/// "authorization.create rights=[] environment=[] flags=0",
/// "authorization.copyRights #1 rights=[system.privilege.admin] environment=[username=anna,
/// password=secret] flags=18", "authorization.copyPrivilegedReference flags=0",
/// "authorization.execute #1 /bin/mv [-f, a, b] options=0", "authorization.free #1 flags=0".
/// Set the members before other threads ask.
class FakeAuthorization : public platform::Authorization {
public:
    explicit FakeAuthorization(Journal& journal) : journal_(journal) {}

    platform::AuthorizationStatus createStatus = platform::kAuthorizationSuccess;
    platform::AuthorizationStatus copyRightsStatus = platform::kAuthorizationSuccess;
    /// With success, a reference is inherited.
    platform::AuthorizationStatus copyPrivilegedReferenceStatus = platform::kAuthorizationDenied;
    platform::AuthorizationStatus executeStatus = platform::kAuthorizationSuccess;
    platform::Error executeReason;
    /// What a started tool prints.
    Bytes toolOutput;
    /// The started tool's effect on the world, performed while it is started.
    std::function<void(const Path& tool, const Arguments& arguments)> effect;

    platform::AuthorizationCreation create(const platform::AuthorizationItems& rights,
                                           const platform::AuthorizationItems& environment,
                                           platform::AuthorizationFlags flags) override;
    platform::AuthorizationStatus copyRights(platform::AuthorizationRef reference,
                                             const platform::AuthorizationItems& rights,
                                             const platform::AuthorizationItems& environment,
                                             platform::AuthorizationFlags flags) override;
    platform::AuthorizationCreation
    copyPrivilegedReference(platform::AuthorizationFlags flags) override;
    platform::PrivilegedExecution executeWithPrivileges(platform::AuthorizationRef reference,
                                                        const Path& tool,
                                                        platform::AuthorizationFlags options,
                                                        const Arguments& arguments) override;
    void free(platform::AuthorizationRef reference, platform::AuthorizationFlags flags) override;

    /// A reference that nobody created.
    platform::AuthorizationRef makeReference();
    /// References handed out and not freed.
    int referencesHeld() const { return referencesHeld_; }
    /// Bytes read from all tools' pipes, and how often a read met the end of file.
    int charactersRead() const { return *charactersRead_; }
    int endsOfFileRead() const { return *endsOfFileRead_; }

private:
    std::string nameOf(platform::AuthorizationRef reference) const;

    Journal& journal_;
    mutable std::mutex mutex_;
    std::deque<char> references_;
    std::atomic<int> referencesHeld_ = 0;
    std::shared_ptr<std::atomic<int>> charactersRead_ = std::make_shared<std::atomic<int>>(0);
    std::shared_ptr<std::atomic<int>> endsOfFileRead_ = std::make_shared<std::atomic<int>>(0);
};

} // namespace quorvane::testing
