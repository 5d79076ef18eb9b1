#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick::Cli {

/// One run of a catalogue algorithm from the command line, shared by `run` and workspaces: creates the
/// algorithm on its inputs, sets parameters from text, computes with a progress display on standard
/// error and prints the outcome ("<id>: status 0 (success) in 1.250 s") on standard output. Every
/// failure is logged with its reason.
class AlgorithmRun {
public:
    using Setting = std::pair<std::string, std::string>; ///< parameter name (or "group/member") and value

    /// Whether `id` is in the catalogue; logs the reason when it is not.
    static bool isKnown(const std::string& id);
    /// Creates algorithm `id` on `inputs`. False when the id is not in the catalogue or the algorithm
    /// does not accept the inputs.
    bool create(const std::string& id, const DataList& inputs);
    /// Sets each parameter from its text, type-checked (enumerations take labels or numbers). False at
    /// the first unknown name (the message lists the valid names) or invalid value.
    bool configure(const std::vector<Setting>& settings);
    /// Runs the algorithm. True when it finished with status 0; an exception counts as a failure.
    bool compute();
    /// The data the algorithm produced (empty when it edited its inputs in place).
    OwningDataList takeOutput();

private:
    std::string m_id;
    std::unique_ptr<Algorithm> m_algorithm;
};

} // namespace Tarnwick::Cli
