#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick::Cli {

/// Creates catalogue algorithm `id` on `inputs` and sets its parameters from text (name, value), for the
/// fixed steps the command line chains itself. Null, with the reason logged, when the algorithm is not in
/// the catalogue (the graph plug-in is not loaded), does not accept the inputs, or lacks or refuses a
/// parameter.
std::unique_ptr<Algorithm> createConfiguredAlgorithm(const std::string& id, const DataList& inputs,
                                                     const std::vector<std::pair<std::string, std::string>>& settings);

} // namespace Tarnwick::Cli
