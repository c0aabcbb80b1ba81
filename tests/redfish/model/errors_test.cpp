#include "redfish/model/errors.h"
#include "tests/redfish/model/problems.h"

#include <gmock/gmock.h>

namespace {

using namespace redfish::model;
using testing::ElementsAre;

TEST(ExtendedInfo, CarriesMessageArgumentsAndProperty) {
    EXPECT_EQ(extendedInfo({Message::propertyUnknown, {"theme"}, "#/theme"}),
              (Json{{"@odata.type", "#Message.v1_1_2.Message"},
                    {"MessageId", "Orvane.1.0.PropertyUnknown"},
                    {"Message", "The resource has no property theme."},
                    {"MessageArgs", {"theme"}},
                    {"RelatedProperties", {"#/theme"}},
                    {"Severity", "Warning"},
                    {"MessageSeverity", "Warning"},
                    {"Resolution", entryOf(Message::propertyUnknown).resolution}}));
    EXPECT_FALSE(extendedInfo({Message::success, {}, {}}).contains("RelatedProperties"));
}

TEST(ErrorBody, HasTheCodeOfItsOnlyMessage) {
    const Json body = errorBody({{Message::resourceMissingAtUri, {"/x"}, {}}});
    EXPECT_EQ(body["error"]["code"], "Orvane.1.0.ResourceMissingAtURI");
    EXPECT_EQ(body["error"]["message"], "There is no resource at /x.");
    EXPECT_EQ(body["error"]["@Message.ExtendedInfo"].size(), 1U);
}

TEST(ErrorBody, ListsEveryMessageInOrder) {
    const Json body = errorBody(
        {{Message::propertyUnknown, {"a"}, "#/a"}, {Message::propertyNotWritable, {"b"}, "#/b"}});
    EXPECT_EQ(body["error"]["code"], "Orvane.1.0.GeneralError");
    const Json& infos = body["error"]["@Message.ExtendedInfo"];
    ASSERT_EQ(infos.size(), 2U);
    EXPECT_EQ(infos[0]["RelatedProperties"], Json::array({"#/a"}));
    EXPECT_EQ(infos[1]["MessageId"], "Orvane.1.0.PropertyNotWritable");
}

TEST(SuccessBody, HasNoError) {
    const Json body = successBody(Message::accountRemoved);
    EXPECT_FALSE(body.contains("error"));
    EXPECT_EQ(body["@Message.ExtendedInfo"][0]["MessageId"], "Orvane.1.0.AccountRemoved");
}

TEST(StatusOf, IsTheCommonStatusOfTheProblems) {
    const Problem missing{Message::resourceMissingAtUri, {"/x"}, {}};
    const Problem unknown{Message::propertyUnknown, {"x"}, {}};
    EXPECT_EQ(statusOf({missing}), 404);
    EXPECT_EQ(statusOf({missing, missing}), 404);
    EXPECT_EQ(statusOf({unknown, unknown}), 400);
    EXPECT_EQ(statusOf({missing, unknown}), 400);
}

TEST(ProblemOf, TranslatesTheProvidersAnswers) {
    EXPECT_THAT(linesOf({problemOf(client::Answer{"InternalError", {}})}),
                ElementsAre("InternalError"));
    EXPECT_THAT(linesOf({problemOf(client::Answer{"InvalidObject", {"key"}})}),
                ElementsAre("InvalidObject [key]"));
    EXPECT_THAT(linesOf({problemOf(client::Answer{"ActionNotSupported", {"00009"}})}),
                ElementsAre("ActionNotSupported [00009]"));
    EXPECT_THAT(linesOf({problemOf(client::Answer{"SomethingElse", {"x"}})}),
                ElementsAre("ProviderRefused [SomethingElse]"));
    // Its message could not be shown without its argument.
    EXPECT_THAT(linesOf({problemOf(client::Answer{"InvalidObject", {}})}),
                ElementsAre("ProviderRefused [InvalidObject]"));
}

TEST(ProblemOf, TranslatesExceptionsOfTheClientLibrary) {
    const client::AnsweredOtherwise answered("the read", {"InvalidObject", {"key"}});
    struct {
        Problem problem;
        const char* line;
        int status;
    } const cases[] = {
        {problemOf(client::NobodyThere("")), "ServiceTemporarilyUnavailable [5]", 503},
        {problemOf(client::StoreUnreachable("")), "ServiceTemporarilyUnavailable [5]", 503},
        {problemOf(client::StoreContents("")), "ServiceTemporarilyUnavailable [5]", 503},
        {problemOf(client::NoAnswer("")), "OperationTimeout", 504},
        {problemOf(client::LeaseHeld("")), "ResourceInUse", 503},
        {problemOf(client::Stopped("")), "InternalError", 500},
        {problemOf(client::StoreRefused("")), "InternalError", 500},
        {problemOf(client::InvalidArgument("")), "InternalError", 500},
        {problemOf(static_cast<const client::Error&>(answered)), "InvalidObject [key]", 500},
    };
    for (const auto& each : cases) {
        EXPECT_THAT(linesOf({each.problem}), ElementsAre(each.line));
        EXPECT_EQ(statusOf({each.problem}), each.status) << each.line;
    }
}

TEST(Shown, IsJsonCutBetweenCharacters) {
    EXPECT_EQ(shown(5), "5");
    EXPECT_EQ(shown("a\"b"), R"("a\"b")");
    EXPECT_EQ(shown(std::string(62, 'x')).size(), 64U);
    EXPECT_EQ(shown(std::string(63, 'x')), "\"" + std::string(63, 'x') + "...");
    std::string umlauts = "x";
    for (int i = 0; i < 100; ++i) {
        umlauts += "\xc3\xa4";
    }
    const std::string text = shown(umlauts);
    EXPECT_EQ(text.size(), 67U);
    umlauts.insert(0, 1, 'x');
    EXPECT_EQ(shown(umlauts).size(), 66U);
    EXPECT_NO_THROW(static_cast<void>(Json(shown(umlauts)).dump()));
}

} // namespace
