#include <kit/base/format.h>
#include <platform/SystemInfo.h>
#include <platform/linux/services.h>

int main() {
    const auto services = quorvane::platform::linux_::makeServices(nullptr);
    return services.systemInfo->processorCount() > 0 ? 0 : 1;
}
