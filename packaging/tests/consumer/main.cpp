#include <kit/base/format.h>
#include <platform/Services.h>

int main() {
    const quorvane::platform::Services services;
    return quorvane::platform::installServices(&services) == nullptr ? 0 : 1;
}
