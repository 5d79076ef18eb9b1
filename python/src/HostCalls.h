#pragma once

#include <TarnwickLib/Data/Data.h>

#include <pybind11/pybind11.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick::Python {

using DataPtr = std::shared_ptr<Data>;

/// A file that cannot be read or written; becomes OSError in Python.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The calls of the Python package into the host: plug-ins, files and the algorithm catalogue. Each
/// turns a failure into an exception carrying the host's logged reason: std::invalid_argument (ValueError)
/// for bad input, FileError (OSError) for files, std::runtime_error (RuntimeError) for algorithm failures.
namespace HostCalls {

/// Registers the host's algorithms and loads the plug-ins of `folders` (once per process; later calls
/// load nothing). Returns the loaded plug-ins' ids and, for each refused library, "path: reason".
std::pair<std::vector<std::string>, std::vector<std::string>> initialize(const std::vector<std::string>& folders);

/// Unloads the plug-ins and stops handing log messages to Python: at interpreter exit, before the
/// host's own statics go away (the file plug-in registry among them, which unloading still needs).
void shutdown();

/// The data sets of a file (any format DataFileIO knows).
std::vector<DataPtr> load(const std::string& path);
/// Writes data sets to a file by its extension.
void save(const std::string& path, const std::vector<DataPtr>& data);

/// The catalogue: one dict per algorithm with "id", "name" (menu name), "factory" and "parameters", a
/// list of dicts with "name", "type", "default", "label" and "values" (enumeration labels; empty
/// otherwise). Parameters are listed when the algorithm can be made without input, else None.
pybind11::list algorithms();

/// The parameters of algorithm `id` created on `inputs`, as in algorithms(); ValueError as for run().
pybind11::list parameters(const std::string& id, const std::vector<DataPtr>& inputs);

/// Runs catalogue algorithm `id` on `inputs` with parameters set from text (name, value), as
/// `tarnwick-cli run --set` does, without the interpreter lock. Returns its output (empty when it
/// edited its inputs). ValueError for an unknown id (listing the valid ones), unsuitable inputs or an
/// unknown parameter (listing the valid names); RuntimeError with the status and the logged reason when
/// the algorithm fails.
std::vector<DataPtr> run(const std::string& id, const std::vector<DataPtr>& inputs,
                         const std::vector<std::pair<std::string, std::string>>& settings);

} // namespace HostCalls
} // namespace Tarnwick::Python
