#pragma once

#include <iosfwd>

namespace Tarnwick {

class Data;
class Progress;

/// Reads and writes the records of one or more data types inside the host's data file
/// (TarnwickFile). Each record is tagged with a type id the plug-in chooses; the container gives
/// the plug-in a stream holding exactly its record, so a plug-in can neither read nor skip past it.
/// Registered with TarnwickFile::addPlugin(), which owns it.
class TarnwickFilePlugin {
public:
    virtual ~TarnwickFilePlugin() = default;

    /// A new, empty data set for a record of `typeId` written with record version `version` (owned
    /// by the caller, filled by load()), or null when this plug-in does not handle the type.
    virtual Data* loadInstance(unsigned int typeId, unsigned int version) = 0;
    /// The type id under which this plug-in saves `data`; 0 when it does not handle it (or it is null).
    virtual unsigned int saveType(const Data* data) = 0;
    /// The record version written with `data`'s record and handed back to loadInstance(); 0 by default.
    virtual unsigned int saveVersion(const Data* data) { return 0; }
    /// Writes `data` as one record; false on failure (what was written is discarded by the container).
    virtual bool save(Data* data, std::ostream& out, Progress* progress) = 0;
    /// Reads one record of `typeId` into `data` (made by loadInstance()); false on failure.
    virtual bool load(unsigned int typeId, Data* data, std::istream& in, Progress* progress) = 0;
    /// Called after load() succeeded, for plug-ins that must bring data written by older versions into
    /// today's conventions; does nothing by default.
    virtual void applyFlipToEnsureConsistency(Data* data) {}
};

} // namespace Tarnwick
