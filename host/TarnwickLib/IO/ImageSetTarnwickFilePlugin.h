#pragma once

#include <TarnwickLib/IO/TarnwickFilePlugin.h>

namespace Tarnwick {

/// Stores image sets inside the host's data file as the record of ImageSetRecord, under the type id
/// imageSetTypeId. Registered by registerHostAlgorithms() at application start-up.
class ImageSetTarnwickFilePlugin : public TarnwickFilePlugin {
public:
    /// Type id of image set records. Host types use ids below 1000, away from the ids plug-ins choose.
    static constexpr unsigned int imageSetTypeId = 100;

    /// A new, empty SharedImageSet for a record of imageSetTypeId (any record version: the version
    /// inside the payload decides); null for other types.
    Data* loadInstance(unsigned int typeId, unsigned int version) override;
    /// imageSetTypeId for a SharedImageSet; 0 for other data and for null.
    unsigned int saveType(const Data* data) override;
    /// Writes the record of an image set; false for other data or when the stream fails.
    bool save(Data* data, std::ostream& out, Progress* progress) override;
    /// Reads a record into `data`, which must be an empty SharedImageSet; false with the reason logged
    /// otherwise.
    bool load(unsigned int typeId, Data* data, std::istream& in, Progress* progress) override;
};

} // namespace Tarnwick
