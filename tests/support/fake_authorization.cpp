#include "tests/support/fake_authorization.h"

#include <utility>
#include <vector>

#include "tests/support/texts.h"

namespace quorvane::testing {
namespace {

class FakeCommunicationsPipe : public platform::CommunicationsPipe {
public:
    FakeCommunicationsPipe(Bytes bytes, std::shared_ptr<std::atomic<int>> charactersRead,
                           std::shared_ptr<std::atomic<int>> endsOfFileRead)
        : bytes_(std::move(bytes)), charactersRead_(std::move(charactersRead)),
          endsOfFileRead_(std::move(endsOfFileRead)) {}

    int readCharacter() override {
        if (next_ == bytes_.size()) {
            ++*endsOfFileRead_;
            return -1;
        }
        ++*charactersRead_;
        return static_cast<unsigned char>(bytes_[next_++]);
    }

private:
    Bytes bytes_;
    std::size_t next_ = 0;
    std::shared_ptr<std::atomic<int>> charactersRead_;
    std::shared_ptr<std::atomic<int>> endsOfFileRead_;
};

std::string itemsText(const platform::AuthorizationItems& items) {
    std::vector<std::string> texts;
    for (const platform::AuthorizationItem& item : items) {
        std::string text = item.name;
        if (!item.value.empty()) text += "=" + item.value;
        if (item.flags != 0) text += " flags=" + std::to_string(item.flags);
        texts.push_back(text);
    }
    return bracketed(texts);
}

std::string requestText(const platform::AuthorizationItems& rights,
                        const platform::AuthorizationItems& environment,
                        platform::AuthorizationFlags flags) {
    return " rights=" + itemsText(rights) + " environment=" + itemsText(environment) +
           " flags=" + std::to_string(flags);
}

} // namespace

platform::AuthorizationCreation
FakeAuthorization::create(const platform::AuthorizationItems& rights,
                          const platform::AuthorizationItems& environment,
                          platform::AuthorizationFlags flags) {
    journal_.add("authorization.create" + requestText(rights, environment, flags));
    if (createStatus != platform::kAuthorizationSuccess) return {createStatus, nullptr};
    return {createStatus, makeReference()};
}

platform::AuthorizationStatus FakeAuthorization::copyRights(
    platform::AuthorizationRef reference, const platform::AuthorizationItems& rights,
    const platform::AuthorizationItems& environment, platform::AuthorizationFlags flags) {
    journal_.add("authorization.copyRights " + nameOf(reference) +
                 requestText(rights, environment, flags));
    return copyRightsStatus;
}

platform::AuthorizationCreation
FakeAuthorization::copyPrivilegedReference(platform::AuthorizationFlags flags) {
    journal_.add("authorization.copyPrivilegedReference flags=" + std::to_string(flags));
    if (copyPrivilegedReferenceStatus != platform::kAuthorizationSuccess)
        return {copyPrivilegedReferenceStatus, nullptr};
    return {copyPrivilegedReferenceStatus, makeReference()};
}

platform::PrivilegedExecution
FakeAuthorization::executeWithPrivileges(platform::AuthorizationRef reference, const Path& tool,
                                         platform::AuthorizationFlags options,
                                         const Arguments& arguments) {
    journal_.add("authorization.execute " + nameOf(reference) + " " + tool + " " +
                 bracketed(arguments) + " options=" + std::to_string(options));
    if (executeStatus != platform::kAuthorizationSuccess)
        return {executeStatus, nullptr, executeReason};
    if (effect) effect(tool, arguments);
    return {executeStatus,
            std::make_unique<FakeCommunicationsPipe>(toolOutput, charactersRead_, endsOfFileRead_)};
}

void FakeAuthorization::free(platform::AuthorizationRef reference,
                             platform::AuthorizationFlags flags) {
    journal_.add("authorization.free " + nameOf(reference) + " flags=" + std::to_string(flags));
    if (reference != nullptr) --referencesHeld_;
}

platform::AuthorizationRef FakeAuthorization::makeReference() {
    const std::lock_guard lock(mutex_);
    ++referencesHeld_;
    return reinterpret_cast<platform::AuthorizationRef>(&references_.emplace_back());
}

std::string FakeAuthorization::nameOf(platform::AuthorizationRef reference) const {
    if (reference == nullptr) return "null";
    const std::lock_guard lock(mutex_);
    for (std::size_t index = 0; index < references_.size(); ++index)
        if (reinterpret_cast<const char*>(reference) == &references_[index])
            return "#" + std::to_string(index + 1);
    return "unknown";
}

} // namespace quorvane::testing
