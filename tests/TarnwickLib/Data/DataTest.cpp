#include <TarnwickLib/Data/Data.h>
#include <TarnwickLib/Data/DataModel.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

using namespace Tarnwick;

namespace {

struct Colour : DataComponent<Colour> {
    int value = 0;
    bool operator==(const Colour& o) const { return value == o.value; }
    std::string id() const override { return "Colour"; }
};

struct Size : DataComponent<Size> {
    double value = 1.0;
    bool operator==(const Size& o) const { return value == o.value; }
    std::string id() const override { return "Size"; }
};

struct Counter : SignalReceiver {
    int calls = 0;
};

} // namespace

TEST(DataComponentList, GetOrAddAddsOnceAndSignalsOnlyOnAdd) {
    DataComponentList list;
    Counter counter;
    std::vector<std::string> added;
    list.signalComponentAdded.connect(&counter, [&](DataComponentBase* c) { added.push_back(c->id()); });

    list.getOrAdd<Colour>().value = 3;
    EXPECT_EQ(list.getOrAdd<Colour>().value, 3);
    list.getOrAdd<Size>();
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(added, (std::vector<std::string>{"Colour", "Size"}));
    EXPECT_TRUE(list.remove<Colour>());
    EXPECT_EQ(list.get<Colour>(), nullptr);
    EXPECT_FALSE(list.remove<Colour>());
}

TEST(DataComponentList, CopyClonesAndComparesByValue) {
    DataComponentList a;
    a.getOrAdd<Colour>().value = 7;
    DataComponentList b(a);
    EXPECT_EQ(a, b);
    EXPECT_NE(a.get<Colour>(), b.get<Colour>()); // a deep copy, not shared
    b.get<Colour>()->value = 8;
    EXPECT_NE(a, b);
    EXPECT_EQ(a.get<Colour>()->value, 7);

    b = a;
    EXPECT_EQ(a, b);
    b.getOrAdd<Size>();
    EXPECT_NE(a, b);

    Colour other;
    other.value = 42;
    a.get<Colour>()->assign(other);
    EXPECT_EQ(a.get<Colour>()->value, 42);
}

TEST(Data, MatrixConventionsAndChangeSignal) {
    Data data("volume");
    Counter counter;
    data.signalMatrixChanged.connect(&counter, [&] { ++counter.calls; });

    Eigen::Affine3d placement = Eigen::Translation3d(1, 2, 3) * Eigen::AngleAxisd(0.3, Eigen::Vector3d::UnitZ());
    data.setMatrixToWorld(placement.matrix());
    data.setMatrixToWorld(placement.matrix()); // unchanged: no second signal
    EXPECT_EQ(counter.calls, 1);
    EXPECT_TRUE(data.matrix().isApprox(placement.matrix()));
    EXPECT_TRUE((data.matrixFromWorld() * data.matrixToWorld()).isApprox(Eigen::Matrix4d::Identity()));

    data.setMatrixFromWorld(placement.inverse().matrix());
    EXPECT_TRUE(data.matrixToWorld().isApprox(placement.matrix()));
}

TEST(Data, CopyKeepsComponentsButNotConnections) {
    Data original("a");
    original.components().getOrAdd<Colour>().value = 5;
    Counter counter;
    original.signalNameChanged.connect(&counter, [&] { ++counter.calls; });

    Data copy(original);
    copy.setName("b");
    EXPECT_EQ(counter.calls, 0);
    EXPECT_EQ(copy.components().get<Colour>()->value, 5);
    EXPECT_EQ(original.name(), "a");
}

TEST(Data, DeletedSignalReachesReceiverAndDestroyedReceiverIsNotCalled) {
    const Data* reported = nullptr;
    auto data = std::make_unique<Data>("x");
    const Data* raw = data.get();
    Counter receiver;
    data->signalDeleted.connect(&receiver, [&](const Data* d) { reported = d; });
    {
        Counter shortLived;
        data->signalDeleted.connect(&shortLived, [&](const Data*) { ADD_FAILURE() << "slot of a destroyed receiver ran"; });
    }
    data.reset();
    EXPECT_EQ(reported, raw);
}

TEST(DataModel, OwnsFiltersAndSignals) {
    DataModel model;
    std::vector<std::string> removed;
    Counter receiver;
    model.signalDataRemoved.connect(&receiver, [&](Data* d) { removed.push_back(d->name()); });

    Data* a = model.add(std::make_unique<Data>("a"));
    OwningDataList output;
    output.add(std::make_unique<Data>("b"));
    output.add(std::make_unique<Data>("c"));
    auto added = model.add(std::move(output));
    ASSERT_EQ(added.size(), 2u);
    EXPECT_EQ(model.size(), 3u);
    EXPECT_EQ(model.getAll(Data::Unknown).size(), 3u);
    EXPECT_EQ(model.getAll(Data::Image).size(), 0u);
    EXPECT_EQ(model.find("c"), added[1]);

    EXPECT_TRUE(model.remove(a));
    EXPECT_FALSE(model.remove(a));
    model.clear();
    EXPECT_EQ(removed, (std::vector<std::string>{"a", "c", "b"}));
}
