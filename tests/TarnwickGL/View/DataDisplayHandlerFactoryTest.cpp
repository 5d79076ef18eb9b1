#include <TarnwickGL/DataDisplayHandlerFactory.h>
#include <TarnwickLib/Data/Data.h>

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

/// Handles data whose name starts with its prefix; counts live instances.
class PrefixHandler : public DataDisplayHandler {
public:
    explicit PrefixHandler(std::string prefix) : m_prefix(std::move(prefix)) { ++alive; }
    ~PrefixHandler() override { --alive; }
    bool handlesType(const Data& data) const override { return data.name().rfind(m_prefix, 0) == 0; }
    bool canBeShownInView(const Data&, const GlView&) const override { return true; }
    void show(Data&, GlView&) override {}
    void hide(Data&, GlView&) override {}
    void onViewDeleted(GlView&) override {}
    static inline int alive = 0;

private:
    std::string m_prefix;
};

TEST(DataDisplayHandlerFactoryTest, SharedHandlersByRegistrationOrder) {
    auto& factory = DataDisplayHandlerFactory::instance();
    factory.registerHandler("Test.Graphs", [] { return std::make_unique<PrefixHandler>("graph"); });
    factory.registerHandler("Test.Anything", [] { return std::make_unique<PrefixHandler>(""); });
    Data graph("graph 1"), image("image 1");

    DataDisplayHandler* forGraph = factory.handlerFor(graph);
    DataDisplayHandler* forImage = factory.handlerFor(image);
    ASSERT_NE(forGraph, nullptr);
    ASSERT_NE(forImage, nullptr);
    EXPECT_NE(forGraph, forImage); // the first that handles the data wins
    EXPECT_EQ(factory.handlerFor(graph), forGraph);
    EXPECT_EQ(PrefixHandler::alive, 2);

    auto fresh = factory.create("Test.Graphs");
    ASSERT_NE(fresh, nullptr);
    EXPECT_NE(fresh.get(), forGraph);
    EXPECT_EQ(factory.create("Test.Unknown"), nullptr);

    factory.unregisterHandler("Test.Graphs");
    EXPECT_EQ(PrefixHandler::alive, 2); // the shared one is gone, `fresh` remains
    EXPECT_EQ(factory.handlerFor(graph), forImage);
    factory.unregisterHandler("Test.Anything");
    EXPECT_EQ(factory.handlerFor(graph), nullptr);
    EXPECT_TRUE(factory.names().empty());
}

} // namespace
} // namespace Tarnwick
