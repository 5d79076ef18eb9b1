#include <TarnwickLib/IO/TarnwickFile.h>

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Platform.h>
#include <TarnwickCore/Progress.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>
#include <TarnwickLib/IO/BinaryValue.h>
#include <TarnwickLib/IO/BoundedStreamBuffer.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <istream>
#include <limits>
#include <mutex>
#include <ostream>

namespace Tarnwick {

namespace {

const char* const category = "TarnwickFile";

struct PluginList {
    std::mutex mutex;
    std::vector<std::unique_ptr<TarnwickFilePlugin>> plugins;
};

PluginList& pluginList() {
    static PluginList list;
    return list;
}

// Bytes left between the read position and the end, or nothing when the stream cannot seek.
std::optional<std::uint64_t> remainingBytes(std::istream& in) {
    const std::streampos position = in.tellg();
    if (position < 0 || !in.seekg(0, std::ios::end))
        return std::nullopt;
    const std::streampos end = in.tellg();
    in.seekg(position);
    if (end < position || !in)
        return std::nullopt;
    return static_cast<std::uint64_t>(end - position);
}

// Starts a progress task and ends it on every way out: as done only when finish(true) said so.
class ProgressTask {
public:
    ProgressTask(Progress* progress, const std::string& description, std::int64_t steps) : m_progress(progress) {
        if (m_progress)
            m_progress->start(description, steps);
    }
    ~ProgressTask() { finish(false); }
    /// Ends the task, as done when `ok`, else as failed; returns `ok`. Later calls do nothing.
    bool finish(bool ok) {
        if (m_progress)
            ok ? m_progress->end() : m_progress->fail();
        m_progress = nullptr;
        return ok;
    }
    void step() {
        if (m_progress)
            m_progress->step();
    }
    bool canceled() const { return m_progress && m_progress->wasCanceled(); }

private:
    Progress* m_progress;
};

TarnwickFilePlugin* pluginFor(const Data* data) {
    for (TarnwickFilePlugin* plugin : TarnwickFile::plugins())
        if (plugin->saveType(data) != 0)
            return plugin;
    return nullptr;
}

std::string describeItem(const Data& data) {
    return fmt::format("'{}' ({})", data.name(), Platform::demangleTypeName(data));
}

// Writes one record; the payload length is filled in after the plug-in wrote the payload.
bool writeRecord(std::ostream& out, Data& data, TarnwickFilePlugin& plugin, Progress* progress, std::string& error) {
    const std::string& name = data.name();
    if (name.size() > TarnwickFile::maxNameLength) {
        error = fmt::format("the name of {} is longer than {} bytes", describeItem(data), TarnwickFile::maxNameLength);
        return false;
    }
    putValue<std::uint32_t>(out, plugin.saveType(&data));
    putValue<std::uint32_t>(out, plugin.saveVersion(&data));
    putValue<std::uint32_t>(out, static_cast<std::uint32_t>(name.size()));
    out.write(name.data(), static_cast<std::streamsize>(name.size()));
    const std::streampos lengthPosition = out.tellp();
    if (lengthPosition < 0) {
        error = "the output stream is not seekable";
        return false;
    }
    putValue<std::uint64_t>(out, 0);
    const std::streampos payloadStart = out.tellp();
    if (!plugin.save(&data, out, progress)) {
        error = "the file plug-in could not write " + describeItem(data);
        return false;
    }
    const std::streampos payloadEnd = out.tellp();
    if (!out || payloadEnd < payloadStart) {
        error = "writing " + describeItem(data) + " failed";
        return false;
    }
    out.seekp(lengthPosition);
    putValue<std::uint64_t>(out, static_cast<std::uint64_t>(payloadEnd - payloadStart));
    out.seekp(payloadEnd);
    return true;
}

// Reads record `index` (0-based) of `count` and adds its data set to `result`; unknown types are skipped.
bool readRecord(std::istream& in, std::uint32_t index, std::uint32_t count, Progress* progress, OwningDataList& result,
                std::string& error) {
    const auto truncated = [&] {
        error = fmt::format("the file ends inside record {} of {}", index + 1, count);
        return false;
    };
    std::uint32_t typeId = 0, version = 0, nameLength = 0;
    if (!getValue(in, typeId) || !getValue(in, version) || !getValue(in, nameLength))
        return truncated();
    if (nameLength > TarnwickFile::maxNameLength) {
        error = fmt::format("record {} of {} has a name of {} bytes (at most {} are allowed)", index + 1, count,
                            nameLength, TarnwickFile::maxNameLength);
        return false;
    }
    std::string name(nameLength, '\0');
    std::uint64_t payloadLength = 0;
    if (!in.read(name.data(), nameLength) || !getValue(in, payloadLength))
        return truncated();
    const auto remaining = remainingBytes(in);
    if (remaining && payloadLength > *remaining) {
        error = fmt::format("record {} of {} ('{}') claims {} bytes but only {} remain", index + 1, count, name,
                            payloadLength, *remaining);
        return false;
    }

    TarnwickFilePlugin* reader = nullptr;
    std::unique_ptr<Data> data;
    for (TarnwickFilePlugin* plugin : TarnwickFile::plugins()) {
        data.reset(plugin->loadInstance(typeId, version));
        if (data) {
            reader = plugin;
            break;
        }
    }
    BoundedStreamBuffer buffer(in, payloadLength);
    if (!reader) {
        TW_LOG_CAT_WARN(category, "Skipping record '{}' of unknown type {}", name, typeId);
        return buffer.skipRest() || truncated();
    }
    std::istream payload(&buffer);
    const bool loaded = reader->load(typeId, data.get(), payload, progress);
    if (!buffer.skipRest())
        return truncated();
    if (!loaded) {
        error = fmt::format("record {} of {} ('{}', type {}) could not be read", index + 1, count, name, typeId);
        return false;
    }
    data->setName(name);
    reader->applyFlipToEnsureConsistency(data.get());
    result.add(std::move(data));
    return true;
}

} // namespace

void TarnwickFile::addPlugin(std::unique_ptr<TarnwickFilePlugin> plugin) {
    if (!plugin)
        return;
    PluginList& list = pluginList();
    std::lock_guard lock(list.mutex);
    list.plugins.push_back(std::move(plugin));
}

bool TarnwickFile::removePlugin(const TarnwickFilePlugin* plugin) {
    std::unique_ptr<TarnwickFilePlugin> removed; // destroyed after the lock is released
    PluginList& list = pluginList();
    std::lock_guard lock(list.mutex);
    auto it = std::find_if(list.plugins.begin(), list.plugins.end(), [&](const auto& p) { return p.get() == plugin; });
    if (it == list.plugins.end())
        return false;
    removed = std::move(*it);
    list.plugins.erase(it);
    return true;
}

std::vector<TarnwickFilePlugin*> TarnwickFile::plugins() {
    PluginList& list = pluginList();
    std::lock_guard lock(list.mutex);
    std::vector<TarnwickFilePlugin*> result;
    for (const auto& plugin : list.plugins)
        result.push_back(plugin.get());
    return result;
}

namespace {

/// The body of TarnwickFile::write, reporting to a task the caller runs.
bool writeContents(std::ostream& out, const DataList& data, Progress* progress, ProgressTask& task,
                   std::string& error) {
    if (data.size() > std::numeric_limits<std::uint32_t>::max()) {
        error = fmt::format("{} data sets are more than a file can hold", data.size());
        return false;
    }
    // Every item needs a plug-in; check them all before writing anything.
    std::vector<TarnwickFilePlugin*> writers;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (!data[i]) {
            error = fmt::format("data set {} of the list is missing", i + 1);
            return false;
        }
        writers.push_back(pluginFor(data[i]));
        if (!writers.back()) {
            error = "no file plug-in can save " + describeItem(*data[i]);
            return false;
        }
    }
    try {
        out.write(TarnwickFile::magic, sizeof(TarnwickFile::magic));
        putValue<std::uint32_t>(out, TarnwickFile::formatVersion);
        putValue<std::uint32_t>(out, static_cast<std::uint32_t>(data.size()));
        for (std::size_t i = 0; i < data.size(); ++i) {
            if (task.canceled()) {
                error = "saving was canceled";
                return false;
            }
            if (!writeRecord(out, *data[i], *writers[i], progress, error))
                return false;
            task.step();
        }
        out.flush();
    } catch (const std::exception& e) {
        error = std::string("a file plug-in failed: ") + e.what();
        return false;
    }
    if (!out) {
        error = "writing failed";
        return false;
    }
    return true;
}

} // namespace

