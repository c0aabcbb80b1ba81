#include "benchmarks/bare.h"

#include "benchmarks/bounded_hiredis.h"

#include <array>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace bench {

namespace {

constexpr int kUnitId = 1;
constexpr int kScaleRegister = 100;
constexpr std::string_view kUpdate = "00002";

// All columns that the daemon writes; only one value changes and is bound each time.
constexpr const char* kUpdateRow =
    "UPDATE \"webgui_tbl\" SET \"InitBoot\" = ?, \"Language\" = ?, \"Brightness\" = ?, "
    "\"BacklightOff\" = ?, \"Screensaver\" = ?, \"Timer\" = ?, \"Measurement\" = ?, "
    "\"DateFormat\" = ?, \"TimeFormat\" = ?, \"RoomAverage\" = ?, \"HiLoPeriod\" = ? "
    "where Name is 'Zolan CMS Web GUI Settings'";
constexpr std::array kValues{"true",   "English",    "5",        "Never", "Enabled", "10 Minutes",
                             "Metric", "YYYY-MM-DD", "24 Hours", "false", "24 Hours"};
constexpr int kLanguagePosition = 2;

// The text between the next pair of quotation marks.
std::string_view takeQuoted(std::string_view& rest) {
    const std::size_t begin = rest.find('"');
    const std::size_t end = rest.find('"', begin + 1);
    if (begin == std::string_view::npos || end == std::string_view::npos) {
        throw std::runtime_error("a payload of an unknown form");
    }
    const std::string_view text = rest.substr(begin + 1, end - begin - 1);
    rest.remove_prefix(end + 1);
    return text;
}

} // namespace

BareRequest splitPayload(std::string_view payload) {
    BareRequest request;
    request.messageId = takeQuoted(payload);
    request.argument = takeQuoted(payload);
    request.replyChannel = takeQuoted(payload);
    return request;
}

void Bare::Free::operator()(modbus_t* unit) const {
    modbus_close(unit);
    modbus_free(unit);
}

Bare::Bare(BareOptions options)
    : options_(std::move(options)), freshness_("TTL:" + options_.instance),
      etag_("ETag:" + options_.instance), subscription_(connect(options_.socket)),
      commands_(connect(options_.socket)) {
    openUnit();
    openDatabase();
}

Bare::Connection Bare::connect(const std::string& socket) {
    Connection connection(redisConnectUnix(socket.c_str()));
    if (!connection || connection->err != 0) {
        throw std::runtime_error("no connection to " + socket);
    }
    boundReplies(*connection);
    return connection;
}

void Bare::openUnit() {
    if (options_.unit.empty()) {
        return;
    }
    const std::size_t colon = options_.unit.rfind(':');
    const std::string host = options_.unit.substr(0, colon);
    const std::string port = options_.unit.substr(colon + 1);
    unit_.reset(modbus_new_tcp_pi(host.c_str(), port.c_str()));
    if (!unit_ || modbus_set_slave(unit_.get(), kUnitId) != 0 || modbus_connect(unit_.get()) != 0) {
        throw std::runtime_error("no connection to the cooling unit " + options_.unit);
    }
}

