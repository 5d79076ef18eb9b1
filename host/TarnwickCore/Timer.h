#pragma once

#include <chrono>
#include <string>

namespace Tarnwick {

/// Measures elapsed wall-clock time with a monotonic clock.
class Timer {
public:
    /// Starts at once unless `start` is false; an unstarted timer reports zero.
    explicit Timer(bool start = true);

    /// Restarts from zero.
    void start();
    /// Freezes the elapsed time; start() begins a new measurement.
    void stop();
    bool isRunning() const { return m_running; }

    double elapsedSeconds() const;
    double elapsedMs() const;

    /// The elapsed time as text: "0.250 s" below a minute, "2:05" (minutes:seconds) below an hour,
    /// "1:02:05" above.
    std::string formatted() const;
    static std::string format(double seconds);

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start;
    Clock::time_point m_stop;
    bool m_running = false;
};

} // namespace Tarnwick
