// Ends a window program at its first idle moment after its first painting, with its measures.
#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace quorvane::bench {

class FirstIdle final : public QObject {
public:
    FirstIdle() { QCoreApplication::instance()->installEventFilter(this); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint && watched->isWidgetType()) {
            QCoreApplication::instance()->removeEventFilter(this);
            QTimer::singleShot(0, &FirstIdle::report);
        }
        return false;
    }

private:
    /// Prints the monotonic clock in nanoseconds and the resident memory in KiB.
    static void report() {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        std::ifstream status("/proc/self/status");
        std::string word;
        long resident = 0;
        while (status >> word && word != "VmRSS:") {
        }
        status >> resident;
        std::printf("%lld %ld\n", static_cast<long long>(std::chrono::nanoseconds(now).count()),
                    resident);
        std::fflush(stdout);
        std::_Exit(EXIT_SUCCESS);
    }
};

} // namespace quorvane::bench
