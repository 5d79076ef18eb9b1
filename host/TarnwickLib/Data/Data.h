#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickLib/Data/AlignedBox.h>
#include <TarnwickLib/Data/DataComponent.h>

#include <Eigen/Core>

#include <string>

namespace Tarnwick {

/// Base of every data set the host manages: images, meshes, point clouds and plug-in types such as
/// graphs. A data set has a name, a rigid or affine placement in world space (millimetres, LPS),
/// a list of components and signals that report changes.
///
/// Placement: `matrixToWorld()` maps the data's own coordinates (homogeneous column vectors) to world
/// coordinates; `matrixFromWorld()` is its inverse. `matrix()` / `setMatrix()` read and write the one
/// of the two named by `matrixConvention()` (ToWorld for most data).
class Data {
public:
    /// What a data set is; plug-in types report Unknown and are recognised by their C++ type.
    enum Kind : int { Unknown = 0, Image = 1, Mesh = 2, PointCloud = 3 };
    /// What an image shows. NA also means "any modality" where a Modality selects data.
    enum Modality : int {
        NA = 0, Ultrasound = 1, MRI = 2, CT = 3, XRay = 4, Photo = 5, Optical = 6, Distance = 7, Label = 8
    };
    enum MatrixConvention : int { FromWorld = 0, ToWorld = 1 };

    explicit Data(std::string name = {});
    /// Copies name, placement and components; signal connections are not copied.
    Data(const Data& other);
    Data& operator=(const Data& other) = delete;
    virtual ~Data();

    const std::string& name() const { return m_name; }
    void setName(const std::string& name);

    virtual Eigen::Matrix4d matrixToWorld() const { return m_toWorld; }
    virtual Eigen::Matrix4d matrixFromWorld() const;
    /// Sets the placement and emits signalMatrixChanged when it changed.
    virtual void setMatrixToWorld(const Eigen::Matrix4d& m);
    virtual void setMatrixFromWorld(const Eigen::Matrix4d& m);
    virtual Eigen::Matrix4d matrix() const;
    virtual void setMatrix(const Eigen::Matrix4d& m);

    virtual Kind kind() const { return Unknown; }
    virtual Modality modality() const { return NA; }
    virtual int matrixConvention() const { return ToWorld; }
    /// World-space bounding box; empty by default.
    virtual Geometry::AlignedBox bounds() const { return {}; }
    virtual bool isAnnotationType() const { return false; }
    /// One-line description for lists and logs.
    virtual std::string describe() const;

    DataComponentList& components() { return m_components; }
    const DataComponentList& components() const { return m_components; }

    Signal<> signalNameChanged;
    Signal<> signalMatrixChanged;
    /// Emitted from the destructor, while the object is still a valid Data.
    Signal<const Data*> signalDeleted;

private:
    std::string m_name;
    Eigen::Matrix4d m_toWorld = Eigen::Matrix4d::Identity();
    DataComponentList m_components;
};

} // namespace Tarnwick
