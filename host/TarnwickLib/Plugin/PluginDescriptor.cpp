#include <TarnwickLib/Plugin/PluginDescriptor.h>

#include <TarnwickCore/String.h>
#include <TarnwickCore/Version.h>
#include <TarnwickLib/Plugin/HostVersion.h>

namespace Tarnwick {

PluginDescriptor PluginDescriptor::parse(const std::string& text) {
    PluginDescriptor descriptor;
    const std::vector<std::string> fields = String::split(text, "|", true);
    descriptor.magic = fields.front();
    for (std::size_t i = 1; i < fields.size(); ++i) {
        const std::size_t equals = fields[i].find('=');
        if (equals == std::string::npos)
            continue;
        const std::string key = fields[i].substr(0, equals);
        const std::string value = fields[i].substr(equals + 1);
        if (key == "hostversion")
            descriptor.hostVersion = value;
        else if (key == "buildflags")
            descriptor.buildFlags = value;
        else if (key == "pluginversion")
            descriptor.pluginVersion = value;
    }
    return descriptor;
}

std::optional<std::string> PluginDescriptor::incompatibility() const {
    if (magic != HostVersion::pluginMagic)
        return "wrong magic '" + magic + "' in its descriptor";
    const auto host = Utils::Version::parse(HostVersion::version);
    const auto built = Utils::Version::parse(hostVersion);
    if (!built)
        return "invalid host version '" + hostVersion + "' in its descriptor";
    if (built->major() != host->major() || built->minor() != host->minor())
        return "host version mismatch " + hostVersion + " vs " + HostVersion::version;
    if (buildFlags != HostVersion::buildFlags)
        return "build flag mismatch '" + buildFlags + "' vs '" + HostVersion::buildFlags + "'";
    return std::nullopt;
}

} // namespace Tarnwick
