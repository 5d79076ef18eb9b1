#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Tarnwick {

class SignalReceiver;

/// Type-independent part of a signal: the bookkeeping that lets receivers disconnect themselves.
class SignalBase {
public:
    SignalBase() : m_alive(std::make_shared<SignalBase*>(this)) {}
    SignalBase(const SignalBase&) : SignalBase() {} // connections are never copied
    SignalBase& operator=(const SignalBase&) { return *this; }
    virtual ~SignalBase();

    /// Removes every slot connected by `receiver`.
    virtual void disconnect(SignalReceiver* receiver) = 0;
    /// Removes the slot with this connection id.
    virtual void disconnectId(std::uint64_t id) = 0;
    /// Whether the slot with this connection id is still connected.
    virtual bool isConnectedId(std::uint64_t id) const = 0;
    virtual void disconnectAll() = 0;

    void setBlocked(bool blocked) { m_blocked = blocked; }
    bool isBlocked() const { return m_blocked; }

protected:
    void attach(SignalReceiver* receiver);
    void detach(SignalReceiver* receiver);
    std::weak_ptr<SignalBase*> aliveToken() const { return m_alive; }
    /// Expires every token and connection handle; the first step of destroying a signal.
    void invalidate() { m_alive.reset(); }
    /// Called by the destructor of derived signals before their slots go away.
    void detachAllReceivers(const std::vector<SignalReceiver*>& receivers);

    bool m_blocked = false;

private:
    std::shared_ptr<SignalBase*> m_alive;
};

/// Handle to one connection. isConnected() turns false once the slot is disconnected by any means
/// (this handle, the receiver, disconnectAll, or destruction of the signal); disconnect() is safe
/// after the signal is gone.
class SignalConnection {
public:
    SignalConnection() = default;
    SignalConnection(std::weak_ptr<SignalBase*> signal, std::uint64_t id) : m_signal(std::move(signal)), m_id(id) {}
    bool isConnected() const;
    void disconnect();

private:
    std::weak_ptr<SignalBase*> m_signal;
    std::uint64_t m_id = 0;
};

/// Base of every object that connects to signals: its connections are removed when it is destroyed,
/// so a slot never runs on a dead receiver.
class SignalReceiver {
public:
    SignalReceiver() = default;
    SignalReceiver(const SignalReceiver&) {}
    SignalReceiver& operator=(const SignalReceiver&) { return *this; }
    virtual ~SignalReceiver();

    /// Disconnects this receiver from every signal it is connected to.
    void disconnectFromAllSignals();

private:
    friend class SignalBase;
    std::vector<SignalBase*> m_signals; ///< one entry per connection
};

/// A signal with arguments Args. Slots run in connection order on the emitting thread. Slots may
/// connect or disconnect (themselves or others) while the signal is emitted; a slot disconnected
/// during emission is not called afterwards. Not thread-safe: connect, disconnect and emit from one thread.
template <typename... Args>
class SignalImpl : public SignalBase {
public:
    using Slot = std::function<void(Args...)>;

    SignalImpl() = default;
    SignalImpl(const SignalImpl&) : SignalBase() {}
    SignalImpl& operator=(const SignalImpl&) { return *this; }
    ~SignalImpl() override {
        invalidate();
        std::vector<SignalReceiver*> receivers;
        for (auto& entry : *m_slots)
            if (entry.receiver && entry.connected)
                receivers.push_back(entry.receiver);
        detachAllReceivers(receivers);
    }

    /// Connects `slot` on behalf of `receiver` (may be null for an unowned connection).
    SignalConnection connect(SignalReceiver* receiver, Slot slot) {
        const std::uint64_t id = ++m_nextId;
        m_slots->push_back({id, receiver, std::make_shared<Slot>(std::move(slot)), true});
        if (receiver)
            attach(receiver);
        return SignalConnection(aliveToken(), id);
    }
    SignalConnection connect(Slot slot) { return connect(nullptr, std::move(slot)); }

