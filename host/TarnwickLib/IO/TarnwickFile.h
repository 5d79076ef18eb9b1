#pragma once

#include <TarnwickLib/Data/DataList.h>
#include <TarnwickLib/IO/TarnwickFilePlugin.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// The host's data file (extension "tnw"): a versioned container of data sets, each stored as one
/// record written by the file plug-in registered for its type.
///
/// Layout (integers unsigned, native byte order, little-endian on the supported platforms):
///     header:  8 bytes "TARNWICK", u32 format version, u32 record count
///     record:  u32 type id, u32 record version, u32 name length, name bytes (no terminator),
///              u64 payload length, payload bytes (written by the file plug-in)
/// Records of a type no registered plug-in knows are skipped with a warning, so files written with
/// more plug-ins still open.
///
/// Reading never trusts a length: names are limited to maxNameLength bytes, payloads are read in
/// bounded chunks and never past the end of the stream, and a plug-in sees only its own record.
/// Saving goes through a temporary file that replaces the target only on success. Every failure is
/// logged with its reason (category "TarnwickFile") and reported by the result.
class TarnwickFile {
public:
    static constexpr const char* extension = "tnw";
    static constexpr char magic[8] = {'T', 'A', 'R', 'N', 'W', 'I', 'C', 'K'};
    /// Version written by this program; files of versions 1 to this one can be read.
    static constexpr std::uint32_t formatVersion = 1;
    static constexpr std::uint32_t maxNameLength = 64 * 1024;

    /// Registers a file plug-in (the container owns it). Plug-ins are asked in registration order.
    static void addPlugin(std::unique_ptr<TarnwickFilePlugin> plugin);
    /// Destroys a registered plug-in; false when it is not registered.
    static bool removePlugin(const TarnwickFilePlugin* plugin);
    /// The registered plug-ins, in registration order.
    static std::vector<TarnwickFilePlugin*> plugins();

    /// Saves `data` (every item must be handled by a plug-in) to `path`. On failure the file that was
    /// at `path` before is left untouched.
    static bool save(const std::string& path, const DataList& data, Progress* progress = nullptr);
    /// Loads every data set of the file at `path`; nothing when the file cannot be read completely.
    static std::optional<OwningDataList> load(const std::string& path, Progress* progress = nullptr);

    /// The stream forms of save() and load(): no logging of failures, the reason goes to `error`.
    /// The output stream must be seekable (record lengths are filled in after each payload).
    static bool write(std::ostream& out, const DataList& data, Progress* progress, std::string& error);
    static std::optional<OwningDataList> read(std::istream& in, Progress* progress, std::string& error);
};

} // namespace Tarnwick
