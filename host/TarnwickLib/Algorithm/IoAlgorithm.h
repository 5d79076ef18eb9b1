#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <string>
#include <vector>

namespace Tarnwick {

/// Base of algorithms that read data from a file (Load: no input, the data read is the output) or
/// write their input to one (Save). The file path is the parameter "location", so it is saved and
/// restored with the algorithm's other settings.
class IoAlgorithm : public Algorithm {
public:
    enum Mode : int { Load = 0, Save = 1 };

    explicit IoAlgorithm(Mode mode);

    Mode ioMode() const { return m_mode; }

    const std::string& location() const { return p_location.value(); }
    void setLocation(const std::string& path) { p_location.setValue(path); }

    /// File extensions this algorithm reads or writes, without the dot ("graphml").
    virtual std::vector<std::string> supportedFileExtensions() const = 0;
    /// The same as file-name patterns ("*.graphml") for file choosers.
    std::vector<std::string> supportedLocations() const;
    /// Whether `path` has one of the supported extensions (compared without regard to case).
    virtual bool canLoad(const std::string& path) const;
    /// A file name for saving: the name of the first input (characters that are not allowed in file
    /// names replaced by '_'; "untitled" when there is none) with the first supported extension.
    virtual std::string suggestedSaveFileName() const;

    /// Application-wide defaults for I/O algorithms: one group per catalogue identifier.
    static Properties& globalSettings();
    /// Configures this algorithm from the group of globalSettings() named after its catalogue
    /// identifier (factoryInfo().id); nothing when there is none.
    virtual void configureFromGlobalSettings();

protected:
    Parameter<std::string> p_location{"location", "", this};

private:
    Mode m_mode;
};

} // namespace Tarnwick
