// The uninstaller as it starts, up to its first idle moment.
#include "app/interface.h"
#include "bench/window_idle.h"

int main(int argc, char** argv) {
    return quorvane::platform::applicationMain(argc, argv,
                                               [](quorvane::platform::Application& application) {
                                                   static const quorvane::bench::FirstIdle idle;
                                                   brightkeel::loadInterface(application);
                                               });
}
