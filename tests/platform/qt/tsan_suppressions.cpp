// Qt is not built for ThreadSanitizer, which therefore does not see how its own threads keep order.
// Our code between them is watched all the same.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name that the sanitizer looks for
extern "C" const char* __tsan_default_suppressions();

// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_suppressions() {
    return "race:QEvent::type\n" // of an event that another thread has posted
           "race:libQt6Core.so\n"
           "race:libQt6DBus.so\n"
           "race:libQt6Gui.so\n"
           "race:libdbus-1.so\n";
}
