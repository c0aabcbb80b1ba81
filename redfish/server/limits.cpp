#include "redfish/server/limits.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <string_view>

namespace redfish {

namespace {

constexpr std::size_t kPrefixBytes = 8;

std::string keyOf(const std::string& address) {
    std::array<char, 16> bytes{};
    if (::inet_pton(AF_INET6, address.c_str(), bytes.data()) != 1) {
        return address;
    }
    return {bytes.data(), kPrefixBytes};
}

} // namespace

double TokenBucket::tokensAt(Clock::time_point now) const {
    const std::chrono::duration<double> passed = now - last_;
    return std::min(capacity_, tokens_ + passed.count() * rate_);
}

bool TokenBucket::take(Clock::time_point now) {
    tokens_ = tokensAt(now);
    last_ = now;
    if (tokens_ < 1) {
        return false;
    }
    tokens_ -= 1;
    return true;
}

bool TokenBucket::isFull(Clock::time_point now) const {
    return tokensAt(now) >= capacity_;
}

AddressTable::Visitor::Visitor(AddressTable& table, const std::string& key)
    : table_(table), key_(key) {
    ++table_.connections_;
    ++table_.addresses_.at(key_).connections;
}

AddressTable::Visitor::~Visitor() {
    --table_.connections_;
    const auto found = table_.addresses_.find(key_);
    if (found != table_.addresses_.end()) {
        --found->second.connections;
    }
}

bool AddressTable::Visitor::mayAsk(TokenBucket::Clock::time_point now) {
    return table_.limits_.requestsPerSecond <= 0 || table_.addresses_.at(key_).bucket.take(now);
}

std::unique_ptr<AddressTable::Visitor> AddressTable::enter(const std::string& address,
                                                           TokenBucket::Clock::time_point now) {
    if (connections_ >= limits_.connections) {
        return nullptr;
    }
    const std::string key = keyOf(address);
    const auto [place, isNew] = addresses_.try_emplace(
        key, Address{.connections = 0,
                     .bucket = TokenBucket(limits_.requestsPerSecond, limits_.burst, now)});
    if (place->second.connections >= limits_.connectionsPerAddress) {
        return nullptr;
    }
    return std::make_unique<Visitor>(*this, key);
}

void AddressTable::forgetQuietOnes(TokenBucket::Clock::time_point now) {
    std::erase_if(addresses_, [now](const auto& each) {
        return each.second.connections == 0 && each.second.bucket.isFull(now);
    });
}

} // namespace redfish