bool TarnwickFile::write(std::ostream& out, const DataList& data, Progress* progress, std::string& error) {
    ProgressTask task(progress, "Saving data", static_cast<std::int64_t>(data.size()));
    return task.finish(writeContents(out, data, progress, task, error));
}

std::optional<OwningDataList> TarnwickFile::read(std::istream& in, Progress* progress, std::string& error) {
    char fileMagic[sizeof(magic)] = {};
    if (!in.read(fileMagic, sizeof(fileMagic)) || !std::equal(fileMagic, fileMagic + sizeof(magic), magic)) {
        error = "not a data file (it does not start with 'TARNWICK')";
        return std::nullopt;
    }
    std::uint32_t version = 0, count = 0;
    if (!getValue(in, version) || !getValue(in, count)) {
        error = "the file ends inside its header";
        return std::nullopt;
    }
    if (version == 0 || version > formatVersion) {
        error =
            fmt::format("unsupported format version {} (this program reads versions 1 to {})", version, formatVersion);
        return std::nullopt;
    }
    ProgressTask task(progress, "Loading data", count);
    OwningDataList result;
    try {
        for (std::uint32_t i = 0; i < count; ++i) {
            if (task.canceled()) {
                error = "loading was canceled";
                return std::nullopt;
            }
            if (!readRecord(in, i, count, progress, result, error))
                return std::nullopt;
            task.step();
        }
    } catch (const std::exception& e) {
        error = std::string("a file plug-in failed: ") + e.what();
        return std::nullopt;
    }
    task.finish(true);
    if (in.peek() != std::istream::traits_type::eof())
        TW_LOG_CAT_WARN(category, "Ignoring data after the last of {} records", count);
    return result;
}

