#include "PythonLogSink.h"

#include <pybind11/pybind11.h>

namespace py = pybind11;

namespace Tarnwick::Python {

namespace {

/// The host's levels (trace .. fatal) on Python's scale (TRACE below DEBUG).
int pythonLevel(int level) {
    static const int levels[] = {5, 10, 20, 30, 40, 50};
    return level <= Log::Trace ? levels[0] : level >= Log::Fatal ? levels[5] : levels[level];
}

} // namespace

const std::shared_ptr<PythonLogSink>& PythonLogSink::instance() {
    static const std::shared_ptr<PythonLogSink> sink = std::make_shared<PythonLogSink>();
    return sink;
}

void PythonLogSink::install() {
    Log::removeAllSinks();
    Log::addSink(instance());
}

void PythonLogSink::uninstall() {
    Log::removeSink(instance());
}

void PythonLogSink::write(const Log::Record& record) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_queue.push_back(record);
}

void PythonLogSink::flush() {
    std::deque<Log::Record> records;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        records.swap(m_queue);
    }
    if (records.empty() || !Py_IsInitialized())
        return;
    const py::object getLogger = py::module_::import("logging").attr("getLogger");
    for (const Log::Record& record : records) {
        const std::string name = record.category.empty() ? "tarnwick" : "tarnwick." + record.category;
        getLogger(name).attr("log")(pythonLevel(record.level), "%s", record.message);
    }
}

} // namespace Tarnwick::Python
