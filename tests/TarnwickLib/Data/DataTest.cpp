#include <TarnwickLib/Data/Data.h>

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
