#include <TarnwickGL/GlObject.h>

namespace Tarnwick {

GlObject::~GlObject() = default;

} // namespace Tarnwick
