#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

class Data;

/// Knows about data types a plug-in adds: describes them in one line, copies them, and offers
/// annotations for them. Every function has a neutral default, so a plug-in overrides only what its
/// types need; the host asks every registered factory in turn until one answers.
class DataAnnotationFactory {
public:
    virtual ~DataAnnotationFactory() = default;

    /// One-line description of `data`, or empty when this factory does not know its type.
    virtual std::string dataDescription(const Data& data) const { return {}; }
    /// A deep copy of `data` (owned by the caller), or null when this factory does not know its type.
    virtual Data* cloneData(const Data* data) const { return nullptr; }
    /// A new annotation of type `annotationType` for `parent` (owned by the caller), or null.
    virtual Data* createDataAnnotation(const std::string& annotationType, const Data* parent) const { return nullptr; }
    /// The annotation types this factory can create for `data`.
    virtual std::vector<std::string> compatibleDataAnnotations(const Data& data) const { return {}; }
    /// Path of an icon for `data` in data lists, or empty for the host's default icon.
    virtual std::string dataIconPath(const Data& data) const { return {}; }
    /// Name and value pairs shown in the data's information panel; by default its name and description.
    virtual std::vector<std::pair<std::string, std::string>> dataAttributes(const Data& data) const;
};

} // namespace Tarnwick
