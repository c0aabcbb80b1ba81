// What the requesters ask for, and when.
#include "tests/storms/load.h"

#include "client/errors.h"
#include "client/events.h"
#include "client/names.h"
#include "client/settings.h"
#include "redis/uuid.h"

#include <utility>

namespace storms {

namespace {

constexpr const char* kInstance = "80000000-0000-0000-0000-008000000000";
// How often a requester retries while the store is unreachable.
constexpr std::chrono::milliseconds kRestWhenCutOff{20};

std::size_t below(Random& random, std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
}

// One of the valid values of the setting.
std::string anyValue(const client::Setting& setting, Random& random, int user) {
    if (setting.name == client::kUserField) {
        return "user-" + std::to_string(user);
    }
    return setting.allowed.empty()
               ? "text"
               : std::string(setting.allowed[below(random, setting.allowed.size())]);
}

Question anyUpdate(Random& random, int user) {
    static constexpr const char* kMessageIds[] = {"00002", "00003", "00004"};
    Question question{kMessageIds[below(random, std::size(kMessageIds))],
                      client::requestKey(redis::makeUuid()),
                      {{client::kTargetField, kInstance}}};
    for (const client::Setting& setting : client::settings()) {
        if (setting.messageId == question.messageId) {
            question.fields.emplace_back(setting.name, anyValue(setting, random, user));
        }
    }
    return question;
}

Question anyAction(Random& random) {
    const char* const action = below(random, 2) == 0 ? client::kTurnOffLcd : client::kGuiReady;
    return {client::kActionRequest,
            client::requestKey(redis::makeUuid()),
            {{client::kTargetField, kInstance}, {client::kActionField, action}}};
}

} // namespace

Load::Load(client::Address address, const Mix& mix, std::uint64_t seed, Counters& counters)
    : address_(std::move(address)), counters_(counters) {
    Random seeds(seed);
    const std::pair<Kind, int> numbers[] = {
        {Kind::read, mix.readers},        {Kind::update, mix.updaters},
        {Kind::action, mix.actors},       {Kind::freshRead, mix.freshReaders},
        {Kind::status, mix.statusAskers}, {Kind::watch, mix.watchers}};
    for (const auto& [kind, number] : numbers) {
        for (int i = 0; i < number; ++i) {
            begin(kind, mix, seeds);
        }
    }
}

Load::~Load() {
    finish();
}

void Load::begin(Kind kind, const Mix& mix, Random& seeds) {
    const auto number = static_cast<int>(threads_.size());
    threads_.emplace_back(
        [this, kind, rest = mix.rest, seed = seeds(), number] { work(kind, rest, seed, number); });
}

void Load::finish() {
    wane();
    stop_.request();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

std::vector<Told> Load::take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(told_, {});
}

void Load::work(Kind kind, std::chrono::microseconds rest, std::uint64_t seed, int number) {
    Asker asker(address_, &stop_);
    Random random(seed);
    std::uniform_int_distribution<long long> rests(0, 2 * rest.count());
    while (true) {
        // In this order: nobody begins once the load wanes and nothing is pending.
        ++pending_;
        const bool goesOn = !waning_;
        const bool reached = goesOn && doOnce(asker, kind, random, number);
        --pending_;
        if (!goesOn) {
            return;
        }
        const auto pause = reached ? std::chrono::microseconds(rests(random))
                                   : std::chrono::microseconds(kRestWhenCutOff);
        client::pauseUntil(client::Clock::now() + pause, &stop_);
    }
}

// Returns false if the store did not serve it.
bool Load::doOnce(Asker& asker, Kind kind, Random& random, int number) {
    bool isServed = false;
    switch (kind) {
    case Kind::read:
        return ask(asker, {"00001", kInstance, {}});
    case Kind::update:
        return ask(asker, anyUpdate(random, number));
    case Kind::action:
        return ask(asker, anyAction(random));
    case Kind::freshRead:
        isServed = asker.readFresh(kInstance);
        counters_.freshReads += isServed ? 1 : 0;
        break;
    case Kind::status:
        isServed = asker.askStatus();
        counters_.statuses += isServed ? 1 : 0;
        break;
    case Kind::watch:
        watch();
        break;
    }
    return isServed;
}

bool Load::ask(Asker& asker, const Question& question) {
    Told told = asker.ask(question, client::Clock::now() + kPatience);
    ++counters_.asked;
    const Outcome outcome = told.outcome;
    counters_.answered += outcome == Outcome::answered ? 1 : 0;
    const std::lock_guard lock(mutex_);
    told_.push_back(std::move(told));
    return outcome == Outcome::answered || outcome == Outcome::unanswered;
}

// Until the store dies or the load ends. Nobody waits for a watcher.
void Load::watch() {
    --pending_;
    try {
        client::StoreConnection store(address_);
        client::EventStream events(store, client::kEventSource, {}, &stop_);
        while (true) {
            counters_.events += static_cast<long long>(events.next().size());
        }
    } catch (const client::Error&) {
        ++pending_;
    }
}

} // namespace storms
