#include <TarnwickLib/IO/Workspace.h>

#include <TarnwickLib/Algorithm/FactoryRegistry.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

namespace Tarnwick {

namespace {

// Keeps object members in file order, so parameters are applied in the order they are written.
using json = nlohmann::ordered_json;

constexpr std::uintmax_t maxFileSize = 16 * 1024 * 1024;

/// Deepest nesting of arrays and objects accepted; a workspace needs four levels, and a document
/// millions of levels deep would exhaust the stack when its values are destroyed or walked.
constexpr int maxNesting = 64;

/// A problem in the workspace text; the message starts with the place ("steps[1].inputs: ...").
struct WorkspaceError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] void fail(const std::string& where, const std::string& what) {
    throw WorkspaceError(where + ": " + what);
}

/// Checks that `node` is an object with only the listed keys.
void expectObject(const json& node, const std::string& where, std::initializer_list<const char*> keys) {
    if (!node.is_object())
        fail(where, "expected an object");
    for (const auto& item : node.items())
        if (std::none_of(keys.begin(), keys.end(), [&](const char* key) { return item.key() == key; }))
            fail(where, "unknown key '" + item.key() + "'");
}

std::string requiredString(const json& object, const char* key, const std::string& where) {
    const auto it = object.find(key);
    if (it == object.end())
        fail(where, std::string("missing \"") + key + "\"");
    if (!it->is_string() || it->get_ref<const std::string&>().empty())
        fail(where + "." + key, "expected a non-empty string");
    return it->get<std::string>();
}

std::vector<std::string> stringList(const json& object, const char* key, const std::string& where) {
    const auto it = object.find(key);
    if (it == object.end())
        return {};
    const std::string place = where + "." + key;
    if (!it->is_array())
        fail(place, "expected an array of names");
    std::vector<std::string> names;
    for (const json& name : *it) {
        if (!name.is_string() || name.get_ref<const std::string&>().empty())
            fail(place, "expected an array of names");
        names.push_back(name.get<std::string>());
    }
    return names;
}

const json& requiredArray(const json& root, const char* key) {
    static const json empty = json::array();
    const auto it = root.find(key);
    if (it == root.end())
        return empty;
    if (!it->is_array())
        fail(key, "expected an array");
    return *it;
}

/// The text of a parameter value as ParameterBase::setFromString reads it.
std::string parameterText(const json& value, const std::string& where) {
    switch (value.type()) {
    case json::value_t::string:
        return value.get<std::string>();
    case json::value_t::boolean:
        return value.get<bool>() ? "true" : "false";
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
    case json::value_t::number_float:
        return value.dump();
    case json::value_t::null:
        return "none";
    case json::value_t::array: {
        std::string text;
        for (const json& item : value) {
            if (!item.is_number())
                fail(where, "an array value must hold numbers only");
            text += (text.empty() ? "" : ",") + item.dump();
        }
        return text;
    }
    default:
        fail(where, "expected a string, number, boolean, array of numbers or null");
    }
}

class Parser {
public:
    explicit Parser(std::string folder) : m_folder(std::move(folder)) {}

    Workspace parse(const json& root) {
        expectObject(root, "workspace", {"tarnwickWorkspace", "data", "steps", "save"});
        const auto version = root.find("tarnwickWorkspace");
        if (version == root.end() || !version->is_number_integer())
            fail("workspace", "not a workspace file (no \"tarnwickWorkspace\" format version)");
        if (version->get<long long>() != Workspace::formatVersion)
            fail("tarnwickWorkspace", "format version " + version->dump() + " is not supported (this program reads " +
                                          std::to_string(Workspace::formatVersion) + ")");
        Workspace workspace;
        const json& data = requiredArray(root, "data");
        for (std::size_t i = 0; i < data.size(); ++i) {
            auto file = dataFile(data[i], "data[" + std::to_string(i) + "]");
            declare(file.name, "data[" + std::to_string(i) + "].name");
            workspace.data.push_back(std::move(file));
        }
        const json& steps = requiredArray(root, "steps");
        for (std::size_t i = 0; i < steps.size(); ++i)
            workspace.steps.push_back(step(steps[i], "steps[" + std::to_string(i) + "]"));
        const json& save = requiredArray(root, "save");
        for (std::size_t i = 0; i < save.size(); ++i) {
            const std::string where = "save[" + std::to_string(i) + "]";
            auto file = dataFile(save[i], where);
            requireKnown(file.name, where + ".name");
            workspace.save.push_back(std::move(file));
        }
        return workspace;
    }

private:
    Workspace::DataFile dataFile(const json& node, const std::string& where) {
        expectObject(node, where, {"name", "file"});
        Workspace::DataFile file{requiredString(node, "name", where), requiredString(node, "file", where)};
        const std::filesystem::path path(file.path);
        if (!m_folder.empty() && path.is_relative())
            file.path = (std::filesystem::path(m_folder) / path).lexically_normal().string();
        return file;
    }

