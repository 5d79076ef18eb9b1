#pragma once

#include <TarnwickLib/Data/DataList.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

/// A pipeline in one file (extension "tws"): the data files to load, the algorithm steps to run on
/// them and the files to save at the end. `tarnwick-cli run WORKSPACE.tws` executes it.
///
/// The file is JSON:
///
///     {
///       "tarnwickWorkspace": 1,
///       "data": [
///         {"name": "tree", "file": "tree.graphml"},
///         {"name": "labels", "file": "vessels.nii.gz"}
///       ],
///       "steps": [
///         {"algorithm": "ComputeFeatures", "inputs": ["tree", "labels"],
///          "parameters": {"computeDiameters": true}},
///         {"algorithm": "GraphSmoothing", "inputs": ["tree"], "parameters": {"iterations": 20},
///          "outputs": ["smooth"]}
///       ],
///       "save": [
///         {"name": "smooth", "file": "out/smooth.graphml"},
///         {"name": "tree", "file": "out/tree.tnw"}
///       ]
///     }
///
/// - "tarnwickWorkspace": the format version, 1. Required, so other JSON files are not taken for
///   workspaces.
/// - "data": each file is loaded by its extension (DataFileIO) and all data sets it holds get the
///   name; a name that stands for several data sets (a data file with several records) passes all of
///   them, in file order, wherever it is used.
/// - "steps", run in order: "algorithm" is a catalogue identifier (`tarnwick-cli algorithms`);
///   "inputs" are names given by "data" or by earlier outputs (optional: no input); "parameters"
///   sets parameters by name (optional), each value a JSON string, number, boolean, array of numbers
///   (vectors) or null (unset optional), checked against the parameter's type; enumerations take
///   their labels. "outputs" (optional) names the data sets the step produces, in order. An algorithm
///   that edits its input changes the data set its input name stands for.
/// - "save" (optional): each named data is written to the file by its extension; several data sets
///   under one name need a data file (".tnw").
/// Relative file paths are taken relative to the workspace file's folder. Names are case-sensitive;
/// a name may not be given twice (neither by "data" nor by "outputs").
class Workspace {
public:
    static constexpr int formatVersion = 1;

    struct DataFile {
        std::string name;
        std::string path; ///< absolute, or as written when the workspace has no folder
    };
    struct Step {
        std::string algorithm;
        std::vector<std::string> inputs;
        /// Parameter name and value as text for ParameterBase::setFromString, in file order.
        std::vector<std::pair<std::string, std::string>> parameters;
        std::vector<std::string> outputs;
    };

    std::vector<DataFile> data;
    std::vector<Step> steps;
    std::vector<DataFile> save;

    /// Parses workspace text; relative paths are resolved against `folder` (kept as they are when it
    /// is empty). On failure returns nothing and `error` says what is wrong and where
    /// ("steps[2].inputs: unknown name 'tre'").
    static std::optional<Workspace> parse(const std::string& text, const std::string& folder, std::string& error);
    /// Reads and parses the file at `path` (at most 16 MiB).
    static std::optional<Workspace> load(const std::string& path, std::string& error);

    /// Checks what can be checked before anything is loaded or computed, so that a run does not fail
    /// at its very end: every step names a catalogue algorithm, and the folders of the saved files
    /// exist (they are created). The reason when not.
    std::optional<std::string> prepare() const;

    /// The data sets each name stands for during a run.
    class Bindings {
    public:
        void bind(const std::string& name, DataList data) { m_names[name] = std::move(data); }
        /// All data sets of the names, in order (names were checked when the workspace was parsed).
        DataList resolve(const std::vector<std::string>& names) const;
        /// Binds the output names of `step` to `outputs` in order; the reason when there are fewer
        /// outputs than names.
        std::optional<std::string> bindOutputs(const Step& step, const std::vector<Data*>& outputs);

    private:
        std::map<std::string, DataList> m_names;
    };
};

} // namespace Tarnwick
