// tarnwick._tarnwick: the host (plug-ins, log, files, images, the algorithm catalogue) for the Python
// package. It does not link the graph plug-in: the plug-in is loaded at run time through the host's
// PluginManager, and tarnwick._graph, which reads and builds graphs, is imported only afterwards.
#include "ArrayImage.h"
#include "HostCalls.h"
#include "PythonLogSink.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <pybind11/eigen.h>
#include <pybind11/stl.h>

namespace py = pybind11;
using namespace Tarnwick;
using namespace Tarnwick::Python;

namespace {

const SharedImageSet& imageSet(const DataPtr& data) {
    const auto* set = dynamic_cast<const SharedImageSet*>(data.get());
    if (!set)
        throw std::invalid_argument("The data set is not an image");
    return *set;
}

/// A 4 x 4 matrix from any array-like of that shape (read by hand: pybind11's Eigen caster trips GCC's
/// maybe-uninitialized warning).
Eigen::Matrix4d matrix4(const py::array_t<double, py::array::c_style | py::array::forcecast>& values) {
    if (values.ndim() != 2 || values.shape(0) != 4 || values.shape(1) != 4)
        throw std::invalid_argument("Expected a 4 x 4 matrix");
    return Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(values.data());
}

} // namespace

PYBIND11_MODULE(_tarnwick, module) {
    module.doc() = "The Tarnwick host: plug-ins, files, images and the algorithm catalogue (internal; use tarnwick)";
    py::register_exception<FileError>(module, "FileError", PyExc_OSError);
    PythonLogSink::install();

    py::class_<Data, DataPtr>(module, "Data", "A host data set (graph, image, mesh, ...), shared with the host")
        .def_property("name", &Data::name, &Data::setName, "The data set's name")
        .def(
            "describe", [](const Data& data) { return data.describe(); }, "One line describing the data set")
        .def_property_readonly(
            "is_image", [](const Data& data) { return data.kind() == Data::Image; }, "Whether it is an image set")
        .def_property_readonly(
            "matrix_to_world", [](const Data& data) { return Eigen::Matrix4d(data.matrixToWorld()); },
            "4 x 4 matrix from the data's own coordinates to world coordinates (LPS, millimetres)");

    module.def("initialize", &HostCalls::initialize, py::arg("folders"),
               "Registers the host's algorithms and loads the plug-ins of the folders (once per process). "
               "Returns (loaded plug-in ids, refused libraries with reasons).");
    module.def("shutdown", &HostCalls::shutdown, "Unloads the plug-ins and detaches the log (at interpreter exit)");
    module.def(
        "flush_log", []() { PythonLogSink::instance()->flush(); }, "Passes queued host log messages to logging");
    module.def("set_log_level", &Log::setGlobalLevel, py::arg("level"),
               "Host messages below this level are not produced: 0 trace, 1 debug, 2 info, 3 warning, 4 error");
    module.def("load", &HostCalls::load, py::arg("path"), "The data sets in a file; OSError when it cannot be read");
    module.def("save", &HostCalls::save, py::arg("path"), py::arg("data"),
               "Writes data sets to a file by its extension; OSError when it cannot be written");
    module.def("algorithms", &HostCalls::algorithms, "The algorithm catalogue with each algorithm's parameters");
    module.def("parameters", &HostCalls::parameters, py::arg("id"), py::arg("inputs"),
               "The parameters of an algorithm created on these inputs");
    module.def("run", &HostCalls::run, py::arg("id"), py::arg("inputs"), py::arg("settings"),
               "Runs a catalogue algorithm with parameters given as (name, text) pairs; returns its output");
    module.def(
        "image_from_array",
        [](const py::array& array, const py::array_t<double, py::array::c_style | py::array::forcecast>& indexToWorld)
            -> DataPtr { return ArrayImage::fromArray(array, matrix4(indexToWorld)); },
        py::arg("array"), py::arg("index_to_world"),
        "An image over the array's memory (no copy): 2-D or 3-D, C- or Fortran-contiguous; the matrix maps "
        "array indices to world coordinates (LPS)");
    module.def(
        "image_to_array", [](const DataPtr& data) { return ArrayImage::toArray(imageSet(data), py::cast(data)); },
        py::arg("image"), "(array viewing the image's memory, indexed [x, y, z], 4 x 4 index-to-world matrix in LPS)");
}
