#pragma once

#include <TarnwickCore/Log.h>

#include <memory>
#include <string>

namespace Tarnwick::Python {

/// The log messages of one call into the host, kept while it is alive; they become the text of the
/// Python exception when the call fails. Flushes the Python log sink when it ends.
class CallLog {
public:
    CallLog();
    ~CallLog();
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;

    /// The warning and error messages so far, one a line; `fallback` when there are none.
    std::string problems(const std::string& fallback) const;

private:
    std::shared_ptr<Log::MemorySink> m_sink;
};

} // namespace Tarnwick::Python
