#pragma once

#include <TarnwickCore/Signal.h>

#include <string>
#include <vector>

namespace Tarnwick {

class ParameterBase;
class Properties;

/// An object with named parameters that can be saved to and restored from Properties: the base of
/// algorithms and of option sets. Parameters register themselves at construction (Parameter<T>,
/// SubProperty<T>) and keep their registration order, which is the order of listings and files.
///
/// Copying: a copy starts with no registered parameters, because the parameters it must list are the
/// copy's own members. The copy constructor of a derived class calls setParentFromCopy(this) on each
/// parameter member. Assignment keeps the registrations of the assigned-to object.
///
/// Not thread-safe; use from one thread.
class Configurable {
public:
    Configurable() = default;
    Configurable(const Configurable& other);
    Configurable& operator=(const Configurable& other);
    /// Parameters still registered are told that their owner is gone.
    virtual ~Configurable();

    /// Adds `parameter` at the end. Fails (logging an error) when another parameter of this object
    /// already has the same name; registering the same object twice has no effect.
    bool registerParameter(ParameterBase* parameter);
    void unregisterParameter(ParameterBase* parameter);
    const std::vector<ParameterBase*>& parameters() const { return m_parameters; }
    /// The parameter with this name, or a member of a sub-property given as "group/member"; null
    /// when there is none.
    ParameterBase* parameter(const std::string& path) const;

    /// Sets each parameter from the value stored under its name in `properties` (sub-properties from
    /// the group of that name). A value found only under one of a parameter's old names is accepted
    /// with the warning "Using deprecated parameter name '<old>'. Please use: '<new>' instead.".
    /// Parameters missing from `properties` keep their values; a value of an incompatible type is
    /// skipped with a warning. Null does nothing.
    virtual void configure(const Properties* properties);
    /// Writes every parameter (value, default, label and attributes) into `properties`.
    virtual void configuration(Properties* properties) const;
    /// Resets every parameter to its default.
    void configureDefaults();

    /// "name=value" for every parameter (or its default), comma-separated, for listings.
    std::string describeValues(bool defaults) const;

    /// Emitted after the value of any registered parameter changed.
    Signal<const ParameterBase*> signalParameterChanged;

private:
    friend class ParameterBase;
    void notifyParameterChanged(const ParameterBase* parameter);

    std::vector<ParameterBase*> m_parameters;
};

} // namespace Tarnwick
