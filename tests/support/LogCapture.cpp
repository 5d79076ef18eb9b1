#include "support/LogCapture.h"

#include <algorithm>

namespace Tarnwick::Test {

LogCapture::LogCapture(int level) : m_previousLevel(Log::globalLevel()) {
    Log::removeAllSinks();
    Log::addSink(m_sink);
    Log::setGlobalLevel(level);
}

LogCapture::~LogCapture() {
    Log::removeAllSinks();
    Log::addSink(std::make_shared<Log::ConsoleSink>());
    Log::setGlobalLevel(m_previousLevel);
}

bool LogCapture::contains(const std::string& text, int level) const {
    const auto all = messages(level);
    return std::find(all.begin(), all.end(), text) != all.end();
}

} // namespace Tarnwick::Test
