// The least that answering a request costs: one thread that sends the redis commands that the
// daemon sends for each request, and does nothing else. It checks nothing and knows no settings.
//
// tests/benchmarks compares commands and round trips with the daemon's.
#pragma once

#include <hiredis/hiredis.h>
#include <memory>
#include <modbus/modbus.h>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

struct BareOptions {
    std::string socket;
    std::string channel;  // for requests
    std::string instance; // the resource's key
    bool scale = false;   // compare the scale, as with managing mode 0
    std::string unit;     // HOST:PORT of a cooling unit to ask for it first; may be empty
    std::string database; // copy of the daemon's settings database; empty: no updates
};

// The three texts of a request. Borrowed.
struct BareRequest {
    std::string_view messageId;
    std::string_view argument;
    std::string_view replyChannel;
};

// Splits a payload without escapes, ["id","argument","channel"]; other payloads give wrong texts.
BareRequest splitPayload(std::string_view payload);

// Throws std::runtime_error on errors.
class Bare {
public:
    explicit Bare(BareOptions options);

    // Answers requests until a signal ends the process.
    [[noreturn]] void serve();

private:
    struct Free {
        void operator()(redisContext* context) const { redisFree(context); }
        void operator()(modbus_t* unit) const;
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    struct FreeReply {
        void operator()(redisReply* reply) const { freeReplyObject(reply); }
    };
    using Connection = std::unique_ptr<redisContext, Free>;
    using Reply = std::unique_ptr<redisReply, FreeReply>;

    static Connection connect(const std::string& socket);
    static Reply receive(redisContext& connection);
    void append(const std::vector<std::string_view>& words);
    Reply roundTrip(const std::vector<std::string_view>& words);

    void openUnit();
    void openDatabase();
    void askUnit();
    void answerRead(const BareRequest& request);
    void answerUpdate(const BareRequest& request);
    void commit(std::string_view language);
    void sendReturnMessage(std::string_view channel);

    BareOptions options_;
    std::string freshness_;
    std::string etag_;
    unsigned long answers_ = 0;
    Connection subscription_;
    Connection commands_;
    std::unique_ptr<modbus_t, Free> unit_;
    std::unique_ptr<sqlite3, Free> database_;
    std::unique_ptr<sqlite3_stmt, Free> update_;
};

} // namespace bench
