#include <TarnwickLib/Plugin/PluginAutoRegistrationGuard.h>

#include <algorithm>
#include <mutex>

namespace Tarnwick {

namespace {

// Guards are constructed by static initialisers, possibly while another thread loads a library.
struct Announcements {
    std::mutex mutex;
    std::vector<std::string> ids;
};

Announcements& announcements() {
    static Announcements instance;
    return instance;
}

} // namespace

PluginAutoRegistrationGuard::PluginAutoRegistrationGuard(const char* (*idFunction)()) {
    const char* id = idFunction ? idFunction() : nullptr;
    m_id = id ? id : "";
    Announcements& list = announcements();
    std::lock_guard lock(list.mutex);
    list.ids.push_back(m_id);
}

PluginAutoRegistrationGuard::~PluginAutoRegistrationGuard() {
    Announcements& list = announcements();
    std::lock_guard lock(list.mutex);
    auto it = std::find(list.ids.begin(), list.ids.end(), m_id);
    if (it != list.ids.end())
        list.ids.erase(it);
}

std::vector<std::string> PluginAutoRegistrationGuard::announcedIds() {
    Announcements& list = announcements();
    std::lock_guard lock(list.mutex);
    return list.ids;
}

bool PluginAutoRegistrationGuard::isAnnounced(const std::string& id) {
    const auto ids = announcedIds();
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

} // namespace Tarnwick
