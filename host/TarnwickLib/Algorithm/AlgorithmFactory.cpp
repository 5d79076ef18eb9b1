#include <TarnwickLib/Algorithm/AlgorithmFactory.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <exception>

namespace Tarnwick {

namespace {

// Runs a class's compatibility test, turning an exception from plug-in code into a logged refusal.
bool callCreateCompatible(const AlgorithmFactory::Entry& entry, const DataList& data, Algorithm** out) {
    try {
        return entry.createCompatible(data, out);
    } catch (const std::exception& e) {
        TW_LOG_ERROR("Algorithm '{}' failed to test its input: {}", entry.id, e.what());
    } catch (...) {
        TW_LOG_ERROR("Algorithm '{}' failed to test its input", entry.id);
    }
    return false;
}

} // namespace

AlgorithmFactory::AlgorithmFactory(std::string name) : m_name(std::move(name)) {}

AlgorithmFactory::~AlgorithmFactory() = default;

const AlgorithmFactory::Entry* AlgorithmFactory::entry(const std::string& id) const {
    auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.id == id; });
    return it == m_entries.end() ? nullptr : &*it;
}

bool AlgorithmFactory::isCompatible(const std::string& id, const DataList& data) const {
    const Entry* found = entry(id);
    return found && callCreateCompatible(*found, data, nullptr);
}

std::unique_ptr<Algorithm> AlgorithmFactory::create(const std::string& id, const DataList& data) const {
    const Entry* found = entry(id);
    if (!found) {
        TW_LOG_ERROR("Unknown algorithm '{}'", id);
        return nullptr;
    }
    Algorithm* created = nullptr;
    const bool compatible = callCreateCompatible(*found, data, &created);
    std::unique_ptr<Algorithm> algorithm(created);
    if (!compatible || !algorithm) {
        TW_LOG_ERROR("Algorithm '{}' cannot run on the given input ({} data sets)", id, data.size());
        return nullptr;
    }
    algorithm->setFactoryInfo({found->id, found->menuName, data});
    return algorithm;
}

bool AlgorithmFactory::addEntry(Entry entry) {
    if (entry.id.empty()) {
        TW_LOG_ERROR("Factory '{}': cannot register an algorithm without an identifier", m_name);
        return false;
    }
    if (this->entry(entry.id)) {
        TW_LOG_ERROR("Factory '{}': algorithm '{}' is already registered", m_name, entry.id);
        return false;
    }
    m_entries.push_back(std::move(entry));
    return true;
}

} // namespace Tarnwick
