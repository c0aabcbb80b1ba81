#include "redfish/model/body.h"
#include "tests/redfish/model/problems.h"

#include <gmock/gmock.h>

#include <array>

namespace {

using redfish::model::checkMembers;
using redfish::model::Json;
using redfish::model::parseBody;
using redfish::model::pointerTo;
using redfish::model::Rule;
using testing::ElementsAre;
using testing::IsEmpty;

std::string nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) {
        text += "{\"a\":";
    }
    return text + "1" + std::string(static_cast<std::size_t>(depth), '}');
}

TEST(ParseBody, TakesAnObject) {
    const auto parsed = parseBody(R"( {"a": {"b": [1, "x", null]}, "c": {"b": 2}} )");
    EXPECT_THAT(linesOf(parsed.problems), IsEmpty());
    EXPECT_EQ(parsed.value["a"]["b"][1], "x");
}

TEST(ParseBody, RefusesTextThatIsNotJson) {
    for (const std::string_view text :
         {" ", "{", "{\"a\":1,}", "{'a':1}", "{\"a\":01}", "{\"a\":1} x", "{\"a\":\"\xff\"}",
          "{\"a\":NaN}", "{\"a\":1e999}", "{\"a\":\"\\ud800\"}", "\xef\xbb"}) {
        EXPECT_THAT(linesOf(parseBody(text).problems), ElementsAre("MalformedJSON")) << text;
    }
}

TEST(ParseBody, RefusesValuesThatAreNotObjects) {
    for (const std::string_view text : {"", "[]", "[{}]", "1", "null", "\"x\"", "true"}) {
        EXPECT_THAT(linesOf(parseBody(text).problems), ElementsAre("UnrecognizedRequestBody"))
            << text;
    }
}

