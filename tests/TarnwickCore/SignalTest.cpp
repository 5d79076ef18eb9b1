#include <TarnwickCore/Signal.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

// A receiver that records the values it was called with.
struct Recorder : SignalReceiver {
    std::vector<int> calls;
    SignalConnection listen(Signal<int>& signal) {
        return signal.connect(this, [this](int value) { calls.push_back(value); });
    }
};

// An object owning a signal, as data objects do.
struct Owner {
    Signal<> changed;
};

TEST(SignalTest, SlotsRunInConnectionOrderWithArguments) {
    Signal<int, const std::string&> signal;
    std::vector<std::string> calls;
    signal.connect([&](int n, const std::string& s) { calls.push_back("a" + std::to_string(n) + s); });
    signal.connect([&](int n, const std::string& s) { calls.push_back("b" + std::to_string(n) + s); });
    signal.emitSignal(1, "x");
    EXPECT_EQ(calls, (std::vector<std::string>{"a1x", "b1x"}));
    EXPECT_EQ(signal.numConnections(), 2u);
}

TEST(SignalTest, DestroyedReceiverIsDisconnected) {
    Signal<int> signal;
    SignalConnection connection;
    {
        Recorder recorder;
        connection = recorder.listen(signal);
        recorder.listen(signal); // a second connection of the same receiver
        signal.emitSignal(1);
        EXPECT_EQ(recorder.calls, (std::vector<int>{1, 1}));
        EXPECT_TRUE(connection.isConnected());
    }
    EXPECT_EQ(signal.numConnections(), 0u);
    EXPECT_FALSE(connection.isConnected());
    signal.emitSignal(2); // must not touch the dead receiver
}

TEST(SignalTest, SlotDestroyingTheSignalOwnerEndsEmission) {
    auto owner = std::make_unique<Owner>();
    Recorder receiver;
    int after = 0;
    owner->changed.connect(&receiver, [&] { owner.reset(); });
    owner->changed.connect([&] { ++after; });
    owner->changed.emitSignal();
    EXPECT_EQ(owner, nullptr);
    EXPECT_EQ(after, 0);
    receiver.disconnectFromAllSignals(); // must not reach the destroyed signal
}

TEST(SignalTest, BlockerSuppressesAndRestores) {
    Signal<int> signal;
    Recorder recorder;
    recorder.listen(signal);
    {
        SignalBlocker blocker(signal);
        signal.emitSignal(1);
        { SignalBlocker nested(signal); }
        EXPECT_TRUE(signal.isBlocked()); // the inner blocker restores "blocked"
        signal.emitSignal(2);
    }
    EXPECT_FALSE(signal.isBlocked());
    signal.emitSignal(3);
    EXPECT_EQ(recorder.calls, std::vector<int>{3});
}

} // namespace
} // namespace Tarnwick
