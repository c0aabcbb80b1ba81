// Waits only on the connection that the next event must come from: the reply to a publication is
// read along with what follows it and never causes a wake-up.
#include "benchmarks/load.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace bench {

namespace {

constexpr int kSilenceMilliseconds = 20'000;
constexpr const char* kEcho = "echo";

// As long as a requester's UUID: made of the process id and a number.
constexpr std::size_t kNumberDigits = 12;

std::string numberedUuid(std::size_t number) {
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "%08x-1dcb-4a5e-8d0c-%012zu",
                  static_cast<unsigned int>(::getpid()), number);
    return text.data();
}

std::string replyChannel(unsigned int client) {
    return "Reply:" + numberedUuid(client);
}

unsigned int clientOf(std::string_view channel) {
    unsigned int client = 0;
    const std::string_view digits =
        channel.substr(channel.size() - std::min(channel.size(), kNumberDigits));
    std::from_chars(digits.data(), digits.data() + digits.size(), client);
    return client;
}

std::string requestObject(std::size_t turn) {
    return "Request:" + numberedUuid(turn);
}

} // namespace

LoadGenerator::LoadGenerator(LoadOptions options)
    : options_(std::move(options)), commands_(options_.socket), answers_(options_.socket),
      clients_(options_.clients) {
    for (unsigned int i = 0; i < options_.clients; ++i) {
        for (const std::size_t turn : {0U, 1U}) {
            const std::string payload = options_.updates ? "[\"00002\",\"" + requestObject(turn)
                                                         : "[\"00001\",\"" + options_.instance;
            clients_[i].publications[turn] = commandBytes(
                {"PUBLISH", options_.channel, payload + "\",\"" + replyChannel(i) + "\"]"});
        }
    }
    result_.latencies.reserve(options_.requests);
}

void LoadGenerator::subscribe() {
    for (unsigned int i = 0; i < options_.clients; ++i) {
        answers_.ask({"SUBSCRIBE", replyChannel(i)});
    }
    answers_.ask({"SUBSCRIBE", replyChannel(0) + kEcho});
}

void LoadGenerator::storeRequestObjects() {
    constexpr std::array kLanguages{"Deutsch", "English"};
    for (std::size_t turn = 0; turn < kLanguages.size(); ++turn) {
        commands_.ask({"HSET", requestObject(turn), "OriginalObjID", options_.instance, "Language",
                       kLanguages[turn]});
    }
}

void LoadGenerator::send(unsigned int number) {
    Client& client = clients_[number];
    commands_.append(client.publications[client.sent % 2]);
    expected_.push_back({number, false});
    ++client.sent;
    client.waits = true;
    ++waiting_;
    if (result_.sent++ == options_.warmUp) {
        begin_ = Clock::now();
    }
    client.published = Clock::now();
}

bool LoadGenerator::mayStartAnother() const {
    if (options_.requests > 0 && result_.sent >= options_.requests + options_.warmUp) {
        return false;
    }
    return options_.seconds <= 0.0 || result_.sent <= options_.warmUp ||
           std::chrono::duration<double>(Clock::now() - begin_).count() < options_.seconds;
}

void LoadGenerator::finish(unsigned int number, const Reply& returnMessage) {
    Client& client = clients_[number];
    const Clock::time_point now = Clock::now();
    const bool isSuccess = returnMessage.texts.size() >= 2 &&
                           returnMessage.texts[0] == "MessageId" &&
                           returnMessage.texts[1] == "Success";
    ++(isSuccess ? result_.answered : result_.refused);
    client.waits = false;
    --waiting_;
    if (result_.answered + result_.refused > options_.warmUp) {
        result_.latencies.add(now - client.published);
        end_ = now;
    }
    if (mayStartAnother()) {
        send(number);
    }
}

void LoadGenerator::handle(const Reply& message) {
    if (message.texts.size() != 3 || message.texts[0] != "message") {
        throw std::runtime_error("redis sent what is no message");
    }
    if (message.texts[1].ends_with(kEcho)) {
        echoed_ = true;
        return;
    }
    const unsigned int client = clientOf(message.texts[1]);
    if (client >= clients_.size() || !clients_[client].waits) {
        ++result_.unasked;
        return;
    }
    commands_.append(commandBytes({"HGETALL", message.texts[2]}));
    expected_.push_back({client, true});
    ++fetches_;
}

void LoadGenerator::takeAnswers() {
    answers_.receive();
    while (answers_.next(reply_)) {
        handle(reply_);
    }
}

void LoadGenerator::takeReplies() {
    commands_.receive();
    while (commands_.next(reply_)) {
        if (expected_.empty() || reply_.kind == '-') {
            throw std::runtime_error("redis refused a command");
        }
        const Expected expected = expected_.front();
        expected_.pop_front();
        if (expected.isReturnMessage) {
            --fetches_;
            finish(expected.client, reply_);
        } else if (reply_.integer == 0) {
            throw std::runtime_error("nobody listens on " + options_.channel);
        }
    }
}

void LoadGenerator::waitForSomething() {
    std::array<pollfd, 2> waited{
        {{answers_.descriptor(), POLLIN, 0}, {commands_.descriptor(), POLLIN, 0}}};
    const nfds_t count = fetches_ > 0 ? 2 : 1;
    if (::poll(waited.data(), count, kSilenceMilliseconds) <= 0) {
        throw std::runtime_error("no answer on " + options_.channel);
    }
    if (waited[0].revents != 0) {
        takeAnswers();
    }
    if (waited[1].revents != 0) {
        takeReplies();
    }
}

// Publications of one connection arrive in order, so our own echo follows every answer that redis
// accepted before it.
void LoadGenerator::collectLate() {
    commands_.ask({"PUBLISH", replyChannel(0) + kEcho, kEcho});
    while (!echoed_) {
        takeAnswers();
    }
}

// The reply to a publication would say so too, but nothing waits for it.
void LoadGenerator::checkThatSomebodyListens() {
    if (commands_.ask({"PUBSUB", "NUMSUB", options_.channel}).integer == 0) {
        throw std::runtime_error("nobody listens on " + options_.channel);
    }
}

LoadResult LoadGenerator::run() {
    checkThatSomebodyListens();
    subscribe();
    if (options_.updates) {
        storeRequestObjects();
    }
    for (unsigned int i = 0; i < options_.clients && mayStartAnother(); ++i) {
        send(i);
    }
    commands_.flush();
    while (waiting_ > 0) {
        waitForSomething();
        commands_.flush();
    }
    collectLate();
    if (options_.updates) {
        commands_.ask({"DEL", requestObject(0), requestObject(1)});
    }
    result_.seconds = std::chrono::duration<double>(end_ - begin_).count();
    return std::move(result_);
}

} // namespace bench
