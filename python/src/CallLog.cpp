#include "CallLog.h"

#include "PythonLogSink.h"

namespace Tarnwick::Python {

CallLog::CallLog() : m_sink(std::make_shared<Log::MemorySink>()) {
    Log::addSink(m_sink);
}

CallLog::~CallLog() {
    Log::removeSink(m_sink);
    try {
        PythonLogSink::instance()->flush();
    } catch (...) {
        // A failing logging handler must not raise a second exception while one unwinds.
    }
}

std::string CallLog::problems(const std::string& fallback) const {
    std::string text;
    for (const Log::Record& record : m_sink->records())
        if (record.level >= Log::Warning)
            text += (text.empty() ? "" : "\n") + record.message;
    return text.empty() ? fallback : text;
}

} // namespace Tarnwick::Python
