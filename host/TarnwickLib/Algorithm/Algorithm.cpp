#include <TarnwickLib/Algorithm/Algorithm.h>

#include <algorithm>
#include <utility>

namespace Tarnwick {

Algorithm::~Algorithm() = default;

OwningDataList Algorithm::takeOutput() {
    return std::exchange(m_output, OwningDataList());
}

bool Algorithm::survivesDataDeletion(const Data* data) const {
    const auto& inputs = m_factoryInfo.inputs.items();
    return std::find(inputs.begin(), inputs.end(), data) == inputs.end();
}

const char* Algorithm::statusText(int status) {
    switch (status) {
    case Success:
        return "success";
    case Error:
        return "error";
    case InvalidInput:
        return "invalid input";
    case IncompleteInput:
        return "incomplete input";
    case Canceled:
        return "canceled";
    default:
        return "failure";
    }
}

} // namespace Tarnwick
