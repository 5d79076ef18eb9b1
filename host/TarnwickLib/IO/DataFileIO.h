#pragma once

#include <TarnwickLib/Data/DataList.h>

#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class Progress;

/// Loads and saves data sets by the extension of the file, for the applications:
/// - "tnw": the host's data file (TarnwickFile), any number of data sets of every type a file
///   plug-in handles (graphs through the graph plug-in's record);
/// - the image formats of ImageFileIO (".nii", ".nii.gz", ".nrrd", ".mha", ...): one image set;
/// - ".ply" (MeshFileIO): one mesh;
/// - any other extension: the first I/O algorithm of the algorithm catalogue (FactoryRegistry) that
///   reads or writes it, so plug-ins add formats without the host knowing them (".graphml" comes
///   from the graph plug-in's "GraphMLIo").
/// Every failure is logged with its reason (category "DataFileIO" for the reasons found here) and
/// reported by the result; nothing is thrown.
class DataFileIO {
public:
    /// The data sets in the file at `path`, in file order; nothing on failure.
    static std::optional<OwningDataList> load(const std::string& path, Progress* progress = nullptr);
    /// Writes `data` to `path`: a data file takes any number of data sets, an image file exactly one
    /// image set, an I/O algorithm what it accepts (GraphML: exactly one graph). An existing file is
    /// only replaced when the new one was written completely.
    static bool save(const std::string& path, const DataList& data, Progress* progress = nullptr);
    /// The extensions load() understands with the plug-ins loaded now, with their dot.
    static std::vector<std::string> loadableExtensions();
};

} // namespace Tarnwick
