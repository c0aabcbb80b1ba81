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

constexpr std::chrono::milliseconds kSilence{20'000};
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

// The settings of "00003".
constexpr std::array kDisplaySettings{"ScreenBrightness",
                                      "BacklightOff",
                                      "ActiveAlarmScreensaver",
                                      "InactivityTimer",
                                      "MeasurementSystem",
                                      "DateFormat",
                                      "TimeFormat",
                                      "RoomAverage",
                                      "HiLoPeriod",
                                      "Theme"};

std::string_view messageId(LoadKind kind) {
    switch (kind) {
    case LoadKind::languageUpdates:
        return "00002";
    case LoadKind::brightnessUpdates:
        return "00003";
    case LoadKind::reads:
        break;
    }
    return "00001";
}

std::string requestObject(std::size_t turn) {
    return "Request:" + numberedUuid(turn);
}

[[noreturn]] void failOn(const redis::Connection& connection) {
    throw std::runtime_error("redis: " + connection.reason());
}

redis::Connection connectedTo(const std::string& socket) {
    redis::Connection connection;
    const redis::Address address{.path = socket, .host = {}, .port = 0};
    if (!connection.open(address, redis::Clock::now() + redis::kTimeout)) {
        failOn(connection);
    }
    return connection;
}

void flush(redis::Connection& connection) {
    if (!connection.send(redis::Clock::now() + kSilence)) {
        failOn(connection);
    }
}

void receive(redis::Connection& connection) {
    if (!connection.receive()) {
        failOn(connection);
    }
}

// False: no whole reply is left of what was received.
bool next(redis::Connection& connection, redis::Reply& reply) {
    if (connection.next(reply)) {
        return true;
    }
    if (!connection.isOpen()) {
        failOn(connection);
    }
    return false;
}

// One command and its reply, for what is not measured.
template <typename... Words>
redis::Reply ask(redis::Connection& connection, const Words&... words) {
    connection.append(redis::ShortCommand{words...});
    flush(connection);
    redis::Reply reply;
    if (!connection.await(reply, redis::Clock::now() + kSilence)) {
        failOn(connection);
    }
    if (reply.isError()) {
        throw std::runtime_error("redis refused: " + reply.text);
    }
    return reply;
}

std::string commandBytes(redis::Command command) {
    std::string bytes;
    redis::appendCommand(bytes, command);
    return bytes;
}

} // namespace

LoadGenerator::LoadGenerator(LoadOptions options)
    : options_(std::move(options)), commands_(connectedTo(options_.socket)),
      answers_(connectedTo(options_.socket)), clients_(options_.clients) {
    for (unsigned int i = 0; i < options_.clients; ++i) {
        for (const std::size_t turn : {0U, 1U}) {
            const std::string whole = R"([")" + std::string(messageId(options_.kind)) + R"(",")" +
                                      (isUpdate() ? requestObject(turn) : options_.instance) +
                                      R"(",")" + replyChannel(i) + R"("])";
            clients_[i].publications[turn] =
                commandBytes(redis::ShortCommand{"PUBLISH", options_.channel, whole});
        }
    }
    result_.latencies.reserve(options_.requests);
}

void LoadGenerator::subscribe() {
    for (unsigned int i = 0; i < options_.clients; ++i) {
        ask(answers_, "SUBSCRIBE", replyChannel(i));
    }
    ask(answers_, "SUBSCRIBE", replyChannel(0) + kEcho);
}

void LoadGenerator::storeRequestObjects() {
    const bool isLanguage = options_.kind == LoadKind::languageUpdates;
    const char* const setting = isLanguage ? "Language" : "ScreenBrightness";
    const std::array values = isLanguage ? std::array{"Deutsch", "English"} : std::array{"3", "4"};
    for (std::size_t turn = 0; turn < values.size(); ++turn) {
        ask(commands_, "HSET", requestObject(turn), "OriginalObjID", options_.instance);
        if (!isLanguage) {
            for (const char* each : kDisplaySettings) {
                ask(commands_, "HSET", requestObject(turn), each,
                    ask(commands_, "HGET", options_.instance, each).text);
            }
            ask(commands_, "HSET", requestObject(turn), "EventUserName", "load");
        }
        ask(commands_, "HSET", requestObject(turn), setting, values[turn]);
    }
}

void LoadGenerator::send(unsigned int number) {
    Client& client = clients_[number];
    commands_.appendBytes(client.publications[client.sent % 2]);
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

void LoadGenerator::finish(unsigned int number, const redis::Reply& returnMessage) {
    Client& client = clients_[number];
    const Clock::time_point now = Clock::now();
    const bool isSuccess = returnMessage.elements.size() >= 2 &&
                           returnMessage.elements[0].text == "MessageId" &&
                           returnMessage.elements[1].text == "Success";
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

void LoadGenerator::handle(const redis::Reply& message) {
    if (message.elements.size() != 3 || message.elements[0].text != "message") {
        throw std::runtime_error("redis sent what is no message");
    }
    if (message.elements[1].text.ends_with(kEcho)) {
        echoed_ = true;
        return;
    }
    const unsigned int client = clientOf(message.elements[1].text);
    if (client >= clients_.size() || !clients_[client].waits) {
        ++result_.unasked;
        return;
    }
    commands_.append(redis::ShortCommand{"HGETALL", message.elements[2].text});
    expected_.push_back({client, true});
    ++fetches_;
}

void LoadGenerator::takeAnswers() {
    receive(answers_);
    while (next(answers_, reply_)) {
        handle(reply_);
    }
}

void LoadGenerator::takeReplies() {
    receive(commands_);
    while (next(commands_, reply_)) {
        if (expected_.empty() || reply_.isError()) {
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
    if (::poll(waited.data(), count, static_cast<int>(kSilence.count())) <= 0) {
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
    ask(commands_, "PUBLISH", replyChannel(0) + kEcho, kEcho);
    while (!echoed_) {
        waitForSomething();
    }
}

// The reply to a publication would say so too, but nothing waits for it.
void LoadGenerator::checkThatSomebodyListens() {
    const redis::Reply listeners = ask(commands_, "PUBSUB", "NUMSUB", options_.channel);
    if (listeners.elements.size() != 2 || listeners.elements[1].integer == 0) {
        throw std::runtime_error("nobody listens on " + options_.channel);
    }
}

LoadResult LoadGenerator::run() {
    checkThatSomebodyListens();
    subscribe();
    if (isUpdate()) {
        storeRequestObjects();
    }
    for (unsigned int i = 0; i < options_.clients && mayStartAnother(); ++i) {
        send(i);
    }
    flush(commands_);
    while (waiting_ > 0) {
        waitForSomething();
        flush(commands_);
    }
    collectLate();
    if (isUpdate()) {
        ask(commands_, "DEL", requestObject(0), requestObject(1));
    }
    result_.seconds = std::chrono::duration<double>(end_ - begin_).count();
    return std::move(result_);
}

} // namespace bench
