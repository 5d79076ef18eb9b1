#include <TarnwickCore/Properties.h>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

struct Properties::Impl {
    std::string name;
    std::vector<Param> params;
    std::vector<std::unique_ptr<Properties>> groups;

    Impl() = default;
    Impl(const Impl& other) : name(other.name), params(other.params) {
        groups.reserve(other.groups.size());
        for (const auto& group : other.groups)
            groups.push_back(std::make_unique<Properties>(*group));
    }

    Param* find(const std::string& paramName) {
        auto it = std::find_if(params.begin(), params.end(), [&](const Param& p) { return p.name == paramName; });
        return it == params.end() ? nullptr : &*it;
    }
};

namespace {

const char* const typeNames[] = {"none",   "bool",  "int",        "unsignedLong", "float",     "double",
                                 "string", "vec2d", "vec3d",      "vec4d",        "vec2i",     "vec3i",
                                 "vec4i",  "mat4d", "doubleList", "intList",      "stringList"};
static_assert(std::size(typeNames) == std::variant_size_v<Properties::Value>, "one name per value type");

// Exact comparison for values: NaN equals NaN, and 0.0 differs from -0.0.
bool sameNumber(double a, double b) {
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b);
    return a == b && std::signbit(a) == std::signbit(b);
}

template <typename Container>
bool sameNumbers(const Container& a, const Container& b) {
    if (a.size() != b.size())
        return false;
    for (Eigen::Index i = 0; i < Eigen::Index(a.size()); ++i)
        if (!sameNumber(double(a.data()[i]), double(b.data()[i])))
            return false;
    return true;
}

bool sameValue(const Properties::Value& a, const Properties::Value& b) {
    if (a.index() != b.index())
        return false;
    return std::visit(
        [&b](const auto& left) {
            using T = std::decay_t<decltype(left)>;
            const T& right = std::get<T>(b);
            if constexpr (std::is_floating_point_v<T>)
                return sameNumber(left, right);
            else if constexpr (std::is_same_v<T, std::vector<double>> || std::is_base_of_v<Eigen::EigenBase<T>, T>)
                return sameNumbers(left, right);
            else
                return left == right;
        },
        a);
}

bool sameOptionalValue(const std::optional<Properties::Value>& a, const std::optional<Properties::Value>& b) {
    if (a.has_value() != b.has_value())
        return false;
    return !a || sameValue(*a, *b);
}

template <typename T>
bool convertTo(const Properties::Value& value, Properties::Value& converted) {
    T number{};
    if (!detail::numberFromValue(value, number))
        return false;
    converted = number;
    return true;
}

// Converts a numeric value to the numeric type with variant index `type`.
bool convertNumeric(const Properties::Value& value, Properties::Type type, Properties::Value& converted) {
    switch (type) {
    case Properties::Type::Bool:
        return convertTo<bool>(value, converted);
    case Properties::Type::Int:
        return convertTo<int>(value, converted);
    case Properties::Type::UnsignedLong:
        return convertTo<unsigned long>(value, converted);
    case Properties::Type::Float:
        return convertTo<float>(value, converted);
    case Properties::Type::Double:
        return convertTo<double>(value, converted);
    default:
        return false;
    }
}

void compareInto(const Properties& a, const Properties& b, const std::string& prefix,
                 std::vector<std::string>& differences) {
    for (const auto& param : a.params()) {
        const auto* other = b.findParam(param.name);
        if (!other || !sameValue(param.value, other->value))
            differences.push_back(prefix + param.name);
    }
    for (const auto& param : b.params())
        if (!a.hasParam(param.name))
            differences.push_back(prefix + param.name);

    // Groups are paired by name and position among the groups of that name.
    const auto groupsA = a.allSubProperties();
    const auto groupsB = b.allSubProperties();
    std::vector<bool> pairedB(groupsB.size(), false);
    for (const Properties* group : groupsA) {
        const std::string path = prefix + group->name();
        std::size_t match = 0;
        while (match < groupsB.size() && (pairedB[match] || groupsB[match]->name() != group->name()))
            ++match;
        if (match == groupsB.size()) {
            differences.push_back(path);
            continue;
        }
        pairedB[match] = true;
        compareInto(*group, *groupsB[match], path + "/", differences);
    }
    for (std::size_t i = 0; i < groupsB.size(); ++i)
        if (!pairedB[i])
            differences.push_back(prefix + groupsB[i]->name());
}

} // namespace

const char* Properties::typeName(Type type) {
    const auto index = static_cast<std::size_t>(type);
    return index < std::size(typeNames) ? typeNames[index] : "";
}

std::optional<Properties::Type> Properties::typeFromName(const std::string& name) {
    for (std::size_t i = 0; i < std::size(typeNames); ++i)
        if (name == typeNames[i])
            return static_cast<Type>(i);
    return std::nullopt;
}

Properties::Properties(std::string name) {
    if (!name.empty())
        impl().name = std::move(name);
}

Properties::Properties(const Properties& other)
    : m_impl(other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr) {}

Properties::Properties(Properties&& other) noexcept = default;

Properties& Properties::operator=(const Properties& other) {
    if (this != &other)
        m_impl = other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr;
    return *this;
}

Properties& Properties::operator=(Properties&& other) noexcept = default;

Properties::~Properties() = default;

Properties::Impl& Properties::impl() {
    if (!m_impl)
        m_impl = std::make_unique<Impl>();
    return *m_impl;
}

const std::string& Properties::name() const {
    static const std::string empty;
    return m_impl ? m_impl->name : empty;
}

void Properties::setName(const std::string& name) {
    if (m_impl || !name.empty())
        impl().name = name;
}

