// Registers TarnwickGL's embedded shaders (the resources "TarnwickGL/<file name>") while the library is
// loaded, so ProgramCache and the drawing classes find them without any set-up call.
#include "TarnwickGLResources.h"

#include <TarnwickCore/Resource.h>

namespace Tarnwick {
namespace {

struct ShaderRegistration {
    std::shared_ptr<ResourceRepository> repository = TarnwickGLResources();
    ShaderRegistration() { Resource::addRepository(repository); }
    ~ShaderRegistration() { Resource::removeRepository(repository.get()); }
};

const ShaderRegistration registration;

} // namespace
} // namespace Tarnwick
