// The rules of the accounts, one by one.
#include "tests/storms/accounts.h"

#include <algorithm>

namespace storms {

namespace {

// One request from all sides.
class Case {
public:
    Case(const Told& told, const Sightings& sightings, const Allowance& allowance,
         Accounts& accounts)
        : told_(told), allowance_(allowance), accounts_(accounts) {
        const auto found = sightings.find(told.channel);
        seen_ = found == sightings.end() ? Seen{} : found->second;
    }

    void settle() {
        ++accounts_.requests;
        switch (told_.outcome) {
        case Outcome::answered:
            ++accounts_.answered;
            require(seen_.published == 1, "was answered by somebody else");
            break;
        case Outcome::nobody:
            ++accounts_.nobody;
            require(seen_.posted == 0, "was told that nobody listens, and was taken");
            break;
        case Outcome::refused:
            ++accounts_.refused;
            require(seen_.posted == 0, "was refused, and was taken");
            break;
        case Outcome::cutOff:
            ++accounts_.cutOff;
            require(!told_.messageMissing || allowance_.storeDied,
                    "was answered with a message that is not there");
            accounts_.lost += told_.accepted && seen_.posted == 0 ? 1 : 0;
            break;
        case Outcome::unanswered:
            settleUnanswered();
            break;
        }
    }

private:
    void settleUnanswered() {
        if (seen_.posted == 0) {
            ++accounts_.dropped;
            return;
        }
        require(seen_.published == seen_.publishedInVain, "was answered, and heard nothing");
        ++accounts_.givenUp;
    }

    void require(bool condition, const char* otherwise) {
        if (!condition) {
            accounts_.violations.push_back("the request on " + told_.channel + ' ' + otherwise);
        }
    }

    const Told& told_;
    const Allowance& allowance_;
    Accounts& accounts_;
    Seen seen_;
};

void requireAtMost(long long limit, long long number, const char* what, Accounts& accounts) {
    if (number > limit) {
        accounts.violations.push_back(std::to_string(number) + " requests were " + what + ", " +
                                      std::to_string(limit) + " may be");
    }
}

} // namespace

Accounts& Accounts::operator+=(const Accounts& other) {
    requests += other.requests;
    answered += other.answered;
    nobody += other.nobody;
    cutOff += other.cutOff;
    refused += other.refused;
    lost += other.lost;
    dropped += other.dropped;
    givenUp += other.givenUp;
    violations.insert(violations.end(), other.violations.begin(), other.violations.end());
    return *this;
}

long long countOpen(const Sightings& sightings) {
    return std::count_if(sightings.begin(), sightings.end(),
                         [](const auto& entry) { return entry.second.published == 0; });
}

Accounts settle(const std::vector<Told>& told, const Sightings& sightings,
                const std::map<std::string, int>& heard, const Allowance& allowance) {
    Accounts accounts;
    for (const Told& each : told) {
        Case(each, sightings, allowance, accounts).settle();
    }
    for (const auto& [channel, seen] : sightings) {
        if (seen.posted > 1) {
            accounts.violations.push_back("the request on " + channel + " was taken twice");
        }
        if (seen.published > 1) {
            accounts.violations.push_back("the request on " + channel + " was answered twice");
        }
    }
    for (const auto& [channel, answers] : heard) {
        if (answers > 1) {
            accounts.violations.push_back("two answers came on " + channel);
        }
    }
    requireAtMost(allowance.lost, accounts.lost, "lost", accounts);
    requireAtMost(allowance.dropped, accounts.dropped, "dropped", accounts);
    requireAtMost(allowance.givenUp, accounts.givenUp, "given up", accounts);
    return accounts;
}

} // namespace storms
