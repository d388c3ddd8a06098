// How the desktop shows items: file references, events to the file manager, labels, registered
// applications.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/FileManager.h"
#include "platform/Values.h"

namespace quorvane::platform {

/// Refers to an item: a value to hand around, which only the service that made it looks into. One
/// without a path refers to nothing.
struct FileReference {
    Path path;
    FileIdentity identity;
    std::optional<FileTime> made;
};

/// The item of an event, in the form in which events carry it.
struct Alias {
    FileReference item;
};

/// An event as its sender describes it; names of kinds have four characters.
struct EventDescription {
    std::string eventClass;
    std::string eventId;
    std::string addressType;
    std::string address;
    std::int16_t returnId = 0;
    std::int32_t transaction = 0;
    /// The parameters by keyword; "@@" stands for the alias.
    std::string parameters;
};

/// An event that is ready to be sent, or the reply to one.
struct Event {
    EventDescription description;
    Alias directParameter;
};

enum class SendMode { noReply };
/// Whether a registration that is there is written again, whatever it says.
enum class ForceUpdate : bool { no, yes };

/// Any thread.
class Presentation {
public:
    virtual ~Presentation() = default;

    /// Refers to the item itself, which must be there; a final symbolic link is not followed.
    virtual Result<FileReference> fileReference(const Path& path) = 0;
    /// Where the item is now, as far as the platform can follow it.
    virtual Result<Path> path(const FileReference& reference) = 0;

    // Events to other programs. Whoever made an alias or an event, or was given a reply, disposes
    // of it.
    virtual Result<Alias> makeMinimalAlias(const FileReference& reference) = 0;
    virtual Result<Event> buildEvent(const EventDescription& description, const Alias& alias) = 0;
    /// Sends the event to whoever listens. Never waits for the receiver without a reply to wait
    /// for; the time-out is in ticks of 1/60 second, -1 for the platform's own. Success says
    /// nothing about a receiver.
    virtual Result<void> send(const Event& event, Event& reply, SendMode mode,
                              std::int32_t timeout) = 0;
    virtual void dispose(Event& event) = 0;
    virtual void dispose(Alias& alias) = 0;

    /// The item's label, 0 to 7; null where it has none.
    virtual std::optional<int> labelNumber(const Path& path) = 0;
    /// 0 takes the label away; EINVAL for a number that is no label.
    virtual Result<void> setLabelNumber(const Path& path, int number) = 0;

    /// Lets the desktop know an application bundle, so that it offers it and the workspace finds it
    /// by its identifier.
    virtual Result<void> registerApplication(const Path& bundle, ForceUpdate forceUpdate) = 0;
};

} // namespace quorvane::platform
