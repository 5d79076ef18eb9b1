#include <TarnwickCore/Log.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>

namespace Tarnwick::Log {

namespace {

// All state of the log. The global level is read without the lock on the hot path (isAccepted);
// the category overrides are only consulted when at least one is set.
struct State {
    std::atomic<int> globalLevel{Info};
    std::atomic<bool> hasCategoryLevels{false};
    std::mutex mutex;
    std::map<std::string, int, std::less<>> categoryLevels;
    std::vector<std::shared_ptr<Sink>> sinks{std::make_shared<ConsoleSink>()};
};

// Created on first use with the console sink installed, so the log works before main() too.
State& state() {
    static State instance;
    return instance;
}

int levelFor(State& s, std::string_view category) {
    if (s.hasCategoryLevels.load(std::memory_order_relaxed) && !category.empty()) {
        std::lock_guard<std::mutex> lock(s.mutex);
        auto it = s.categoryLevels.find(category);
        if (it != s.categoryLevels.end())
            return it->second;
    }
    return s.globalLevel.load(std::memory_order_relaxed);
}

} // namespace

void ConsoleSink::write(const Record& record) {
    if (record.category.empty())
        std::fprintf(stderr, "[%s] %s\n", levelName(record.level), record.message.c_str());
    else
        std::fprintf(stderr, "[%s] %s: %s\n", levelName(record.level), record.category.c_str(), record.message.c_str());
    std::fflush(stderr);
}

void MemorySink::write(const Record& record) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.push_back(record);
}

std::vector<Record> MemorySink::records() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_records;
}

std::vector<std::string> MemorySink::messages(int level) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> result;
    for (const Record& record : m_records)
        if (level < 0 || record.level == level)
            result.push_back(record.message);
    return result;
}

void MemorySink::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.clear();
}

void setGlobalLevel(int level) {
    state().globalLevel.store(level);
}

int globalLevel() {
    return state().globalLevel.load();
}

void setCategoryLevel(const std::string& category, int level) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.categoryLevels[category] = level;
    s.hasCategoryLevels.store(true);
}

void clearCategoryLevels() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.categoryLevels.clear();
    s.hasCategoryLevels.store(false);
}

bool isAccepted(int level, std::string_view category) {
    return level >= levelFor(state(), category);
}

void log(int level, std::string_view category, std::string_view message, const char* file, int line) {
    State& s = state();
    if (level < levelFor(s, category))
        return;
    Record record{level, std::string(category), std::string(message), file ? file : "", line};
    std::lock_guard<std::mutex> lock(s.mutex);
    for (const auto& sink : s.sinks)
        sink->write(record);
}

void addSink(std::shared_ptr<Sink> sink) {
    if (!sink)
        return;
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.sinks.push_back(std::move(sink));
}

void removeSink(const std::shared_ptr<Sink>& sink) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.sinks.erase(std::remove(s.sinks.begin(), s.sinks.end(), sink), s.sinks.end());
}

void removeAllSinks() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.sinks.clear();
}

const char* levelName(int level) {
    switch (level) {
    case Trace:
        return "TRACE";
    case Debug:
        return "DEBUG";
    case Info:
        return "INFO";
    case Warning:
        return "WARNING";
    case Error:
        return "ERROR";
    case Fatal:
        return "FATAL";
    default:
        return "UNKNOWN";
    }
}

} // namespace Tarnwick::Log
