#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <stdexcept>

namespace Tarnwick::Test {

/// Accepts exactly one data set and outputs a renamed copy of it.
class CopyAlgorithm : public Algorithm {
public:
    explicit CopyAlgorithm(Data& input) : m_input(input) {}

    static bool createCompatible(const DataList& data, Algorithm** out) {
        if (data.size() != 1)
            return false;
        if (out)
            *out = new CopyAlgorithm(*data[0]);
        return true;
    }

    void compute() override {
        m_output.add(std::make_unique<Data>(prefix.value() + m_input.name()));
        setStatus(Success);
    }

    Parameter<std::string> prefix{"prefix", "copy of ", this};

private:
    Data& m_input;
};

/// Runs without input; default-constructible, so listings can show its parameters.
class SourceAlgorithm : public Algorithm {
public:
    static bool createCompatible(const DataList& data, Algorithm** out) {
        if (!data.empty())
            return false;
        if (out)
            *out = new SourceAlgorithm();
        return true;
    }
    void compute() override { setStatus(Success); }

    Parameter<int> count{"count", 3, this};
};

/// A class whose compatibility test throws.
class ThrowingAlgorithm : public Algorithm {
public:
    static bool createCompatible(const DataList&, Algorithm**) { throw std::runtime_error("broken test"); }
    void compute() override {}
};

/// Claims compatibility but creates nothing.
class LyingAlgorithm : public Algorithm {
public:
    static bool createCompatible(const DataList&, Algorithm**) { return true; }
    void compute() override {}
};

} // namespace Tarnwick::Test
