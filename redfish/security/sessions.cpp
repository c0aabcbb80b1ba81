#include "redfish/security/sessions.h"

#include "redfish/security/random.h"

#include <algorithm>
#include <utility>

namespace redfish {

namespace {

constexpr std::size_t kTokenBytes = 32;
constexpr std::size_t kIdBytes = 4;

} // namespace

void Sessions::dropIdle(Clock::time_point now) {
    std::erase_if(sessions_,
                  [&](const auto& each) { return now - each.second.lastUse > limits_.idle; });
}

std::optional<Sessions::Made> Sessions::make(std::string user, std::string origin,
                                             std::string created, Clock::time_point now) {
    dropIdle(now);
    const auto ofUser = std::count_if(sessions_.begin(), sessions_.end(),
                                      [&](const auto& each) { return each.second.user == user; });
    if (sessions_.size() >= limits_.most ||
        static_cast<std::size_t>(ofUser) >= limits_.mostPerUser) {
        return std::nullopt;
    }
    // The number keeps ids unique, the random part makes them unpredictable.
    Made made{.id = std::to_string(++made_) + "-" + randomHex(kIdBytes),
              .token = randomHex(kTokenBytes)};
    sessions_.emplace(sha256(made.token), Session{.id = made.id,
                                                  .user = std::move(user),
                                                  .origin = std::move(origin),
                                                  .created = std::move(created),
                                                  .lastUse = now});
    return made;
}

const Session* Sessions::use(std::string_view token, Clock::time_point now) {
    const auto found = sessions_.find(sha256(token));
    if (found == sessions_.end()) {
        return nullptr;
    }
    if (now - found->second.lastUse > limits_.idle) {
        sessions_.erase(found);
        return nullptr;
    }
    found->second.lastUse = now;
    return &found->second;
}

const Session* Sessions::find(std::string_view id, Clock::time_point now) {
    dropIdle(now);
    const auto found = std::find_if(sessions_.begin(), sessions_.end(),
                                    [id](const auto& each) { return each.second.id == id; });
    return found == sessions_.end() ? nullptr : &found->second;
}

std::vector<const Session*> Sessions::all(Clock::time_point now) {
    dropIdle(now);
    std::vector<const Session*> list;
    list.reserve(sessions_.size());
    for (const auto& [digest, session] : sessions_) {
        list.push_back(&session);
    }
    std::sort(list.begin(), list.end(),
              [](const Session* one, const Session* other) { return one->id < other->id; });
    return list;
}

bool Sessions::end(std::string_view id) {
    return std::erase_if(sessions_, [id](const auto& each) { return each.second.id == id; }) > 0;
}

void Sessions::endAllOf(std::string_view user, std::string_view butId) {
    std::erase_if(sessions_, [&](const auto& each) {
        return each.second.user == user && each.second.id != butId;
    });
}

} // namespace redfish
