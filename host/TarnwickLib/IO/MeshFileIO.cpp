// ASCII PLY reading and writing: a header parser, then the body line by line. Linear in the file size.

#include <TarnwickLib/IO/MeshFileIO.h>

#include <TarnwickCore/Filesystem.h>
#include <TarnwickCore/String.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <vector>

namespace Tarnwick {

namespace {

constexpr const char* colorNames[] = {"red", "green", "blue", "alpha"};

struct Header {
    std::vector<std::string> vertexProperties;
    long long vertexCount = 0;
    long long faceCount = 0;
};

std::vector<std::string> words(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> result;
    for (std::string word; in >> word;)
        result.push_back(word);
    return result;
}

bool parseCount(const std::string& text, long long& out) {
    try {
        std::size_t used = 0;
        out = std::stoll(text, &used);
        return used == text.size() && out >= 0;
    } catch (const std::exception&) {
        return false;
    }
}

/// Parses a whole word as a number ("nan" and "inf" included) into value; false when it is not one.
bool parseNumber(const std::string& word, double& value) {
    char* end = nullptr;
    value = std::strtod(word.c_str(), &end);
    return end == word.c_str() + word.size() && !word.empty();
}

/// Reads the header up to "end_header"; an error message on failure.
std::string readHeader(std::istream& in, Header& header) {
    std::string line;
    if (!std::getline(in, line) || String::trimCopy(line) != "ply")
        return "not a PLY file (the first line is not 'ply')";
    std::string element;
    bool ascii = false;
    while (std::getline(in, line)) {
        const std::vector<std::string> w = words(line);
        if (w.empty() || w[0] == "comment" || w[0] == "obj_info")
            continue;
        if (w[0] == "end_header") {
            if (!ascii)
                return "only 'format ascii 1.0' is supported";
            const std::vector<std::string>& properties = header.vertexProperties;
            const auto has = [&](const char* name) {
                return std::find(properties.begin(), properties.end(), name) != properties.end();
            };
            if (!has("x") || !has("y") || !has("z"))
                return "the vertices need the properties x, y and z";
            return {};
        }
        if (w[0] == "format") {
            ascii = w.size() == 3 && w[1] == "ascii" && w[2] == "1.0";
        } else if (w[0] == "element" && w.size() == 3) {
            element = w[1];
            long long count = 0;
            if (!parseCount(w[2], count))
                return "bad element count in '" + line + "'";
            if (element == "vertex")
                header.vertexCount = count;
            else if (element == "face")
                header.faceCount = count;
            else
                return "unsupported element '" + element + "'";
        } else if (w[0] == "property" && element == "vertex" && w.size() == 3) {
            header.vertexProperties.push_back(w[2]);
        } else if (w[0] == "property" && element == "face" && w.size() == 5 && w[1] == "list") {
            continue;
        } else {
            return "unsupported header line '" + line + "'";
        }
    }
    return "the header has no 'end_header'";
}

} // namespace

bool MeshFileIO::isSupported(const std::string& path) {
    return Filesystem::Path(path).extension() == extension;
}

MeshFileIO::LoadResult MeshFileIO::load(const std::string& path) {
    std::ifstream in(path);
    if (!in)
        return {nullptr, "cannot open the file"};
    Header header;
    if (std::string error = readHeader(in, header); !error.empty())
        return {nullptr, error};

    const std::vector<std::string>& names = header.vertexProperties;
    const auto column = [&](const std::string& name) {
        const auto it = std::find(names.begin(), names.end(), name);
        return it == names.end() ? -1 : static_cast<int>(it - names.begin());
    };
    const int x = column("x"), y = column("y"), z = column("z");
    int color[4];
    for (int c = 0; c < 4; ++c)
        color[c] = column(colorNames[c]);
    const bool hasColors = color[0] >= 0 && color[1] >= 0 && color[2] >= 0;

    std::vector<Eigen::Vector3d> vertices;
    std::vector<Eigen::Vector4f> colors;
    std::vector<std::vector<float>> scalars(names.size());
    std::string line;
    std::vector<double> row(names.size());
    for (long long i = 0; i < header.vertexCount; ++i) {
        if (!std::getline(in, line))
            return {nullptr, "the file ends after " + std::to_string(i) + " of " + std::to_string(header.vertexCount) +
                                 " vertices"};
        const std::vector<std::string> fields = words(line);
        bool wellFormed = fields.size() == row.size();
        for (std::size_t p = 0; wellFormed && p < row.size(); ++p)
            wellFormed = parseNumber(fields[p], row[p]);
        if (!wellFormed)
            return {nullptr, "vertex " + std::to_string(i) + " is malformed: '" + line + "'"};
        vertices.emplace_back(row[static_cast<std::size_t>(x)], row[static_cast<std::size_t>(y)],
                              row[static_cast<std::size_t>(z)]);
        if (hasColors) {
            Eigen::Vector4f rgba(1, 1, 1, 1);
            for (int c = 0; c < 4; ++c)
                if (color[c] >= 0)
                    rgba[c] = static_cast<float>(row[static_cast<std::size_t>(color[c])] / 255.0);
            colors.push_back(rgba);
        }
        for (std::size_t p = 0; p < names.size(); ++p)
            scalars[p].push_back(static_cast<float>(row[p]));
    }

    std::vector<Eigen::Vector3i> faces;
    for (long long i = 0; i < header.faceCount; ++i) {
        if (!std::getline(in, line))
            return {nullptr,
                    "the file ends after " + std::to_string(i) + " of " + std::to_string(header.faceCount) + " faces"};
        std::istringstream values(line);
        long long count = 0;
        Eigen::Vector3i face;
        long long index[3] = {-1, -1, -1};
        if (!(values >> count) || count != 3 || !(values >> index[0] >> index[1] >> index[2]))
            return {nullptr, "face " + std::to_string(i) + " is not a triangle: '" + line + "'"};
        for (int k = 0; k < 3; ++k) {
            if (index[k] < 0 || index[k] >= static_cast<long long>(vertices.size()))
                return {nullptr, "face " + std::to_string(i) + " refers to a missing vertex: '" + line + "'"};
            face[k] = static_cast<int>(index[k]);
        }
        faces.push_back(face);
    }

    auto mesh =
        std::make_unique<Mesh>(std::move(vertices), std::move(faces), Filesystem::Path(path).native().stem().string());
    for (std::size_t i = 0; i < colors.size(); ++i)
        mesh->setVertexColor(static_cast<int>(i), colors[i].head<3>(), colors[i][3]);
    for (std::size_t p = 0; p < names.size(); ++p) {
        const std::string& name = names[p];
        const bool isColor =
            hasColors && std::find(std::begin(colorNames), std::end(colorNames), name) != std::end(colorNames);
        if (name != "x" && name != "y" && name != "z" && !isColor)
            mesh->setVertexScalars(name, std::move(scalars[p]));
    }
    return {std::move(mesh), {}};
}

std::string MeshFileIO::save(const Mesh& mesh, const std::string& path) {
    AtomicFileWriter writer(path);
    std::string error;
    if (!writer.open(error))
        return error;
    std::ostream& out = writer.stream();
    out.precision(std::numeric_limits<double>::max_digits10);
    const std::vector<std::string> fields = mesh.vertexScalarNames();
    std::vector<const std::vector<float>*> fieldValues;
    for (const std::string& name : fields)
        fieldValues.push_back(mesh.vertexScalars(name));
    out << "ply\nformat ascii 1.0\ncomment written by Tarnwick\n";
    out << "element vertex " << mesh.numberOfVertices() << "\n";
    out << "property double x\nproperty double y\nproperty double z\n";
    if (mesh.hasVertexColors())
        out << "property uchar red\nproperty uchar green\nproperty uchar blue\nproperty uchar alpha\n";
    for (const std::string& name : fields)
        out << "property float " << String::replaceAllCopy(String::replaceAllCopy(name, " ", "_"), "\t", "_") << "\n";
    out << "element face " << mesh.numberOfFaces() << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (int i = 0; i < mesh.numberOfVertices(); ++i) {
        const Eigen::Vector3d& v = mesh.vertex(i);
        out << v.x() << ' ' << v.y() << ' ' << v.z();
        if (mesh.hasVertexColors()) {
            const Eigen::Vector4f rgba = mesh.vertexColor(i);
            for (int c = 0; c < 4; ++c)
                out << ' ' << static_cast<int>(std::clamp(rgba[c], 0.0f, 1.0f) * 255.0f + 0.5f);
        }
        for (const std::vector<float>* values : fieldValues)
            out << ' ' << (*values)[static_cast<std::size_t>(i)];
        out << '\n';
    }
    for (const Eigen::Vector3i& face : mesh.faces())
        out << "3 " << face.x() << ' ' << face.y() << ' ' << face.z() << '\n';
    if (!writer.commit(error))
        return error;
    return {};
}

} // namespace Tarnwick