    /// Removes every slot connected by `receiver`; no effect for a null receiver.
    void disconnect(SignalReceiver* receiver) override {
        if (receiver)
            removeIf([receiver](const Entry& e) { return e.receiver == receiver; });
    }
    void disconnectId(std::uint64_t id) override {
        removeIf([id](const Entry& e) { return e.id == id; });
    }
    bool isConnectedId(std::uint64_t id) const override {
        return std::any_of(m_slots->begin(), m_slots->end(),
                           [id](const Entry& e) { return e.id == id && e.connected; });
    }
    void disconnectAll() override {
        removeIf([](const Entry&) { return true; });
    }

    std::size_t numConnections() const {
        return std::size_t(std::count_if(m_slots->begin(), m_slots->end(), [](const Entry& e) { return e.connected; }));
    }

    /// Calls every connected slot unless the signal is blocked. Slots connected during the emission
    /// are first called by the next one.
    /// A slot may destroy the signal (or its owner): emission then stops after that slot. An exception
    /// thrown by a slot ends the emission and propagates to the caller.
    void emitSignal(Args... args) {
        if (m_blocked)
            return;
        auto slots = m_slots; // keeps the list alive even if a slot destroys this signal
        EmissionScope scope(*this);
        const std::size_t count = slots->size();
        for (std::size_t i = 0; i < count; ++i) {
            if (!(*slots)[i].connected)
                continue;
            auto fn = (*slots)[i].slot; // keeps the slot alive while it runs, even if it disconnects itself
            (*fn)(args...);
            if (scope.signalDestroyed())
                return;
        }
    }

private:
    struct Entry {
        std::uint64_t id;
        SignalReceiver* receiver;
        std::shared_ptr<Slot> slot;
        bool connected;
    };

    // Tracks the emission depth; disconnected entries are only erased once no emission is running,
    // because running emissions index into the list.
    class EmissionScope {
    public:
        explicit EmissionScope(SignalImpl& signal) : m_signal(signal), m_alive(signal.aliveToken()) {
            ++m_signal.m_emitDepth;
        }
        ~EmissionScope() {
            if (signalDestroyed())
                return;
            if (--m_signal.m_emitDepth == 0)
                compact(*m_signal.m_slots);
        }
        EmissionScope(const EmissionScope&) = delete;
        EmissionScope& operator=(const EmissionScope&) = delete;
        bool signalDestroyed() const { return m_alive.expired(); }

    private:
        SignalImpl& m_signal;
        std::weak_ptr<SignalBase*> m_alive;
    };

    template <typename Pred>
    void removeIf(Pred pred) {
        for (auto& entry : *m_slots) {
            if (entry.connected && pred(entry)) {
                entry.connected = false;
                if (entry.receiver)
                    detach(entry.receiver);
            }
        }
        if (m_emitDepth == 0)
            compact(*m_slots);
    }
    static void compact(std::vector<Entry>& slots) {
        slots.erase(std::remove_if(slots.begin(), slots.end(), [](const Entry& e) { return !e.connected; }),
                    slots.end());
    }

    std::shared_ptr<std::vector<Entry>> m_slots = std::make_shared<std::vector<Entry>>();
    std::uint64_t m_nextId = 0;
    int m_emitDepth = 0;
};

template <typename... Args>
using Signal = SignalImpl<Args...>;

/// Blocks a signal for the lifetime of the blocker and restores its previous state.
class SignalBlocker {
public:
    explicit SignalBlocker(SignalBase& signal) : m_signal(signal), m_wasBlocked(signal.isBlocked()) {
        m_signal.setBlocked(true);
    }
    ~SignalBlocker() { m_signal.setBlocked(m_wasBlocked); }
    SignalBlocker(const SignalBlocker&) = delete;
    SignalBlocker& operator=(const SignalBlocker&) = delete;

private:
    SignalBase& m_signal;
    bool m_wasBlocked;
};

} // namespace Tarnwick
