#pragma once

#include <TarnwickLib/Data/Data.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <istream>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tarnwick::Test {

/// A data type of the tests: a list of numbers.
struct Numbers : Data {
    using Data::Data;
    Numbers(std::string name, std::vector<double> numbers) : Data(std::move(name)), values(std::move(numbers)) {}
    std::vector<double> values;
};

/// Saves Numbers as type 1001, record version 3: u32 count, then the doubles. Can be told to fail
/// or throw half-way through saving.
class NumbersFilePlugin : public TarnwickFilePlugin {
public:
    static constexpr unsigned int typeId = 1001;
    enum class Failure { None, ReturnFalse, Throw };

    Data* loadInstance(unsigned int type, unsigned int version) override {
        if (type != typeId)
            return nullptr;
        versionsSeen.push_back(version);
        return new Numbers();
    }
    unsigned int saveType(const Data* data) override { return dynamic_cast<const Numbers*>(data) ? typeId : 0; }
    unsigned int saveVersion(const Data*) override { return 3; }
    bool save(Data* data, std::ostream& out, Progress*) override {
        const auto& values = static_cast<Numbers*>(data)->values;
        const auto count = static_cast<std::uint32_t>(values.size());
        out.write(reinterpret_cast<const char*>(&count), sizeof(count));
        if (failure == Failure::ReturnFalse)
            return false;
        if (failure == Failure::Throw)
            throw std::runtime_error("disk on fire");
        out.write(reinterpret_cast<const char*>(values.data()), std::streamsize(values.size() * sizeof(double)));
        return bool(out);
    }
    bool load(unsigned int, Data* data, std::istream& in, Progress*) override {
        std::uint32_t count = 0;
        if (!in.read(reinterpret_cast<char*>(&count), sizeof(count)))
            return false;
        auto& values = static_cast<Numbers*>(data)->values;
        for (std::uint32_t i = 0; i < count; ++i) {
            double value = 0;
            if (!in.read(reinterpret_cast<char*>(&value), sizeof(value)))
                return false;
            values.push_back(value);
        }
        return true;
    }
    void applyFlipToEnsureConsistency(Data*) override { ++fixedUp; }

    Failure failure = Failure::None;
    std::vector<unsigned int> versionsSeen;
    int fixedUp = 0;
};

/// Loads records of type 1002 by reading its stream to the end; the text read becomes a value count.
class GreedyFilePlugin : public TarnwickFilePlugin {
public:
    static constexpr unsigned int typeId = 1002;
    Data* loadInstance(unsigned int type, unsigned int) override { return type == typeId ? new Numbers() : nullptr; }
    unsigned int saveType(const Data*) override { return 0; }
    bool save(Data*, std::ostream&, Progress*) override { return false; }
    bool load(unsigned int, Data* data, std::istream& in, Progress*) override {
        const std::string all{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        static_cast<Numbers*>(data)->values.push_back(double(all.size()));
        return true;
    }
};

/// Builds container bytes field by field, following the documented layout.
class FileBytes {
public:
    FileBytes& text(const std::string& s) {
        m_bytes += s;
        return *this;
    }
    template <typename T>
    FileBytes& value(T v) {
        m_bytes.append(reinterpret_cast<const char*>(&v), sizeof(v));
        return *this;
    }
    FileBytes& header(std::uint32_t count, std::uint32_t version = TarnwickFile::formatVersion) {
        return text("TARNWICK").value(version).value(count);
    }
    FileBytes& record(std::uint32_t type, std::uint32_t version, const std::string& name, const std::string& payload) {
        value(type).value(version).value(std::uint32_t(name.size())).text(name);
        return value(std::uint64_t(payload.size())).text(payload);
    }
    /// A Numbers payload.
    static std::string numbers(const std::vector<double>& values) {
        FileBytes payload;
        payload.value(std::uint32_t(values.size()));
        for (double v : values)
            payload.value(v);
        return payload.str();
    }
    const std::string& str() const { return m_bytes; }

private:
    std::string m_bytes;
};

/// Registers the test file plug-ins for the duration of a test.
class TarnwickFileTest : public testing::Test {
protected:
    void SetUp() override {
        auto numbersPlugin = std::make_unique<NumbersFilePlugin>();
        numbers = numbersPlugin.get();
        TarnwickFile::addPlugin(std::move(numbersPlugin));
        auto greedyPlugin = std::make_unique<GreedyFilePlugin>();
        greedy = greedyPlugin.get();
        TarnwickFile::addPlugin(std::move(greedyPlugin));
    }
    void TearDown() override {
        TarnwickFile::removePlugin(numbers);
        TarnwickFile::removePlugin(greedy);
    }

    NumbersFilePlugin* numbers = nullptr;
    GreedyFilePlugin* greedy = nullptr;
};

} // namespace Tarnwick::Test
