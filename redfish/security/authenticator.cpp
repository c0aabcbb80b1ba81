#include "redfish/security/authenticator.h"

#include "redfish/crypto/encoding.h"
#include "redfish/security/passwords.h"

#include <iostream>
#include <utility>

namespace redfish {

namespace {

constexpr std::chrono::seconds kRemembered{60};
constexpr std::size_t kMaxRemembered = 256;
constexpr std::size_t kMaxFailures = 1024;
constexpr std::string_view kBasic = "basic ";

// Also verified for unknown names, so that timing reveals none.
const std::string& nobodysHash() {
    static const std::string hash = hashPassword(randomHex(16));
    return hash;
}

bool isBasic(std::string_view authorization) {
    if (authorization.size() < kBasic.size()) {
        return false;
    }
    for (std::size_t i = 0; i < kBasic.size(); ++i) {
        if ((static_cast<unsigned char>(authorization[i]) | 0x20U) !=
            static_cast<unsigned char>(kBasic[i])) {
            return false;
        }
    }
    return true;
}

Identity refused() {
    return {.result = Identification::refused, .user = {}, .role = {}, .sessionId = {}};
}

} // namespace

Authenticator::Authenticator(Accounts& accounts, Sessions& sessions, WorkerPool& checks, Post post,
                             LockoutRules rules)
    : accounts_(accounts), sessions_(sessions), checks_(checks), post_(std::move(post)),
      rules_(rules) {}

Identity Authenticator::ofAccount(const std::string& name) const {
    const Account* const account = accounts_.find(name);
    if (account == nullptr || !account->isEnabled) {
        return refused();
    }
    return {.result = Identification::signedIn,
            .user = account->name,
            .role = account->role,
            .sessionId = {}};
}

Identity Authenticator::ofToken(std::string_view token) {
    const Session* const session = sessions_.use(token, Clock::now());
    if (session == nullptr) {
        return refused();
    }
    Identity identity = ofAccount(session->user);
    identity.sessionId = session->id;
    return identity;
}

void Authenticator::identify(const Request& request, Identified done) {
    if (!request.token.empty()) {
        done(ofToken(request.token));
        return;
    }
    if (!isBasic(request.authorization)) {
        done({});
        return;
    }
    std::string_view encoded = request.authorization.substr(kBasic.size());
    while (encoded.starts_with(' ')) {
        encoded.remove_prefix(1);
    }
    const std::string pair = base64Decode(encoded);
    const std::size_t colon = pair.find(':');
    if (colon == std::string::npos) {
        done(refused());
        return;
    }
    checkPassword(pair.substr(0, colon), pair.substr(colon + 1), std::move(done));
}

void Authenticator::checkPassword(const std::string& name, const std::string& password,
                                  Identified done) {
    const Digest key = hmacSha256(key_, name + '\0' + password);
    const auto known = known_.find(key);
    if (known != known_.end() && known->second.until > Clock::now()) {
        done(ofAccount(name));
        return;
    }
    if (isLocked(name) || password.size() > kMaxPasswordLength ||
        password.find('\0') != std::string::npos) {
        done(refused());
        return;
    }
    const auto pending = pending_.find(key);
    if (pending != pending_.end()) {
        pending->second.push_back(std::move(done));
        return;
    }
    const Account* const account = accounts_.find(name);
    const bool isUsable = account != nullptr && account->isEnabled;
    std::string hash = isUsable ? account->hash : std::string{};
    const bool isTaken =
        checks_.submit([this, key, name, password, isUsable, hash, change = changes_] {
            bool isRight = false;
            try {
                isRight = isPasswordOf(password, isUsable ? hash : nobodysHash()) && isUsable;
            } catch (const std::exception&) {
                isRight = false;
            }
            post_([this, key, name, change, isRight] { finish(key, name, change, isRight); });
        });
    if (!isTaken) {
        done({.result = Identification::busy, .user = {}, .role = {}, .sessionId = {}});
        return;
    }
    pending_[key].push_back(std::move(done));
}

void Authenticator::finish(const Digest& key, const std::string& name, unsigned long long change,
                           bool isRight) {
    const std::vector<Identified> waiting = std::move(pending_[key]);
    pending_.erase(key);
    const bool isSignedIn = isRight && change == changes_;
    if (isSignedIn) {
        dropOld();
        known_[key] = {.name = name, .until = Clock::now() + kRemembered};
        failures_.erase(name);
    } else if (!isRight) {
        fail(name);
    }
    const Identity identity = isSignedIn ? ofAccount(name) : refused();
    for (const Identified& each : waiting) {
        each(identity);
    }
}

void Authenticator::fail(const std::string& name) {
    dropOld();
    Failures& failures = failures_[name];
    const Clock::time_point now = Clock::now();
    if (now - failures.last > rules_.duration) {
        failures.count = 0;
    }
    failures.last = now;
    if (++failures.count == rules_.threshold && accounts_.find(name) != nullptr) {
        std::cerr << "orvane-redfish: account " << name << " is locked for "
                  << rules_.duration.count() << " s: too many wrong passwords" << std::endl;
    }
}

void Authenticator::dropOld() {
    const Clock::time_point now = Clock::now();
    if (known_.size() >= kMaxRemembered) {
        std::erase_if(known_, [now](const auto& each) { return each.second.until <= now; });
        if (known_.size() >= kMaxRemembered) {
            known_.clear();
        }
    }
    if (failures_.size() >= kMaxFailures) {
        std::erase_if(failures_, [&](const auto& each) {
            return now - each.second.last > rules_.duration ||
                   accounts_.find(each.first) == nullptr;
        });
    }
}

bool Authenticator::isLocked(const std::string& name) const {
    const auto found = failures_.find(name);
    return rules_.threshold != 0 && found != failures_.end() &&
           found->second.count >= rules_.threshold &&
           Clock::now() - found->second.last <= rules_.duration;
}

void Authenticator::forget(const std::string& name) {
    ++changes_;
    std::erase_if(known_, [&](const auto& each) { return each.second.name == name; });
    failures_.erase(name);
}

} // namespace redfish