TEST(ParseBody, RefusesWhatNestsTooDeeply) {
    EXPECT_THAT(linesOf(parseBody(nested(redfish::model::kMaxBodyDepth)).problems), IsEmpty());
    EXPECT_THAT(linesOf(parseBody(nested(redfish::model::kMaxBodyDepth + 1)).problems),
                ElementsAre("MalformedJSON"));
    EXPECT_THAT(linesOf(parseBody(nested(20'000)).problems), ElementsAre("MalformedJSON"));
    EXPECT_THAT(linesOf(parseBody(std::string(100'000, '[')).problems),
                ElementsAre("MalformedJSON"));
}

TEST(ParseBody, IgnoresBracketsInsideOfStrings) {
    const std::string text = R"({"a":"\"[[[[[[[[[[[[[[[[[[[[[[\\"})";
    EXPECT_THAT(linesOf(parseBody(text).problems), IsEmpty());
}

TEST(ParseBody, ReportsEveryDuplicateName) {
    EXPECT_THAT(linesOf(parseBody(R"({"a":1,"b":2,"a":3,"b":4,"a":5})").problems),
                ElementsAre("PropertyDuplicate [a] #/a", "PropertyDuplicate [b] #/b"));
    EXPECT_THAT(linesOf(parseBody(R"({"o":{"a":1,"a":1}})").problems),
                ElementsAre("PropertyDuplicate [a] #/a"));
}

TEST(ParseBody, KnowsWhichObjectANameIsIn) {
    EXPECT_THAT(linesOf(parseBody(R"({"o":{"a":1},"a":2})").problems), IsEmpty());
    EXPECT_THAT(linesOf(parseBody(R"({"a":{"x":1},"a":2})").problems),
                ElementsAre("PropertyDuplicate [a] #/a"));
}

TEST(ParseBody, TakesTheSameNameInDifferentObjects) {
    EXPECT_THAT(linesOf(parseBody(R"({"a":{"a":1},"b":[{"a":1},{"a":1}]})").problems), IsEmpty());
}

constexpr std::array kRules{
    Rule{"Text", Rule::Kind::text},      Rule{"Flag", Rule::Kind::boolean},
    Rule{"Secret", Rule::Kind::secret},  Rule{"Oem", Rule::Kind::group},
    Rule{"Fixed", Rule::Kind::readOnly}, Rule{"Number", Rule::Kind::integer, false, -2, 7},
};

std::vector<std::string> check(const std::string& text) {
    return linesOf(checkMembers(Json::parse(text), kRules));
}

TEST(CheckMembers, TakesWhatFollowsTheRules) {
    EXPECT_THAT(check(R"({"Text":"","Flag":false,"Number":-2,"Secret":"x","Oem":{}})"), IsEmpty());
    EXPECT_THAT(check(R"({"Number":7})"), IsEmpty());
}

TEST(CheckMembers, ReportsTheProblemOfEachMember) {
    struct {
        const char* body;
        const char* line;
    } const cases[] = {
        {R"({"Text":1})", "PropertyValueTypeError [1] [Text] #/Text"},
        {R"({"Text":null})", "PropertyValueTypeError [null] [Text] #/Text"},
        {R"({"Text":["a"]})", "PropertyValueTypeError [[\"a\"]] [Text] #/Text"},
        {R"({"Flag":"true"})", "PropertyValueTypeError [\"true\"] [Flag] #/Flag"},
        {R"({"Flag":1})", "PropertyValueTypeError [1] [Flag] #/Flag"},
        {R"({"Number":"5"})", "PropertyValueTypeError [\"5\"] [Number] #/Number"},
        {R"({"Number":5.0})", "PropertyValueTypeError [5.0] [Number] #/Number"},
        {R"({"Number":true})", "PropertyValueTypeError [true] [Number] #/Number"},
        {R"({"Number":8})", "PropertyValueOutOfRange [8] [Number] #/Number"},
        {R"({"Number":-3})", "PropertyValueOutOfRange [-3] [Number] #/Number"},
        {R"({"Number":18446744073709551615})",
         "PropertyValueOutOfRange [18446744073709551615] [Number] #/Number"},
        {R"({"Fixed":1})", "PropertyNotWritable [Fixed] #/Fixed"},
        {R"({"text":"a"})", "PropertyUnknown [text] #/text"},
        {R"({"a/b~c":1})", "PropertyUnknown [a/b~c] #/a~1b~0c"},
        {R"({"Text@Redfish.AllowableValues":[]})",
         "PropertyUnknown [Text@Redfish.AllowableValues] #/Text@Redfish.AllowableValues"},
        {R"({"Oem":1})", "PropertyValueTypeError [1] [Oem] #/Oem"},
        {R"({"Oem":{"Other":{}}})", "PropertyUnknown [Other] #/Oem/Other"},
        {R"({})", "EmptyJSON"},
        {R"({"@odata.id":"/x","Members@odata.count":1})", "NoOperation"},
    };
    for (const auto& each : cases) {
        EXPECT_THAT(check(each.body), ElementsAre(each.line)) << each.body;
    }
}

TEST(CheckMembers, NeverRepeatsASecret) {
    EXPECT_THAT(check(R"({"Secret":123456})"), ElementsAre("PropertyValueError [Secret] #/Secret"));
}

TEST(CheckMembers, ReportsAllProblemsOfABody) {
    EXPECT_THAT(check(R"({"A":1,"Fixed":1,"Flag":1,"Number":9,"Text":"fine"})"),
                ElementsAre("PropertyUnknown [A] #/A", "PropertyNotWritable [Fixed] #/Fixed",
                            "PropertyValueTypeError [1] [Flag] #/Flag",
                            "PropertyValueOutOfRange [9] [Number] #/Number"));
}

TEST(CheckMembers, RequiresWhatIsNeeded) {
    constexpr std::array rules{Rule{"A", Rule::Kind::text, true}, Rule{"B", Rule::Kind::text}};
    EXPECT_THAT(linesOf(checkMembers(Json::object(), rules)),
                ElementsAre("PropertyMissing [A] #/A"));
    EXPECT_THAT(linesOf(checkMembers(Json{{"A", "x"}}, rules)), IsEmpty());
}

TEST(CheckMembers, CutsLongNamesAndValuesInItsMessages) {
    const Json body{{std::string(1000, 'n'), 1}};
    EXPECT_EQ(checkMembers(body, kRules).at(0).arguments.at(0).size(), 66U);
    const Json value{{"Flag", std::string(1000, 'v')}};
    EXPECT_EQ(checkMembers(value, kRules).at(0).arguments.at(0).size(), 67U);
}

TEST(PointerTo, EscapesWhatPointersUse) {
    EXPECT_EQ(pointerTo("Theme"), "#/Theme");
    EXPECT_EQ(pointerTo("a/b~c"), "#/a~1b~0c");
}

} // namespace
