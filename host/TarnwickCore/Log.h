#pragma once

#include <fmt/format.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick::Log {

/// Severity of a message. The global level defaults to Info: trace and debug messages are dropped.
enum Level : int { Trace = 0, Debug = 1, Info = 2, Warning = 3, Error = 4, Fatal = 5 };

/// One admitted message as handed to the sinks.
struct Record {
    int level = Info;
    std::string category;
    std::string message;
    std::string file;
    int line = 0;
};

/// Receives every admitted message. Sinks are called under the log's lock, one message at a time.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void write(const Record& record) = 0;
};

/// Writes "[LEVEL] category: message" lines to standard error.
class ConsoleSink : public Sink {
public:
    void write(const Record& record) override;
};

/// Keeps every message in memory; tests use it to assert exact messages.
class MemorySink : public Sink {
public:
    void write(const Record& record) override;
    std::vector<Record> records() const;
    /// Messages (text only) of the given level, or of every level when level is negative.
    std::vector<std::string> messages(int level = -1) const;
    void clear();

private:
    mutable std::mutex m_mutex;
    std::vector<Record> m_records;
};

/// The global level: messages below it are not admitted. Default Info.
void setGlobalLevel(int level);
int globalLevel();

/// Overrides the level for one category (messages of that category use it instead of the global level).
void setCategoryLevel(const std::string& category, int level);
void clearCategoryLevels();

/// Whether a message of this level and category would be admitted. Cheap; call before building a message.
bool isAccepted(int level, std::string_view category = {});

/// Hands a message to every sink if it is admitted.
void log(int level, std::string_view category, std::string_view message, const char* file = "", int line = 0);

/// Sinks. A console sink is installed at start-up; removeAllSinks() removes it too.
void addSink(std::shared_ptr<Sink> sink);
void removeSink(const std::shared_ptr<Sink>& sink);
void removeAllSinks();

/// Human-readable level name ("TRACE", "DEBUG", "INFO", "WARNING", "ERROR", "FATAL").
const char* levelName(int level);

} // namespace Tarnwick::Log

/// Logs a fmt-formatted message; the arguments are only formatted when the level is admitted.
#define TW_LOG(level, category, ...)                                                                  \
    do {                                                                                              \
        if (::Tarnwick::Log::isAccepted((level), (category)))                                         \
            ::Tarnwick::Log::log((level), (category), ::fmt::format(__VA_ARGS__), __FILE__, __LINE__); \
    } while (0)

#define TW_LOG_TRACE(...) TW_LOG(::Tarnwick::Log::Trace, "", __VA_ARGS__)
#define TW_LOG_DEBUG(...) TW_LOG(::Tarnwick::Log::Debug, "", __VA_ARGS__)
#define TW_LOG_INFO(...) TW_LOG(::Tarnwick::Log::Info, "", __VA_ARGS__)
#define TW_LOG_WARN(...) TW_LOG(::Tarnwick::Log::Warning, "", __VA_ARGS__)
#define TW_LOG_ERROR(...) TW_LOG(::Tarnwick::Log::Error, "", __VA_ARGS__)
#define TW_LOG_CAT_INFO(category, ...) TW_LOG(::Tarnwick::Log::Info, category, __VA_ARGS__)
#define TW_LOG_CAT_WARN(category, ...) TW_LOG(::Tarnwick::Log::Warning, category, __VA_ARGS__)
#define TW_LOG_CAT_ERROR(category, ...) TW_LOG(::Tarnwick::Log::Error, category, __VA_ARGS__)
