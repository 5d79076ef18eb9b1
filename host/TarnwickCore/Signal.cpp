#include <TarnwickCore/Signal.h>

namespace Tarnwick {

SignalBase::~SignalBase() = default;

void SignalBase::attach(SignalReceiver* receiver) {
    receiver->m_signals.push_back(this);
}

void SignalBase::detach(SignalReceiver* receiver) {
    auto& list = receiver->m_signals;
    auto it = std::find(list.begin(), list.end(), this);
    if (it != list.end())
        list.erase(it);
}

void SignalBase::detachAllReceivers(const std::vector<SignalReceiver*>& receivers) {
    for (SignalReceiver* receiver : receivers)
        detach(receiver);
}

bool SignalConnection::isConnected() const {
    auto signal = m_signal.lock();
    return signal && (*signal)->isConnectedId(m_id);
}

void SignalConnection::disconnect() {
    if (auto signal = m_signal.lock())
        (*signal)->disconnectId(m_id);
    m_signal.reset();
    m_id = 0;
}

SignalReceiver::~SignalReceiver() {
    disconnectFromAllSignals();
}

void SignalReceiver::disconnectFromAllSignals() {
    while (!m_signals.empty())
        m_signals.back()->disconnect(this); // removes every entry of that signal from m_signals
}

} // namespace Tarnwick
