#include <TarnwickGL/DataDisplayHandler.h>

namespace Tarnwick {

DataDisplayHandler::~DataDisplayHandler() = default;

} // namespace Tarnwick
