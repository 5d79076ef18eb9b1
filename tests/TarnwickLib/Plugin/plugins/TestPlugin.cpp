#include "TestPlugin.h"

#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <istream>
#include <iterator>
#include <ostream>

namespace Tarnwick::Test {

namespace {

/// Runs without input and outputs `repeat` data sets named after `greeting`.
class GreetingAlgorithm : public Algorithm {
public:
    enum class Volume { Quiet = 0, Loud = 1 };

    GreetingAlgorithm() {
        repeat.setAttribute("min", "1");
        repeat.setAttribute("tooltip", "How many greetings to make.");
        volume.setAttribute("values", "Quiet,Loud");
    }

    static bool createCompatible(const DataList& data, Algorithm** out) {
        if (!data.empty())
            return false;
        if (out)
            *out = new GreetingAlgorithm();
        return true;
    }

    void compute() override {
        for (int i = 0; i < repeat; ++i)
            m_output.add(std::make_unique<Data>(greeting.value()));
        setStatus(Success);
    }

    Parameter<std::string> greeting{"greeting", "hello", this};
    Parameter<int> repeat{"repeat", 1, this};
    Parameter<Volume> volume{"volume", Volume::Quiet, this};
};

/// Stores a data set's name as its record (type 4242).
class TestFilePlugin : public TarnwickFilePlugin {
public:
    Data* loadInstance(unsigned int typeId, unsigned int) override { return typeId == 4242 ? new Data() : nullptr; }
    unsigned int saveType(const Data* data) override { return data ? 4242 : 0; }
    bool save(Data* data, std::ostream& out, Progress*) override { return bool(out << data->name()); }
    bool load(unsigned int, Data*, std::istream& in, Progress*) override {
        const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        return !text.empty();
    }
};

} // namespace

TestPlugin::TestPlugin(std::string id, int initResult, std::vector<std::string> dependencies)
    : m_id(std::move(id)), m_initResult(initResult), m_dependencies(std::move(dependencies)) {}

TestPlugin::~TestPlugin() = default;

int TestPlugin::init() {
    m_algorithms = std::make_unique<AlgorithmFactory>(m_id);
    m_algorithms->registerAlgorithm<GreetingAlgorithm>("Greeting", "Test;Greeting");
    registerFactories(m_algorithms.get(), nullptr, nullptr);
    TarnwickFile::addPlugin(std::make_unique<TestFilePlugin>());
    return m_initResult;
}

} // namespace Tarnwick::Test
