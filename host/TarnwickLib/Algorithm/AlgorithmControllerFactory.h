#pragma once

#include <string>

namespace Tarnwick {

class Algorithm;
class AlgorithmController;

/// Creates the controller (user interface) for an algorithm. A plug-in derives one and hands it to
/// the host, which asks every registered factory in turn until one answers.
class AlgorithmControllerFactory {
public:
    explicit AlgorithmControllerFactory(std::string name) : m_name(std::move(name)) {}
    virtual ~AlgorithmControllerFactory() = default;
    AlgorithmControllerFactory(const AlgorithmControllerFactory&) = delete;
    AlgorithmControllerFactory& operator=(const AlgorithmControllerFactory&) = delete;

    const std::string& name() const { return m_name; }

    /// A new controller for `algorithm` (owned by the caller), or null when this factory has none
    /// for it.
    virtual AlgorithmController* create(Algorithm* algorithm) const = 0;

private:
    std::string m_name;
};

} // namespace Tarnwick
