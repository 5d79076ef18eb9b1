#include <TarnwickCore/Platform.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>

namespace Tarnwick {
namespace {

struct Base {
    virtual ~Base() = default;
};
struct Derived : Base {};

TEST(PlatformTest, DemanglesStaticAndDynamicTypes) {
    EXPECT_EQ(Platform::demangleTypeName(typeid(int)), "int");
    EXPECT_EQ(Platform::demangleTypeName(typeid(std::map<int, double>)), "std::map<int, double, std::less<int>, "
                                                                         "std::allocator<std::pair<int const, "
                                                                         "double> > >");
    std::unique_ptr<Base> object = std::make_unique<Derived>();
    EXPECT_EQ(Platform::demangleTypeName(*object), "Tarnwick::(anonymous namespace)::Derived");
}

} // namespace
} // namespace Tarnwick
