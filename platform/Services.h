// The set of platform services that the kit runs on.
#pragma once

#include <functional>
#include <memory>

namespace quorvane::platform {

class Application;
class Authorization;
class ConsoleLog;
class Digests;
class Exceptions;
class ExtendedAttributes;
class FileManager;
class Presentation;
class Processes;
class PropertyLists;
class Queues;
class StandardDirectories;
class SystemInfo;
class Tools;
class UserIdentity;
class Workspace;

/// One object per service, shared by all threads; file managers are made afresh for each operation.
struct Services {
    std::shared_ptr<Application> application;
    std::shared_ptr<Authorization> authorization;
    std::shared_ptr<ConsoleLog> consoleLog;
    std::shared_ptr<Digests> digests;
    std::shared_ptr<Exceptions> exceptions;
    std::shared_ptr<ExtendedAttributes> extendedAttributes;
    std::function<std::unique_ptr<FileManager>()> makeFileManager;
    std::shared_ptr<Presentation> presentation;
    std::shared_ptr<Processes> processes;
    std::shared_ptr<PropertyLists> propertyLists;
    std::shared_ptr<Queues> queues;
    std::shared_ptr<StandardDirectories> standardDirectories;
    std::shared_ptr<SystemInfo> systemInfo;
    std::shared_ptr<Tools> tools;
    std::shared_ptr<UserIdentity> userIdentity;
    std::shared_ptr<Workspace> workspace;
};

/// The installed set. Ends the process with a message when none is installed. Any thread.
const Services& services();

/// Installs a set, which the caller keeps alive as long as it stands, and answers the one before
/// (null at first). While other threads use the kit, only the platform's own start-up code and
/// tests, which own all threads, may call this.
const Services* installServices(const Services* set);

} // namespace quorvane::platform
