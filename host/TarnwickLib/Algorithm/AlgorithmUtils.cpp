#include <TarnwickLib/Algorithm/AlgorithmUtils.h>

#include <algorithm>
#include <cctype>

namespace Tarnwick::AlgorithmUtils {

bool parseAlgorithmName(const std::string& name, std::vector<std::string>& parts) {
    parts.clear();
    std::vector<std::string> result;
    std::size_t start = 0;
    while (true) {
        const std::size_t separator = name.find(';', start);
        result.push_back(name.substr(start, separator == std::string::npos ? std::string::npos : separator - start));
        const std::string& part = result.back();
        if (std::all_of(part.begin(), part.end(), [](unsigned char c) { return std::isspace(c) != 0; }))
            return false;
        if (separator == std::string::npos)
            break;
        start = separator + 1;
    }
    parts = std::move(result);
    return true;
}

} // namespace Tarnwick::AlgorithmUtils