// As durable as the daemon's: a write-ahead log, synced by every commit.
void Bare::openDatabase() {
    if (options_.database.empty()) {
        return;
    }
    sqlite3* opened = nullptr;
    const int code =
        sqlite3_open_v2(options_.database.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    database_.reset(opened);
    sqlite3_stmt* prepared = nullptr;
    if (code != SQLITE_OK ||
        sqlite3_exec(opened, "PRAGMA synchronous = FULL; PRAGMA journal_mode = WAL", nullptr,
                     nullptr, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(opened, kUpdateRow, -1, &prepared, nullptr) != SQLITE_OK) {
        throw std::runtime_error(options_.database + ": " + sqlite3_errmsg(opened));
    }
    update_.reset(prepared);
    int position = 0;
    for (const char* const value : kValues) {
        sqlite3_bind_text(prepared, ++position, value, -1, SQLITE_STATIC);
    }
}

void Bare::append(const std::vector<std::string_view>& words) {
    constexpr std::size_t kMaxWords = 24;
    std::array<const char*, kMaxWords> texts{};
    std::array<std::size_t, kMaxWords> lengths{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        texts.at(i) = words[i].data();
        lengths.at(i) = words[i].size();
    }
    redisAppendCommandArgv(commands_.get(), static_cast<int>(words.size()), texts.data(),
                           lengths.data());
}

Bare::Reply Bare::receive(redisContext& connection) {
    void* raw = nullptr;
    if (redisGetReply(&connection, &raw) != REDIS_OK) {
        throw std::runtime_error(std::string("redis: ") + connection.errstr);
    }
    Reply reply(static_cast<redisReply*>(raw));
    if (reply->type == REDIS_REPLY_ERROR) {
        throw std::runtime_error("redis refused: " + std::string(reply->str, reply->len));
    }
    return reply;
}

Bare::Reply Bare::roundTrip(const std::vector<std::string_view>& words) {
    append(words);
    return receive(*commands_);
}

void Bare::askUnit() {
    std::uint16_t scale = 0;
    if (modbus_read_registers(unit_.get(), kScaleRegister, 1, &scale) != 1) {
        throw std::runtime_error("the cooling unit does not answer");
    }
}

void Bare::sendReturnMessage(std::string_view channel) {
    // In the form of a UUID; the first half tells bare programs apart.
    std::array<char, 37> uuid{};
    std::snprintf(uuid.data(), uuid.size(), "%08zx-0000-4000-8000-%012lx",
                  std::hash<std::string>()(options_.channel) & 0xffffffffU, ++answers_);
    const std::string_view key(uuid.data());
    append({"HSET", key, "MessageId", "Success"});
    append({"EXPIRE", key, "60"});
    receive(*commands_);
    receive(*commands_);
    roundTrip({"PUBLISH", channel, key});
}

void Bare::answerRead(const BareRequest& request) {
    if (unit_) {
        askUnit();
    }
    if (options_.scale) {
        roundTrip({"HGET", options_.instance, "MeasurementSystem"});
    }
    roundTrip({"SET", freshness_, "1", "EX", "1"});
    sendReturnMessage(request.replyChannel);
}

void Bare::commit(std::string_view language) {
    sqlite3_bind_text64(update_.get(), kLanguagePosition, language.data(), language.size(),
                        SQLITE_STATIC, SQLITE_UTF8);
    const int code = sqlite3_step(update_.get());
    sqlite3_reset(update_.get());
    if (code != SQLITE_DONE) {
        throw std::runtime_error(options_.database + ": " + sqlite3_errmsg(database_.get()));
    }
}

void Bare::answerUpdate(const BareRequest& request) {
    const Reply object = roundTrip({"HGETALL", request.argument});
    if (!update_ || object->elements != 4) {
        throw std::runtime_error("no database for an update, or no request object");
    }
    const redisReply& value = *object->element[3];
    const std::string_view language(value.str, value.len);
    commit(language);
    roundTrip({"HSET", options_.instance, "Language", language});
    roundTrip({"SET", freshness_, "1", "EX", "1"});
    roundTrip({"DEL", etag_});
    roundTrip({"XADD", "Events:Zolan Event", "MAXLEN", "~", "1000", "*", "EventType",
               "ResourceUpdated", "Kind", "MESSAGE", "Message", "Resource updated", "MessageId",
               "Orvane.1.0.Msg000", "MessageArgs.0", "WebGUI00", "OriginOfCondition",
               options_.instance});
    sendReturnMessage(request.replyChannel);
}

void Bare::serve() {
    redisAppendCommand(subscription_.get(), "SUBSCRIBE %s", options_.channel.c_str());
    receive(*subscription_);
    for (;;) {
        const Reply message = receive(*subscription_);
        const redisReply& payload = *message->element[2];
        const BareRequest request = splitPayload({payload.str, payload.len});
        if (request.messageId == kUpdate) {
            answerUpdate(request);
        } else {
            answerRead(request);
        }
    }
}

} // namespace bench
