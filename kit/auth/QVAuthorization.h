// The process's one authorization session, and file operations with administrator rights.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "kit/base/singleton.h"
#include "platform/Authorization.h"
#include "platform/Values.h"

namespace quorvane {

/// Whether the session may ask the user.
enum class WithGui : bool { no, yes };
/// Whether to return once the tool has started, or to wait until it has closed its output.
enum class Async : bool { no, yes };
/// Whether items are deleted instead of trashed where the superuser has no user to trash for.
enum class DeleteOnRootAccount : bool { no, yes };

/// Status of a tool run with administrator rights: 0 success, the two below, or a value of the
/// authorization service.
using PrivilegedStatus = std::int32_t;
inline constexpr PrivilegedStatus kPrivilegedNotAuthorized = -1;
inline constexpr PrivilegedStatus kPrivilegedToolMissing = -2;

/// One instance per process, made on first use and never destroyed. The administrator right is
/// asked for once, at the first operation that needs it, and kept until `authEnd`. A process of the
/// superuser needs no right: it counts as authorized and runs its tools through QVTaskEx.
///
/// Operations return as soon as their tool has started; a tool that fails later is not noticed.
/// Callers that need the result on disk use the timed forms of QVFileManager. Messages go to the
/// console log. Any thread; a null path gives false.
class QVAuthorization : public ProcessLifetime<QVAuthorization> {
public:
    QVAuthorization(const QVAuthorization&) = delete;
    QVAuthorization& operator=(const QVAuthorization&) = delete;

    /// `sharedController`, `sharedController:`: the instance. Only the very first call's argument
    /// counts.
    static QVAuthorization& sharedController(WithGui withGui = WithGui::yes);
    /// `allocWithZone:`: makes the instance without a session and records it; null when it exists.
    static QVAuthorization* allocate();

    /// `init`, `initWithoutGUI`: adopt a session inherited from a parent with administrator rights,
    /// and take the user's home.
    QVAuthorization& init();
    QVAuthorization& initWithoutGui();

    /// `authStart`: obtains the right, asking the user.
    bool authStart();
    /// `authStartWithUser:password:`: obtains the right without asking. A session already held is
    /// replaced, not freed: callers may still hold its reference.
    bool authStartWithUser(const MaybeText& user, const MaybeText& password);
    /// `authEnd`: gives the session back.
    void authEnd();

    platform::AuthorizationRef authRef() const { return authRef_; }
    void setAuthRef(platform::AuthorizationRef reference) { authRef_ = reference; }
    bool hasGui() const { return hasGui_; }
    void setHasGui(bool hasGui) { hasGui_ = hasGui; }
    /// The user's home when the session was made; null for the superuser.
    const MaybePath& userDirectory() const { return userDirectory_; }

    /// `isAuthorized`, `canAuthorize`.
    bool isAuthorized() const;
    bool canAuthorize() const;

    /// `authRemoveFile:`: deletes an item with all below it. Refuses system folders.
    bool authRemoveFile(const MaybePath& item);
    /// `authTrashFile:`, `authTrashFile:deleteOnRootAccount:`: moves an item into the Trash under
    /// its name, or one stamped with the local time if that is taken. Refuses system folders.
    bool authTrashFile(const MaybePath& item,
                       DeleteOnRootAccount deleteOnRootAccount = DeleteOnRootAccount::no);
    /// `authTrashFolderContents:`, `authTrashFolderContents:deleteOnRootAccount:`: the same for
    /// every entry of a folder; true if none failed.
    bool authTrashFolderContents(const MaybePath& folder,
                                 DeleteOnRootAccount deleteOnRootAccount = DeleteOnRootAccount::no);
    /// `authMoveFolderContents:toPath:`: moves every entry into another folder, which must exist.
    bool authMoveFolderContents(const MaybePath& source, const MaybePath& destination);
    /// `authMoveFile:toPath:`: moves or renames an item, replacing what is there. Refuses to move
    /// system folders.
    bool authMoveFile(const MaybePath& source, const MaybePath& destination);
    /// `authCopyFile:toPath:`: copies an item with all below it, replacing what is there.
    bool authCopyFile(const MaybePath& source, const MaybePath& destination);
    /// `authCreateDir:`: makes a folder and those missing above it.
    bool authCreateDir(const MaybePath& folder);

    /// `authExecTask:parameters:`, `authExecTask:parameters:async:`: runs a tool with administrator
    /// rights, starting the session where there is none.
    PrivilegedStatus authExecTask(const MaybePath& tool, const Arguments& parameters,
                                  Async async = Async::yes);

private:
    QVAuthorization() = default;
    ~QVAuthorization() { authEnd(); }

    QVAuthorization& initialize(bool hasGui);
    PrivilegedStatus executeAuthorized(const Path& tool, const Arguments& parameters, Async async);
    bool startTool(const Path& tool, const Arguments& parameters);
    MaybePath trashDestination(const Path& item) const;

    std::atomic<platform::AuthorizationRef> authRef_{nullptr};
    std::atomic<bool> hasGui_{false};
    MaybePath userDirectory_;

    std::mutex pipesMutex_;
    std::vector<std::unique_ptr<platform::CommunicationsPipe>>
        pipes_; ///< of all tools run; never closed
};

} // namespace quorvane
