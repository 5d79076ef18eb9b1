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

TEST(SignalTest, SignalDestroyedBeforeReceiver) {
    Recorder recorder;
    SignalConnection connection;
    {
        Signal<int> signal;
        connection = recorder.listen(signal);
        Signal<int> other;
        recorder.listen(other);
        other.emitSignal(5);
    }
    EXPECT_FALSE(connection.isConnected());
    connection.disconnect(); // safe on a dead signal
    recorder.disconnectFromAllSignals();
    EXPECT_EQ(recorder.calls, std::vector<int>{5});
}

TEST(SignalTest, ConnectionHandleReflectsEveryWayOfDisconnecting) {
    Signal<int> signal;
    Recorder a, b;
    auto viaHandle = a.listen(signal);
    auto viaReceiver = b.listen(signal);
    auto unowned = signal.connect([](int) {});

    viaHandle.disconnect();
    EXPECT_FALSE(viaHandle.isConnected());
    EXPECT_TRUE(viaReceiver.isConnected());
    signal.disconnect(&b);
    EXPECT_FALSE(viaReceiver.isConnected());
    signal.disconnect(nullptr); // does not remove unowned connections
    EXPECT_TRUE(unowned.isConnected());
    signal.disconnectAll();
    EXPECT_FALSE(unowned.isConnected());

    signal.emitSignal(1);
    EXPECT_TRUE(a.calls.empty());
    EXPECT_TRUE(b.calls.empty());
    EXPECT_FALSE(SignalConnection().isConnected());
}

TEST(SignalTest, DisconnectDuringEmission) {
    Signal<int> signal;
    Recorder later;
    std::vector<std::string> calls;
    SignalConnection self;
    self = signal.connect([&](int) {
        calls.push_back("self");
        self.disconnect(); // the slot stays alive while it runs
        signal.disconnect(&later);
    });
    later.listen(signal);
    signal.connect([&](int) {
        calls.push_back("last");
        signal.connect([&](int) { calls.push_back("added"); }); // first called by the next emission
    });

    signal.emitSignal(1);
    EXPECT_EQ(calls, (std::vector<std::string>{"self", "last"}));
    EXPECT_TRUE(later.calls.empty());
    EXPECT_EQ(signal.numConnections(), 2u);
    signal.emitSignal(2);
    EXPECT_EQ(calls, (std::vector<std::string>{"self", "last", "last", "added"}));
}

TEST(SignalTest, ReceiverDestroyedByEarlierSlotIsSkipped) {
    Signal<int> signal;
    auto victim = std::make_unique<Recorder>();
    signal.connect([&](int) { victim.reset(); });
    victim->listen(signal);
    signal.emitSignal(1);
    EXPECT_EQ(signal.numConnections(), 1u);
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

TEST(SignalTest, NestedEmissionDefersCleanupToTheOuterOne) {
    Signal<int> signal;
    std::vector<int> calls;
    SignalConnection inner;
    signal.connect([&](int depth) {
        calls.push_back(depth);
        if (depth == 0) {
            signal.emitSignal(1);
            inner.disconnect();
        }
    });
    inner = signal.connect([&](int depth) { calls.push_back(10 + depth); });
    signal.emitSignal(0);
    EXPECT_EQ(calls, (std::vector<int>{0, 1, 11}));
    EXPECT_EQ(signal.numConnections(), 1u);
}

TEST(SignalTest, ThrowingSlotLeavesTheSignalUsable) {
    Signal<int> signal;
    SignalConnection thrower = signal.connect([](int) { throw std::runtime_error("slot failed"); });
    EXPECT_THROW(signal.emitSignal(1), std::runtime_error);
    thrower.disconnect();
    int calls = 0;
    signal.connect([&](int) { ++calls; });
    signal.emitSignal(1);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(signal.numConnections(), 1u);
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

TEST(SignalTest, CopiesDoNotShareConnections) {
    Owner original;
    Recorder receiver;
    int calls = 0;
    original.changed.connect(&receiver, [&] { ++calls; });
    Owner copy = original;
    copy.changed.emitSignal();
    EXPECT_EQ(calls, 0);
    Recorder receiverCopy = receiver; // a copied receiver holds no connections
    receiverCopy.disconnectFromAllSignals();
    original.changed.emitSignal();
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace Tarnwick
