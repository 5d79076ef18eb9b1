#pragma once

#include <TarnwickCore/Log.h>

#include <memory>
#include <string>
#include <vector>

namespace Tarnwick::Test {

/// Captures every log message for the lifetime of the object (and silences the console), so tests
/// can assert the exact messages an operation logs.
class LogCapture {
public:
    explicit LogCapture(int level = Log::Trace);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Log::Record> records() const { return m_sink->records(); }
    /// Message texts of one level, or of all levels when level < 0.
    std::vector<std::string> messages(int level = -1) const { return m_sink->messages(level); }
    std::vector<std::string> errors() const { return messages(Log::Error); }
    std::vector<std::string> warnings() const { return messages(Log::Warning); }
    /// True when some message of that level (any level if < 0) equals `text` exactly.
    bool contains(const std::string& text, int level = -1) const;
    void clear() { m_sink->clear(); }

private:
    std::shared_ptr<Log::MemorySink> m_sink = std::make_shared<Log::MemorySink>();
    int m_previousLevel;
};

} // namespace Tarnwick::Test
