#include <TarnwickLib/Algorithm/DataAnnotationFactory.h>

#include <TarnwickLib/Data/Data.h>

namespace Tarnwick {

std::vector<std::pair<std::string, std::string>> DataAnnotationFactory::dataAttributes(const Data& data) const {
    return {{"Name", data.name()}, {"Description", data.describe()}};
}

} // namespace Tarnwick
