#include <TarnwickLib/Data/DataList.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

using namespace Tarnwick;

namespace {

Eigen::Matrix4d placement(double angle, const Eigen::Vector3d& translation) {
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    m.topLeftCorner<3, 3>() = Eigen::AngleAxisd(angle, Eigen::Vector3d::UnitZ()).toRotationMatrix();
    m.topRightCorner<3, 1>() = translation;
    return m;
}

std::shared_ptr<SharedImage> makeImage(const Eigen::Matrix4d& toWorld, Data::Modality modality = Data::NA) {
    return std::make_shared<SharedImage>(TypedImage<float>::zeros({4, 2, 2}), toWorld, modality);
}

} // namespace

TEST(SharedImageSet, FirstImageGivesTheSetItsPlacementAndLaterOnesKeepTheirOwn) {
    SharedImageSet set("frames");
    set.Data::setMatrixToWorld(placement(0.1, {9, 9, 9}));
    const Eigen::Matrix4d first = placement(0.5, {1, 2, 3});
    const Eigen::Matrix4d second = placement(-0.2, {4, 5, 6});
    set.add(makeImage(first, Data::CT));
    set.add(makeImage(second, Data::MRI));
    EXPECT_EQ(set.matrixToWorld(), first);
    EXPECT_EQ(set.modality(), Data::CT);
    EXPECT_EQ(set.get(1)->matrixToWorld(), second);
    EXPECT_EQ(set.get(1)->modality(), Data::MRI);

    // Bare memory takes the set's placement and modality.
    SharedImage* third = set.add(std::shared_ptr<MemImage>(TypedImage<char>::zeros({2, 2, 2})));
    EXPECT_EQ(third->matrixToWorld(), first);
    EXPECT_EQ(third->modality(), Data::CT);

    // Setting the set's matrix moves every image, and the set reports the change once.
    int signals = 0;
    SignalReceiver receiver;
    set.signalMatrixChanged.connect(&receiver, [&] { ++signals; });
    const Eigen::Matrix4d moved = placement(1.0, {-1, 0, 2});
    set.setMatrixToWorld(moved);
    for (int i = 0; i < set.size(); ++i)
        EXPECT_EQ(set.get(i)->matrixToWorld(), moved);
    EXPECT_EQ(set.matrixToWorld(), moved);
    EXPECT_EQ(signals, 1);

    set.setModality(Data::Label);
    for (int i = 0; i < set.size(); ++i)
        EXPECT_EQ(set.get(i)->modality(), Data::Label);
}

TEST(SharedImageSet, CurrentImageAndOutOfRangeAccess) {
    SharedImageSet set;
    EXPECT_EQ(set.get(), nullptr);
    EXPECT_EQ(set.mem(), nullptr);
    EXPECT_THROW(set.add(std::shared_ptr<SharedImage>()), std::invalid_argument);
    EXPECT_THROW(SharedImage(nullptr), std::invalid_argument);

    set.add(makeImage(Eigen::Matrix4d::Identity()));
    set.add(std::make_shared<SharedImage>(TypedImage<unsigned short>::zeros({3, 3, 1})));
    set.setSelectedIndex(1);
    EXPECT_EQ(set.get(-1), set.get(1));
    set.setSelectedIndex(7);
    EXPECT_EQ(set.selectedIndex(), 1);
    EXPECT_EQ(set.get(2), nullptr);
    EXPECT_EQ(set.get(-2), nullptr);
    EXPECT_NE(set.img<unsigned short>(), nullptr);
    EXPECT_EQ(set.img<float>(), nullptr);
}

TEST(SharedImageSet, BoundsEncloseTheVoxelCornersOfEveryImage) {
    SharedImageSet set;
    EXPECT_TRUE(set.bounds().isEmpty());
    auto mem = TypedImage<float>::zeros({4, 2, 2});
    mem->setSpacing({1.0, 2.0, 0.5});
    // Rotated 90 degrees about z: the x extent (4 mm) turns into y.
    set.add(std::make_shared<SharedImage>(std::move(mem), placement(M_PI / 2, {10, 0, 0})));
    Geometry::AlignedBox box = set.bounds();
    EXPECT_LT((box.min() - Eigen::Vector3d(8, -2, -0.5)).norm(), 1e-12);
    EXPECT_LT((box.max() - Eigen::Vector3d(12, 2, 0.5)).norm(), 1e-12);

    // A second image far away grows the box.
    set.add(makeImage(placement(0.0, {0, 0, 50})));
    box = set.bounds();
    EXPECT_NEAR(box.max().z(), 51.0, 1e-12);
    EXPECT_NEAR(box.min().x(), -2.0, 1e-12);
}

TEST(DataList, SelectsImageSetsByKindAndModality) {
    SharedImageSet labels("labels"), ct("ct"), untagged("untagged");
    labels.add(makeImage(Eigen::Matrix4d::Identity(), Data::Label));
    ct.add(makeImage(Eigen::Matrix4d::Identity(), Data::CT));
    Data plain("plain");
    DataList list{&plain, &labels, &ct, &untagged};

    EXPECT_EQ(list.getImages(), (std::vector<SharedImageSet*>{&labels, &ct, &untagged}));
    EXPECT_EQ(list.getImages(Data::Image, Data::Label), (std::vector<SharedImageSet*>{&labels}));
    EXPECT_TRUE(list.getImages(Data::Mesh).empty());
}

TEST(OwningDataList, ExtractsTheFirstMatchingImageAndReleasesTheRest) {
    OwningDataList output;
    output.add(std::make_unique<Data>("plain"));
    output.add(std::make_unique<SharedImageSet>(makeImage(Eigen::Matrix4d::Identity(), Data::CT), "ct"));
    output.add(std::make_unique<SharedImageSet>(makeImage(Eigen::Matrix4d::Identity(), Data::Label), "labels"));
    EXPECT_EQ(output.extractFirstImage(Data::Image, Data::MRI), nullptr);
    EXPECT_EQ(output.size(), 3u);
    auto extracted = output.extractFirstImage(Data::Image, Data::Label);
    ASSERT_NE(extracted, nullptr);
    EXPECT_EQ(extracted->name(), "labels");
    auto any = output.extractFirstImage();
    ASSERT_NE(any, nullptr);
    EXPECT_EQ(any->name(), "ct");

    auto rest = output.release();
    ASSERT_EQ(rest.size(), 1u);
    EXPECT_EQ(rest[0]->name(), "plain");
    EXPECT_TRUE(output.empty());
}
