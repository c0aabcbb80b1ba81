#include "platform/plugin_host/payload.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using plugin_host::kMaxPayloadBytes;
using plugin_host::parseRequest;
using plugin_host::shownPayload;

struct Good {
    const char* name;
    std::string payload;
    RequestTriple request;
};

TEST(ParseRequest, TakesArraysOfThreeTexts) {
    const std::string longText(kMaxPayloadBytes - 12, 'x');
    const Good table[] = {
        {"plain", R"(["00003","obj","reply"])", {"00003", "obj", "reply"}},
        {"blanks", " [ \"00003\" ,\n\"obj\",\t\"reply\" ] ", {"00003", "obj", "reply"}},
        {"empty texts", R"(["","",""])", {"", "", ""}},
        {"escapes", R"(["a\"b","c\\d\n","\u00e9"])", {"a\"b", "c\\d\n", "\xc3\xa9"}},
        {"UTF-8",
         "[\"\xc3\xa9\",\"\xe2\x82\xac\",\"\xf0\x9f\x98\x80\"]",
         {"\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80"}},
        {"surrogate pair", R"(["\ud83d\ude00","b","c"])", {"\xf0\x9f\x98\x80", "b", "c"}},
        {"the longest", "[\"" + longText + R"(","b","c"])", {longText, "b", "c"}},
    };
    for (const Good& row : table) {
        RequestTriple request("earlier", "texts", "remain");
        EXPECT_STREQ(parseRequest(row.payload, request), nullptr) << row.name;
        EXPECT_EQ(request, row.request) << row.name;
    }
}

struct Bad {
    const char* name;
    std::string payload;
    const char* reason;
};

TEST(ParseRequest, RefusesEveryOtherFormWithItsReason) {
    using std::string_literals::operator""s;
    const Bad table[] = {
        {"nothing", "", "no JSON in UTF-8"},
        {"bare word", "hello", "no JSON in UTF-8"},
        {"cut off", R"(["a","b","c")", "no JSON in UTF-8"},
        {"open text", R"(["a","b","c)", "no JSON in UTF-8"},
        {"trailing text", R"(["a","b","c"] d)", "no JSON in UTF-8"},
        {"two arrays", R"(["a","b","c"]["a","b","c"])", "no JSON in UTF-8"},
        {"trailing comma", R"(["a","b","c",])", "no JSON in UTF-8"},
        {"raw NUL", "[\"a\",\"b\0\",\"c\"]"s, "contains a NUL"},
        {"raw NUL behind it", "[\"a\",\"b\",\"c\"]\0"s, "contains a NUL"},
        {"raw line feed", "[\"a\",\"b\n\",\"c\"]", "no JSON in UTF-8"},
        {"invalid UTF-8", "[\"a\",\"\xff\",\"c\"]", "no JSON in UTF-8"},
        {"cut UTF-8", "[\"a\",\"\xe2\x82\",\"c\"]", "no JSON in UTF-8"},
        {"overlong UTF-8", "[\"a\",\"\xc0\xaf\",\"c\"]", "no JSON in UTF-8"},
        {"half a surrogate pair", R"(["a","\ud83d","c"])", "no JSON in UTF-8"},
        {"number too large", R"([1e999,"b","c"])", "no JSON in UTF-8"},
        {"object", R"({"msgId":"a"})", "no array"},
        {"text", R"("abc")", "no array"},
        {"number", "3", "no array"},
        {"null", "null", "no array"},
        {"empty array", "[]", "less than three elements"},
        {"two elements", R"(["a","b"])", "less than three elements"},
        {"four elements", R"(["a","b","c","d"])", "more than three elements"},
        {"number element", R"(["a",2,"c"])", "an element is no text"},
        {"negative element", R"(["a","b",-2])", "an element is no text"},
        {"fraction element", R"([0.5,"b","c"])", "an element is no text"},
        {"boolean element", R"(["a","b",true])", "an element is no text"},
        {"null element", R"([null,"b","c"])", "an element is no text"},
        {"array element", R"(["a",["b"],"c"])", "an element is no text"},
        {"object element", R"(["a",{"b":"c"},"c"])", "an element is no text"},
        {"NUL", R"(["a","b\u0000c","c"])", "contains a NUL"},
        {"deep nesting", std::string(60000, '['), "an element is no text"},
        {"one byte too long", "[\"" + std::string(kMaxPayloadBytes - 11, 'x') + R"(","b","c"])",
         "longer than 64 KiB"},
    };
    for (const Bad& row : table) {
        RequestTriple request;
        EXPECT_STREQ(parseRequest(row.payload, request), row.reason) << row.name;
    }
}

TEST(ShownPayload, IsPrintableOnOneLineAndShort) {
    using std::string_literals::operator""s;
    EXPECT_EQ(shownPayload(R"(["a","b"])"), R"(["a","b"])");
    EXPECT_EQ(shownPayload("a\nb\0c\\d\xff"s), R"(a\x0ab\x00c\x5cd\xff)");
    EXPECT_EQ(shownPayload(std::string(80, 'a')), std::string(80, 'a'));
    EXPECT_EQ(shownPayload(std::string(81, 'a')), std::string(80, 'a') + "...");
}

} // namespace
