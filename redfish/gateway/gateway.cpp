#include "redfish/gateway/gateway.h"

#include "client/discovery.h"
#include "client/invalidation.h"
#include "client/names.h"
#include "redfish/http/entity_tag.h"
#include "redfish/model/webgui.h"

#include <algorithm>
#include <utility>

namespace redfish {

namespace {

constexpr std::size_t kReadThreads = 2;
// The provider makes one change after the other; more threads would only queue up there.
constexpr std::size_t kChangeThreads = 4;
constexpr std::size_t kMaxReads = 64;
constexpr std::size_t kMaxChanges = 32;
constexpr std::chrono::milliseconds kRetryPause{500};
constexpr std::chrono::milliseconds kNewsWait{1000};

Reading readingOf(const client::Snapshot& snapshot) {
    Reading reading;
    reading.body = makeText(model::serialise(model::webGui({.resource = snapshot.fields,
                                                            .turnOffLcd = snapshot.turnOffLcd,
                                                            .guiReady = snapshot.guiReady})));
    reading.entityTag = entityTag(*reading.body);
    return reading;
}

model::Problems unavailable() {
    return {model::problemOf(client::NobodyThere("nobody is there"))};
}

// A provider that has ended has removed its instance from the store.
bool isListening(client::StoreConnection& store) {
    try {
        return client::countListeners(store, client::findProvider(store)) > 0;
    } catch (const client::Error&) {
        return false;
    }
}

// Runs `work` and translates what it throws.
template <typename Callable>
model::Problems problemsOf(client::StoreConnection& store, Callable work) {
    try {
        work();
        return {};
    } catch (const client::PreconditionFailed&) {
        return {{.message = model::Message::preconditionFailed, .arguments = {}, .property = {}}};
    } catch (const client::AnsweredOtherwise& error) {
        return {model::problemOf(error.answer)};
    } catch (const client::StoreContents& error) {
        return isListening(store) ? model::Problems{model::problemOf(error)} : unavailable();
    } catch (const client::Error& error) {
        return {model::problemOf(error)};
    } catch (const std::exception&) {
        return {{.message = model::Message::internalError, .arguments = {}, .property = {}}};
    }
}

} // namespace

// One connection for each thread of the pools, lent to the work that runs.
class Gateway::Lender {
public:
    Lender(const GatewayOptions& options, const client::Stop& stop) {
        for (std::size_t i = 0; i < kReadThreads + kChangeThreads; ++i) {
            free_.push_back(std::make_unique<client::WebGui>(options.store, options.timeout, &stop,
                                                             client::Scope::settingsAndActions));
        }
    }
    std::unique_ptr<client::WebGui> lend() {
        const std::lock_guard guard(mutex_);
        std::unique_ptr<client::WebGui> lent = std::move(free_.back());
        free_.pop_back();
        return lent;
    }
    void takeBack(std::unique_ptr<client::WebGui> lent) {
        const std::lock_guard guard(mutex_);
        free_.push_back(std::move(lent));
    }

private:
    std::mutex mutex_; // guards the list below
    std::vector<std::unique_ptr<client::WebGui>> free_;
};

struct Gateway::Stored {
    Reading reading;
    std::string instance;
    client::Clock::time_point until;
};

// A read under way, and the callers that wait for it.
struct Gateway::Flight {
    unsigned long long generation = 0; // as it began
    std::vector<Read> waiting;
};

Gateway::Gateway(GatewayOptions options, Post post)
    : options_(std::move(options)), post_(guard_.guard(std::move(post))),
      lender_(std::make_unique<Lender>(options_, stop_)),
      reads_(std::make_unique<WorkerPool>(kReadThreads, kMaxReads)),
      changes_(std::make_unique<WorkerPool>(kChangeThreads, kMaxChanges)),
      follower_([this] { follow(); }) {}

Gateway::~Gateway() {
    stop_.request();
    follower_.join();
    reads_.reset();
    changes_.reset();
}

bool Gateway::submit(WorkerPool& pool, Work work) {
    return pool.submit([this, work = std::move(work)] {
        std::unique_ptr<client::WebGui> webGui = lender_->lend();
        work(*webGui);
        lender_->takeBack(std::move(webGui));
    });
}

void Gateway::read(Read done) {
    if (cached_.body && client::Clock::now() < cachedUntil_) {
        done(cached_);
        return;
    }
    if (flight_ && flight_->generation == generation_) {
        flight_->waiting.push_back(std::move(done));
        return;
    }
    const auto flight = std::make_shared<Flight>();
    flight->generation = generation_;
    const bool isTaken = submit(*reads_, [this, flight](client::WebGui& webGui) {
        Stored stored;
        // Take the time before the read, so that freshness ends no later than in the store.
        const client::Clock::time_point begin = client::Clock::now();
        stored.reading.problems = problemsOf(webGui.store(), [&] {
            const client::Snapshot snapshot = webGui.snapshot();
            stored.instance = snapshot.instance;
            stored.until = begin + snapshot.freshFor;
            stored.reading = readingOf(snapshot);
        });
        post_([this, flight, stored = std::move(stored)] { land(flight, stored); });
    });
    if (!isTaken) {
        done({.body = nullptr, .entityTag = {}, .problems = unavailable()});
        return;
    }
    ++lookups_;
    flight->waiting.push_back(std::move(done));
    flight_ = flight;
}

void Gateway::land(const std::shared_ptr<Flight>& flight, const Stored& stored) {
    if (flight_ == flight) {
        flight_.reset();
    }
    if (!stored.instance.empty()) {
        instance_ = stored.instance;
    }
    const bool isKept = stored.reading.problems.empty() && flight->generation == generation_ &&
                        followed_ == stored.instance;
    if (isKept) {
        cached_ = stored.reading;
        cachedUntil_ = stored.until;
    }
    for (const Read& each : flight->waiting) {
        each(stored.reading);
    }
}

void Gateway::forget() {
    ++generation_;
    cached_ = {};
}

void Gateway::change(client::SettingValues changes, std::string user, std::string ifMatch,
                     Changed done) {
    const auto shared = std::make_shared<Changed>(std::move(done));
    const bool isTaken = submit(*changes_, [this, changes = std::move(changes),
                                            user = std::move(user), ifMatch = std::move(ifMatch),
                                            shared](client::WebGui& webGui) {
        ChangeResult result;
        client::Precondition precondition;
        if (!ifMatch.empty()) {
            precondition = [&ifMatch](const client::Snapshot& present) {
                return isListed(ifMatch, readingOf(present).entityTag, Comparison::strong);
            };
        }
        result.problems = problemsOf(webGui.store(), [&] {
            const client::Update update = webGui.updateSettings(changes, user, false, precondition);
            if (update.after) {
                result.reading = readingOf(*update.after);
            }
            for (const client::UpdateAnswer& each : update.answers) {
                result.isAnythingChanged |= each.answer.isSuccess();
                if (!each.answer.isSuccess()) {
                    throw client::AnsweredOtherwise("a change", each.answer);
                }
            }
        });
        post_([this, shared, result = std::move(result)] { finish(*shared, result); });
    });
    if (!isTaken) {
        (*shared)({.isAnythingChanged = false, .problems = unavailable(), .reading = {}});
    }
}

// Do not keep the reading of the change: reports of later changes may have arrived before it.
void Gateway::finish(const Changed& done, ChangeResult result) {
    forget();
    if (!result.isAnythingChanged || result.reading.body) {
        done(result);
        return;
    }
    read([done, result = std::move(result)](const Reading& reading) mutable {
        result.reading = reading;
        done(result);
    });
}

void Gateway::act(std::string action, Done done) {
    const auto shared = std::make_shared<Done>(std::move(done));
    const bool isTaken = submit(*changes_, [this, action, shared](client::WebGui& webGui) {
        const model::Problems problems = problemsOf(webGui.store(), [&] {
            const client::Answer answer = webGui.runAction(action);
            if (!answer.isSuccess()) {
                throw client::AnsweredOtherwise("the action " + action, answer);
            }
        });
        post_([shared, problems] { (*shared)(problems); });
    });
    if (!isTaken) {
        (*shared)(unavailable());
    }
}

// While the store cannot report changes, nothing is kept and every read goes to the store.
void Gateway::follow() {
    client::StoreConnection store(options_.store);
    while (!stop_.isRequested()) {
        try {
            followOnce(store);
        } catch (const std::exception&) {
            post_([this] {
                followed_.clear();
                forget();
            });
        }
        client::pauseUntil(client::Clock::now() + kRetryPause, &stop_);
    }
}

void Gateway::followOnce(client::StoreConnection& store) {
    const std::string instance = client::findInstance(store);
    client::Invalidations news(options_.store, {instance, client::freshnessKey(instance)});
    post_([this, instance] {
        forget();
        followed_ = instance;
    });
    while (true) {
        if (news.next(client::Clock::now() + kNewsWait, &stop_)) {
            post_([this] { forget(); });
        }
    }
}

} // namespace redfish