bool TarnwickFile::save(const std::string& path, const DataList& data, Progress* progress) {
    AtomicFileWriter writer(path);
    std::string error;
    // The task ends once the file is in place, so that "done" never precedes a failed rename.
    ProgressTask task(progress, "Saving data", static_cast<std::int64_t>(data.size()));
    if (task.finish(writer.open(error) && writeContents(writer.stream(), data, progress, task, error) &&
                    writer.commit(error)))
        return true;
    const std::string cause = writer.writeError();
    if (!cause.empty() && error.find(cause) == std::string::npos)
        error += " (" + cause + ")";
    TW_LOG_CAT_ERROR(category, "Cannot save '{}': {}", path, error);
    return false;
}

std::optional<OwningDataList> TarnwickFile::load(const std::string& path, Progress* progress) {
    std::string error;
    std::error_code code;
    std::ifstream in;
    if (!std::filesystem::is_regular_file(path, code)) {
        error = std::filesystem::exists(path, code) ? "not a regular file" : "no such file";
    } else {
        in.open(path, std::ios::binary);
        if (!in)
            error = std::strerror(errno);
    }
    std::optional<OwningDataList> result;
    if (error.empty())
        result = read(in, progress, error);
    if (!result)
        TW_LOG_CAT_ERROR(category, "Cannot load '{}': {}", path, error);
    return result;
}

} // namespace Tarnwick
