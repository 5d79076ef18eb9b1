#include <TarnwickCore/Timer.h>

#include <fmt/format.h>

#include <cmath>

namespace Tarnwick {

Timer::Timer(bool start) : m_start(Clock::now()), m_stop(m_start) {
    if (start)
        this->start();
}

void Timer::start() {
    m_start = Clock::now();
    m_running = true;
}

void Timer::stop() {
    if (m_running)
        m_stop = Clock::now();
    m_running = false;
}

double Timer::elapsedSeconds() const {
    const auto end = m_running ? Clock::now() : m_stop;
    return std::chrono::duration<double>(end - m_start).count();
}

double Timer::elapsedMs() const {
    return elapsedSeconds() * 1000.0;
}

std::string Timer::formatted() const {
    return format(elapsedSeconds());
}

std::string Timer::format(double seconds) {
    if (!(seconds >= 0))
        seconds = 0;
    if (seconds < 60)
        return fmt::format("{:.3f} s", seconds);
    const auto total = static_cast<long long>(std::floor(seconds));
    const long long hours = total / 3600, minutes = total / 60 % 60, rest = total % 60;
    if (hours == 0)
        return fmt::format("{}:{:02}", minutes, rest);
    return fmt::format("{}:{:02}:{:02}", hours, minutes, rest);
}

} // namespace Tarnwick