    Workspace::Step step(const json& node, const std::string& where) {
        expectObject(node, where, {"algorithm", "inputs", "parameters", "outputs"});
        Workspace::Step step;
        step.algorithm = requiredString(node, "algorithm", where);
        step.inputs = stringList(node, "inputs", where);
        for (const std::string& input : step.inputs)
            requireKnown(input, where + ".inputs");
        if (const auto parameters = node.find("parameters"); parameters != node.end()) {
            if (!parameters->is_object())
                fail(where + ".parameters", "expected an object of parameter names and values");
            for (const auto& item : parameters->items())
                step.parameters.emplace_back(item.key(),
                                             parameterText(item.value(), where + ".parameters." + item.key()));
        }
        step.outputs = stringList(node, "outputs", where);
        for (const std::string& output : step.outputs)
            declare(output, where + ".outputs");
        return step;
    }

    void declare(const std::string& name, const std::string& where) {
        if (!m_names.insert(name).second)
            fail(where, "the name '" + name + "' is already given");
    }
    void requireKnown(const std::string& name, const std::string& where) const {
        if (!m_names.count(name))
            fail(where, "unknown name '" + name + "'");
    }

    std::string m_folder;
    std::set<std::string> m_names;
};

} // namespace

std::optional<Workspace> Workspace::parse(const std::string& text, const std::string& folder, std::string& error) {
    json root;
    const auto limitNesting = [](int depth, json::parse_event_t event, json&) {
        if (depth >= maxNesting &&
            (event == json::parse_event_t::object_start || event == json::parse_event_t::array_start))
            throw WorkspaceError("arrays and objects are nested more than " + std::to_string(maxNesting) +
                                 " levels deep");
        return true;
    };
    try {
        root = json::parse(text, limitNesting);
    } catch (const json::exception& exception) {
        error = std::string("not valid JSON: ") + exception.what();
        return std::nullopt;
    } catch (const WorkspaceError& exception) {
        error = exception.what();
        return std::nullopt;
    }
    try {
        return Parser(folder).parse(root);
    } catch (const WorkspaceError& exception) {
        error = exception.what();
        return std::nullopt;
    }
}

std::optional<Workspace> Workspace::load(const std::string& path, std::string& error) {
    std::error_code code;
    const std::uintmax_t size = std::filesystem::file_size(path, code);
    if (code) {
        error = "cannot read '" + path + "': " + code.message();
        return std::nullopt;
    }
    if (size > maxFileSize) {
        error = "'" + path + "' is too large for a workspace (" + std::to_string(size) + " bytes)";
        return std::nullopt;
    }
    std::ifstream in(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(size), '\0');
    if (!in.read(text.data(), static_cast<std::streamsize>(size))) {
        error = "cannot read '" + path + "'";
        return std::nullopt;
    }
    const std::string folder = std::filesystem::absolute(path, code).parent_path().string();
    return parse(text, folder, error);
}

std::optional<std::string> Workspace::prepare() const {
    for (std::size_t i = 0; i < steps.size(); ++i)
        if (!FactoryRegistry::get().findAlgorithm(steps[i].algorithm))
            return fmt::format("steps[{}] names the unknown algorithm '{}'", i, steps[i].algorithm);
    for (const DataFile& target : save) {
        const std::filesystem::path folder = std::filesystem::path(target.path).parent_path();
        std::error_code code;
        if (!folder.empty() && !std::filesystem::is_directory(folder, code) &&
            !std::filesystem::create_directories(folder, code))
            return fmt::format("cannot create the folder '{}' for '{}': {}", folder.string(), target.path,
                               code.message());
    }
    return std::nullopt;
}

DataList Workspace::Bindings::resolve(const std::vector<std::string>& names) const {
    DataList list;
    for (const std::string& name : names)
        for (Data* data : m_names.at(name))
            list.add(data);
    return list;
}

std::optional<std::string> Workspace::Bindings::bindOutputs(const Step& step, const std::vector<Data*>& outputs) {
    if (step.outputs.size() > outputs.size())
        return fmt::format("{} produced {} data sets but {} output names are given", step.algorithm, outputs.size(),
                           step.outputs.size());
    for (std::size_t j = 0; j < step.outputs.size(); ++j)
        bind(step.outputs[j], DataList{outputs[j]});
    return std::nullopt;
}

} // namespace Tarnwick
