#include <TarnwickLib/Data/Data.h>

#include <Eigen/LU>

namespace Tarnwick {

Data::Data(std::string name) : m_name(std::move(name)) {}

Data::Data(const Data& other) : m_name(other.m_name), m_toWorld(other.m_toWorld), m_components(other.m_components) {}

Data::~Data() { signalDeleted.emitSignal(this); }

void Data::setName(const std::string& name) {
    if (name == m_name)
        return;
    m_name = name;
    signalNameChanged.emitSignal();
}

Eigen::Matrix4d Data::matrixFromWorld() const { return matrixToWorld().inverse(); }

void Data::setMatrixToWorld(const Eigen::Matrix4d& m) {
    if (m == m_toWorld)
        return;
    m_toWorld = m;
    signalMatrixChanged.emitSignal();
}

void Data::setMatrixFromWorld(const Eigen::Matrix4d& m) { setMatrixToWorld(m.inverse()); }

Eigen::Matrix4d Data::matrix() const { return matrixConvention() == ToWorld ? matrixToWorld() : matrixFromWorld(); }

void Data::setMatrix(const Eigen::Matrix4d& m) {
    if (matrixConvention() == ToWorld)
        setMatrixToWorld(m);
    else
        setMatrixFromWorld(m);
}

std::string Data::describe() const { return m_name.empty() ? std::string("Data") : "Data '" + m_name + "'"; }

} // namespace Tarnwick
