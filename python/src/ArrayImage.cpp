#include "ArrayImage.h"

#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/LU>

#include <fmt/format.h>

#include <array>
#include <limits>
#include <stdexcept>
#include <vector>

namespace py = pybind11;

namespace Tarnwick::Python::ArrayImage {

namespace {

struct PixelTypeName {
    PixelType type;
    const char* numpy;
};
constexpr std::array<PixelTypeName, 8> pixelTypeNames{{{PixelType::Int8, "int8"},
                                                       {PixelType::UInt8, "uint8"},
                                                       {PixelType::Int16, "int16"},
                                                       {PixelType::UInt16, "uint16"},
                                                       {PixelType::Int32, "int32"},
                                                       {PixelType::UInt32, "uint32"},
                                                       {PixelType::Float, "float32"},
                                                       {PixelType::Double, "float64"}}};

PixelType pixelTypeOfArray(const py::array& array) {
    const py::dtype dtype = array.dtype();
    if (dtype.kind() == 'b')
        return PixelType::UInt8; // NumPy stores bool as one byte holding 0 or 1
    if (dtype.attr("isnative").cast<bool>())
        for (const PixelTypeName& entry : pixelTypeNames) {
            const py::dtype candidate(entry.numpy);
            if (candidate.kind() == dtype.kind() && candidate.itemsize() == dtype.itemsize())
                return entry.type;
        }
    throw std::invalid_argument(
        fmt::format("An array of dtype {} cannot be used; give bool, int8/16/32, uint8/16/32, float32 or float64",
                    py::str(py::object(dtype)).cast<std::string>()));
}

const char* numpyName(PixelType type) {
    for (const PixelTypeName& entry : pixelTypeNames)
        if (entry.type == type)
            return entry.numpy;
    throw std::invalid_argument("The image has an unknown pixel type");
}

/// Keeps the array alive as long as the image borrows its memory; the array is released with the
/// interpreter lock held, wherever the last reference to the image goes away.
struct BorrowedArray {
    py::object array;
    std::unique_ptr<MemImage> image;
    ~BorrowedArray() {
        image.reset();
        if (!Py_IsInitialized()) {
            array.release(); // the interpreter is gone; nothing left to release into
            return;
        }
        py::gil_scoped_acquire gil;
        array = py::object();
    }
};

} // namespace

std::shared_ptr<SharedImageSet> fromArray(const py::array& array, const Eigen::Matrix4d& indexToWorld) {
    const int dims = static_cast<int>(array.ndim());
    if (dims != 2 && dims != 3)
        throw std::invalid_argument(fmt::format("An image must be a 2-D or 3-D array, not {}-D", dims));
    if ((array.flags() & py::array::f_style) == 0)
        throw std::invalid_argument("The array must be Fortran-contiguous (x fastest, as the host stores images)");
    if (array.size() == 0)
        throw std::invalid_argument("The array is empty");
    const PixelType type = pixelTypeOfArray(array);

    Eigen::Vector3i shape(1, 1, 1);
    for (int a = 0; a < dims; ++a) {
        if (array.shape(a) > std::numeric_limits<int>::max())
            throw std::invalid_argument("The array is too large for an image");
        shape[a] = static_cast<int>(array.shape(a));
    }
    Eigen::Vector3d spacing;
    for (int a = 0; a < 3; ++a)
        spacing[a] = indexToWorld.block<3, 1>(0, a).norm();
    if (!indexToWorld.allFinite() || !(spacing.array() > 0.0).all() || indexToWorld.determinant() == 0.0)
        throw std::invalid_argument("The affine (or spacing) must be finite and invertible");

    const ImageDescriptor descriptor(type, shape, 1, spacing);
    auto owner = std::make_shared<BorrowedArray>();
    owner->array = array;
    owner->image = dispatchPixelType(type, [&](auto tag) -> std::unique_ptr<MemImage> {
        using T = typename decltype(tag)::type;
        // The host's image type has no read-only form; the algorithms given a mask only read it.
        auto* values = static_cast<T*>(const_cast<void*>(array.data()));
        return TypedImage<T>::create(descriptor, values, MemImage::Ownership::Borrow);
    });
    std::shared_ptr<MemImage> memory(owner, owner->image.get());
    auto set = std::make_shared<SharedImageSet>(std::make_shared<SharedImage>(memory), "array");
    set->setMatrixToWorld(indexToWorld * descriptor.imageToPixelMatrix());
    return set;
}

std::pair<py::array, Eigen::Matrix4d> toArray(const SharedImageSet& set, const py::object& owner) {
    const SharedImage* image = set.get();
    if (!image)
        throw std::invalid_argument("The image set holds no image");
    const ImageDescriptor& descriptor = image->descriptor();
    const py::dtype dtype(numpyName(descriptor.pixelType));
    const auto item = static_cast<py::ssize_t>(dtype.itemsize());
    const py::ssize_t channels = descriptor.channels;
    std::vector<py::ssize_t> shape, strides;
    py::ssize_t stride = item * channels;
    for (int a = 0; a < 3; ++a) {
        shape.push_back(descriptor.dimensions[a]);
        strides.push_back(stride);
        stride *= descriptor.dimensions[a];
    }
    if (channels > 1) {
        shape.push_back(channels);
        strides.push_back(item);
    }
    py::array values(dtype, shape, strides, image->mem()->data(), owner);
    return {values, image->pixelToWorldMatrix()};
}

} // namespace Tarnwick::Python::ArrayImage
