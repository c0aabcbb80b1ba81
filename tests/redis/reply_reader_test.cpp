#include "redis/reply_reader.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace {

using redis::Reply;
using redis::ReplyReader;
using Found = ReplyReader::Found;

void feed(ReplyReader& reader, std::string_view bytes) {
    while (!bytes.empty()) {
        const std::span<char> room = reader.room();
        const std::size_t count = bytes.copy(room.data(), room.size());
        reader.added(count);
        bytes.remove_prefix(count);
    }
}

// A reply in a form that a failed comparison shows.
std::string shown(const Reply& reply) {
    switch (reply.kind) {
    case Reply::Kind::none:
        return "none";
    case Reply::Kind::nil:
        return "nil";
    case Reply::Kind::integer:
        return std::to_string(reply.integer);
    case Reply::Kind::text:
        return "'" + reply.text + "'";
    case Reply::Kind::status:
        return "+" + reply.text;
    case Reply::Kind::error:
        return "-" + reply.text;
    case Reply::Kind::list:
        break;
    }
    std::string list = "(";
    for (const Reply& each : reply.elements) {
        list += (list.size() == 1 ? "" : " ") + shown(each);
    }
    return list + ")";
}

struct Row {
    std::string bytes;
    std::string reply;
};

const std::vector<Row>& goodReplies() {
    static const std::vector<Row> rows{
        {"+OK\r\n", "+OK"},
        {"+\r\n", "+"},
        {"-ERR no\r\n", "-ERR no"},
        {":0\r\n", "0"},
        {":-17\r\n", "-17"},
        {":9223372036854775807\r\n", "9223372036854775807"},
        {"$5\r\na\r\nbc\r\n", "'a\r\nbc'"},
        {"$0\r\n\r\n", "''"},
        {"$-1\r\n", "nil"},
        {"*-1\r\n", "nil"},
        {"*0\r\n", "()"},
        {"*3\r\n$7\r\nmessage\r\n$1\r\nc\r\n$0\r\n\r\n", "('message' 'c' '')"},
        {"*3\r\n*0\r\n*2\r\n:1\r\n*1\r\n$-1\r\n+x\r\n", "(() (1 (nil)) +x)"},
        {"*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n:1\r\n", "((((((((1))))))))"},
        {"*20\r\n" +
             [] {
                 std::string twenty;
                 for (int i = 0; i < 20; ++i) {
                     twenty += "*1\r\n:7\r\n";
                 }
                 return twenty;
             }(),
         "((7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7) (7))"},
    };
    return rows;
}

TEST(ReplyReader, ReadsEveryKindOfReply) {
    for (const Row& row : goodReplies()) {
        ReplyReader reader;
        Reply reply;
        feed(reader, row.bytes);
        ASSERT_EQ(reader.next(reply), Found::reply) << row.bytes;
        EXPECT_EQ(shown(reply), row.reply);
        EXPECT_TRUE(reader.isEmpty());
        EXPECT_EQ(reader.next(reply), Found::incomplete);
    }
}

TEST(ReplyReader, WaitsForTheRestOfAReplyWhereverItIsCut) {
    for (const Row& row : goodReplies()) {
        for (std::size_t cut = 0; cut < row.bytes.size(); ++cut) {
            ReplyReader reader;
            Reply reply;
            feed(reader, row.bytes.substr(0, cut));
            ASSERT_EQ(reader.next(reply), Found::incomplete) << row.bytes << " at " << cut;
            EXPECT_EQ(reply.kind, Reply::Kind::none);
            EXPECT_EQ(reader.isEmpty(), cut == 0);
            feed(reader, row.bytes.substr(cut));
            ASSERT_EQ(reader.next(reply), Found::reply) << row.bytes << " at " << cut;
            EXPECT_EQ(shown(reply), row.reply);
        }
    }
}

// What a reply object held before must not show through, whatever the two are.
TEST(ReplyReader, ReusesAReplyOfAnyOtherKind) {
    for (const Row& before : goodReplies()) {
        for (const Row& after : goodReplies()) {
            ReplyReader reader;
            Reply reply;
            feed(reader, before.bytes + after.bytes + before.bytes + after.bytes);
            for (const Row& row : {before, after, before, after}) {
                ASSERT_EQ(reader.next(reply), Found::reply);
                EXPECT_EQ(shown(reply), row.reply) << "after " << before.reply;
            }
            EXPECT_TRUE(reader.isEmpty());
        }
    }
}

TEST(ReplyReader, ReadsTextsAndListsLargerThanItsBuffer) {
    const std::string large(300'000, 'l');
    std::string bytes = "$300000\r\n" + large + "\r\n*10000\r\n";
    for (int i = 0; i < 10'000; ++i) {
        bytes += "$10\r\n0123456789\r\n";
    }
    ReplyReader reader;
    Reply reply;
    feed(reader, bytes + "+next\r\n");
    ASSERT_EQ(reader.next(reply), Found::reply);
    EXPECT_EQ(reply.text, large);
    ASSERT_EQ(reader.next(reply), Found::reply);
    EXPECT_EQ(reply.elements.size(), 10'000U);
    EXPECT_TRUE(std::all_of(reply.elements.begin(), reply.elements.end(),
                            [](const Reply& each) { return each.text == "0123456789"; }));
    ASSERT_EQ(reader.next(reply), Found::reply);
    EXPECT_EQ(shown(reply), "+next");
}

TEST(ReplyReader, RefusesWhatIsNoReply) {
    for (const std::string& bytes : std::vector<std::string>{"\r\n",
                                                             "garbage\r\n",
                                                             "HTTP/1.1 400 Bad Request\r\n\r\n",
                                                             "+a\rb\r\n",
                                                             ":\r\n",
                                                             ":x1\r\n",
                                                             ":+1\r\n",
                                                             ":01\r\n",
                                                             ":-0\r\n",
                                                             ": 1\r\n",
                                                             ":99999999999999999999\r\n",
                                                             "$\r\n",
                                                             "$x\r\n",
                                                             "$-2\r\n",
                                                             "$+1\r\n",
                                                             "$1\r\nab\r\n",
                                                             "$2\r\nabc\r\n",
                                                             "$1\r\nax\n",
                                                             "*\r\n",
                                                             "*-2\r\n",
                                                             "*x\r\n",
                                                             "*1\r\ngarbage\r\n",
                                                             "%1\r\n:1\r\n:1\r\n",
                                                             ",1.5\r\n",
                                                             "#t\r\n",
                                                             "_\r\n",
                                                             std::string("\0\r\n", 3)}) {
        ReplyReader reader;
        Reply reply;
        feed(reader, bytes);
        EXPECT_EQ(reader.next(reply), Found::nonsense) << bytes;
        EXPECT_STRNE(reader.problem(), "") << bytes;
        reader.clear();
        feed(reader, "+OK\r\n");
        EXPECT_EQ(reader.next(reply), Found::reply) << "after clear()";
    }
}

} // namespace