bool Properties::isEmpty() const {
    return !m_impl || (m_impl->params.empty() && m_impl->groups.empty());
}

void Properties::clear() {
    if (!m_impl)
        return;
    if (m_impl->name.empty()) {
        m_impl.reset();
        return;
    }
    m_impl->params.clear();
    m_impl->groups.clear();
}

bool Properties::hasParam(const std::string& name) const {
    return findParam(name) != nullptr;
}

std::vector<std::string> Properties::paramNames() const {
    std::vector<std::string> names;
    for (const auto& param : params())
        names.push_back(param.name);
    return names;
}

const std::vector<Properties::Param>& Properties::params() const {
    static const std::vector<Param> none;
    return m_impl ? m_impl->params : none;
}

const Properties::Param* Properties::findParam(const std::string& name) const {
    return m_impl ? m_impl->find(name) : nullptr;
}

void Properties::setValue(const std::string& name, Value value) {
    if (Param* param = impl().find(name))
        param->value = std::move(value);
    else
        m_impl->params.push_back(Param{name, std::move(value), std::nullopt, {}});
}

void Properties::setDefaultValue(const std::string& name, Value value) {
    if (Param* param = impl().find(name))
        param->defaultValue = std::move(value);
    else
        m_impl->params.push_back(Param{name, value, value, {}});
}

std::optional<Properties::Value> Properties::value(const std::string& name) const {
    if (const Param* param = findParam(name))
        return param->value;
    return std::nullopt;
}

void Properties::removeParam(const std::string& name) {
    if (!m_impl)
        return;
    auto& params = m_impl->params;
    params.erase(std::remove_if(params.begin(), params.end(), [&](const Param& p) { return p.name == name; }),
                 params.end());
}

bool Properties::setParamType(const std::string& name, Type type) {
    Param* param = m_impl ? m_impl->find(name) : nullptr;
    if (!param)
        return false;
    if (param->value.index() == static_cast<std::size_t>(type))
        return true;
    Value converted;
    if (!convertNumeric(param->value, type, converted))
        return false;
    std::optional<Value> convertedDefault;
    if (param->defaultValue) {
        convertedDefault.emplace();
        if (!convertNumeric(*param->defaultValue, type, *convertedDefault))
            return false;
    }
    param->value = std::move(converted);
    param->defaultValue = std::move(convertedDefault);
    return true;
}

std::optional<Properties::Type> Properties::paramType(const std::string& name) const {
    if (const Param* param = findParam(name))
        return static_cast<Type>(param->value.index());
    return std::nullopt;
}

void Properties::setParamAttributes(const std::string& name, const std::string& attribute, const std::string& value) {
    Param* param = m_impl ? m_impl->find(name) : nullptr;
    if (!param)
        return;
    auto& attributes = param->attributes;
    auto it = std::find_if(attributes.begin(), attributes.end(), [&](const auto& a) { return a.first == attribute; });
    if (it != attributes.end())
        it->second = value;
    else
        attributes.emplace_back(attribute, value);
}

std::optional<std::string> Properties::paramAttribute(const std::string& name, const std::string& attribute) const {
    for (const auto& [key, text] : paramAttributes(name))
        if (key == attribute)
            return text;
    return std::nullopt;
}

std::vector<std::pair<std::string, std::string>> Properties::paramAttributes(const std::string& name) const {
    const Param* param = findParam(name);
    return param ? param->attributes : std::vector<std::pair<std::string, std::string>>{};
}

std::vector<Properties*> Properties::subProperties(const std::string& name) {
    std::vector<Properties*> result;
    if (m_impl)
        for (const auto& group : m_impl->groups)
            if (group->name() == name)
                result.push_back(group.get());
    return result;
}

std::vector<const Properties*> Properties::subProperties(const std::string& name) const {
    std::vector<const Properties*> result;
    for (const Properties* group : allSubProperties())
        if (group->name() == name)
            result.push_back(group);
    return result;
}

std::vector<const Properties*> Properties::allSubProperties() const {
    std::vector<const Properties*> result;
    if (m_impl)
        for (const auto& group : m_impl->groups)
            result.push_back(group.get());
    return result;
}

Properties* Properties::addSubProperties(const std::string& name) {
    impl().groups.push_back(std::make_unique<Properties>(name));
    return m_impl->groups.back().get();
}

Properties* Properties::addSubProperties(const Properties& sub, const std::string& name) {
    auto copy = std::make_unique<Properties>(sub);
    if (!name.empty())
        copy->setName(name);
    impl().groups.push_back(std::move(copy));
    return m_impl->groups.back().get();
}

void Properties::removeSubProperties(const std::string& name) {
    if (!m_impl)
        return;
    auto& groups = m_impl->groups;
    groups.erase(std::remove_if(groups.begin(), groups.end(), [&](const auto& g) { return g->name() == name; }),
                 groups.end());
}

std::vector<std::string> Properties::compareWith(const Properties& other) const {
    std::vector<std::string> differences;
    compareInto(*this, other, "", differences);
    return differences;
}

bool Properties::operator==(const Properties& other) const {
    if (name() != other.name())
        return false;
    const auto& a = params();
    const auto& b = other.params();
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i].name != b[i].name || !sameValue(a[i].value, b[i].value) ||
            !sameOptionalValue(a[i].defaultValue, b[i].defaultValue) || a[i].attributes != b[i].attributes)
            return false;
    }
    const auto groupsA = allSubProperties();
    const auto groupsB = other.allSubProperties();
    return std::equal(groupsA.begin(), groupsA.end(), groupsB.begin(), groupsB.end(),
                      [](const Properties* x, const Properties* y) { return *x == *y; });
}

} // namespace Tarnwick
