#pragma once

#include <TarnwickCore/Log.h>

#include <deque>
#include <memory>
#include <mutex>

namespace Tarnwick::Python {

/// Hands the host's log messages to Python's `logging` (logger "tarnwick", or "tarnwick.<category>").
///
/// The host may log from any thread, under its log lock, while Python code holds the interpreter lock on
/// another thread; taking the interpreter lock inside write() could then deadlock. So write() only queues
/// the record, and flush(), called with the interpreter lock held at the end of every call into the host,
/// passes the queue on.
class PythonLogSink : public Log::Sink {
public:
    /// The process-wide sink, created on first use.
    static const std::shared_ptr<PythonLogSink>& instance();
    /// Makes the sink the host's only one (the console sink goes: Python's logging decides what is shown).
    static void install();
    /// Removes the sink from the host's log (at interpreter exit, before Python objects go away).
    static void uninstall();

    void write(const Log::Record& record) override;
    /// Passes every queued record to Python's logging. Needs the interpreter lock.
    void flush();

private:
    std::mutex m_mutex;
    std::deque<Log::Record> m_queue;
};

} // namespace Tarnwick::Python
