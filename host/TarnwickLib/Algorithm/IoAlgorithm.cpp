#include <TarnwickLib/Algorithm/IoAlgorithm.h>

#include <TarnwickCore/Filesystem.h>
#include <TarnwickCore/String.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

namespace Tarnwick {

IoAlgorithm::IoAlgorithm(Mode mode) : m_mode(mode) {}

std::vector<std::string> IoAlgorithm::supportedLocations() const {
    std::vector<std::string> patterns;
    for (const std::string& extension : supportedFileExtensions())
        patterns.push_back("*." + extension);
    return patterns;
}

bool IoAlgorithm::canLoad(const std::string& path) const {
    const std::string extension = Filesystem::Path(path).extension();
    if (extension.empty())
        return false;
    const auto extensions = supportedFileExtensions();
    return std::any_of(extensions.begin(), extensions.end(),
                       [&](const std::string& supported) { return String::toLowerCopy(supported) == extension; });
}

std::string IoAlgorithm::suggestedSaveFileName() const {
    const Data* first = factoryInfo().inputs.get(0);
    std::string name = first && !first->name().empty() ? first->name() : "untitled";
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char c) {
            return std::iscntrl(c) || std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
        },
        '_');
    const auto extensions = supportedFileExtensions();
    return extensions.empty() ? name : name + "." + extensions.front();
}

Properties& IoAlgorithm::globalSettings() {
    static Properties settings("ioAlgorithms");
    return settings;
}

void IoAlgorithm::configureFromGlobalSettings() {
    const auto groups = std::as_const(globalSettings()).subProperties(factoryInfo().id);
    if (!factoryInfo().id.empty() && !groups.empty())
        configure(groups.front());
}

} // namespace Tarnwick
