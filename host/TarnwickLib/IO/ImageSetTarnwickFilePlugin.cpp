#include <TarnwickLib/IO/ImageSetTarnwickFilePlugin.h>

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/ImageSetRecord.h>

namespace Tarnwick {

Data* ImageSetTarnwickFilePlugin::loadInstance(unsigned int typeId, unsigned int) {
    // Ownership passes to the container, which wraps the pointer at once.
    return typeId == imageSetTypeId ? new SharedImageSet() : nullptr;
}

unsigned int ImageSetTarnwickFilePlugin::saveType(const Data* data) {
    return dynamic_cast<const SharedImageSet*>(data) ? imageSetTypeId : 0;
}

bool ImageSetTarnwickFilePlugin::save(Data* data, std::ostream& out, Progress*) {
    const auto* images = dynamic_cast<const SharedImageSet*>(data);
    return images && ImageSetRecord::write(*images, out);
}

bool ImageSetTarnwickFilePlugin::load(unsigned int, Data* data, std::istream& in, Progress*) {
    auto* images = dynamic_cast<SharedImageSet*>(data);
    std::string error = "an image record can only be read into an image set";
    if (images && ImageSetRecord::read(*images, in, error))
        return true;
    TW_LOG_ERROR("Cannot read image record: {}", error);
    return false;
}

} // namespace Tarnwick
