// Process descriptors.
#pragma once

extern "C" { // which the header forgets in glibc 2.36
#include <sys/pidfd.h>
}
