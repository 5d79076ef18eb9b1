#include <TarnwickLib/Data/DataModel.h>

#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

struct Events : SignalReceiver {
    std::vector<std::string> log;
};

std::vector<std::string> names(const DataModel& model) {
    std::vector<std::string> result;
    for (Data* data : model.getAll())
        result.push_back(data->name());
    return result;
}

} // namespace

// Taking a data set hands it over alive (as undo needs), inserting puts it back where it was, and both
// tell the listeners.
TEST(DataModel, TakeAndInsertKeepOrderAndSignal) {
    DataModel model;
    Events events;
    model.signalDataAdded.connect(&events, [&](Data* data) { events.log.push_back("+" + data->name()); });
    model.signalDataRemoved.connect(&events, [&](Data* data) { events.log.push_back("-" + data->name()); });
    Data* a = model.add(std::make_unique<Data>("a"));
    Data* b = model.add(std::make_unique<Data>("b"));
    model.add(std::make_unique<Data>("c"));

    std::unique_ptr<Data> taken = model.take(b);
    ASSERT_EQ(taken.get(), b);
    EXPECT_EQ(taken->name(), "b");
    EXPECT_FALSE(model.contains(b));
    EXPECT_EQ(model.indexOf(b), model.size());
    EXPECT_EQ(model.take(b), nullptr);

    EXPECT_EQ(model.insert(1, std::move(taken)), b);
    EXPECT_EQ(names(model), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(model.indexOf(b), 1u);
    model.insert(99, std::make_unique<Data>("d")); // past the end: appended
    model.insert(0, std::make_unique<Data>("e"));
    EXPECT_EQ(names(model), (std::vector<std::string>{"e", "a", "b", "c", "d"}));
    EXPECT_EQ(model.insert(0, nullptr), nullptr);
    EXPECT_TRUE(model.remove(a));
    EXPECT_EQ(events.log, (std::vector<std::string>{"+a", "+b", "+c", "-b", "+b", "+d", "+e", "-a"}));
}
