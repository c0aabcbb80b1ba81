#include "redfish/service/webgui_handlers.h"

#include "client/names.h"
#include "redfish/model/addresses.h"
#include "tests/redfish/service/handlers_fixture.h"

namespace {

using redfish::ChangeResult;
using redfish::Method;
using redfish::Reading;
using redfish::Request;
using redfish::Response;
using redfish::model::kWebGui;
using redfish::model::Message;
using redfish::model::Problems;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

Problems problem(Message message) {
    return {{.message = message, .arguments = {"5"}, .property = {}}};
}

class TheWebGuiHandlers : public test::HandlersFixture {
protected:
    Response get(const redfish::model::Query& query = {}) {
        return ask(handlers.routes(), Method::get, std::string(kWebGui), as("looker"), {}, query);
    }
    Response patch(std::string_view body, std::string_view ifMatch = {}) {
        Request request;
        request.body = body;
        request.ifMatch = ifMatch;
        return ask(handlers.routes(), Method::patch, std::string(kWebGui), as("worker"), request);
    }
    Response act(std::string_view target, std::string_view body = {}) {
        return send(handlers.routes(), Method::post, std::string(target), as("worker"), body);
    }

    // What the resource gives, and what it was asked for.
    Reading reading{.body = redfish::makeText(R"({"Theme":"light","Language":"English"})"),
                    .entityTag = "\"tag\"",
                    .problems = {}};
    ChangeResult changed{.isAnythingChanged = true, .problems = {}, .reading = reading};
    Problems acted;
    int reads = 0;
    client::SettingValues askedChanges;
    std::string askedUser;
    std::string askedTag;
    std::vector<std::string> actions;

    redfish::WebGuiHandlers handlers{
        {.read =
             [this](const redfish::Gateway::Read& done) {
                 ++reads;
                 done(reading);
             },
         .change =
             [this](const client::SettingValues& changes, const std::string& user,
                    const std::string& ifMatch, const redfish::Gateway::Changed& done) {
                 askedChanges = changes;
                 askedUser = user;
                 askedTag = ifMatch;
                 done(changed);
             },
         .act =
             [this](const std::string& action, const redfish::Gateway::Done& done) {
                 actions.push_back(action);
                 done(acted);
             }},
        facts};
};

TEST_F(TheWebGuiHandlers, GiveTheReadingWithItsTag) {
    const Response response = get();
    EXPECT_EQ(response.status, 200U);
    EXPECT_EQ(response.body, reading.body) << "not copied";
    EXPECT_EQ(test::headerOf(response, "ETag"), "\"tag\"");
}

TEST_F(TheWebGuiHandlers, GiveTheSelectedPartUnderTheTagOfTheWhole) {
    const Response response = get({.selected = {"Theme"}});
    EXPECT_EQ(test::bodyOf(response), R"({"Theme":"light"})");
    EXPECT_EQ(test::headerOf(response, "ETag"), "\"tag\"");
}

TEST_F(TheWebGuiHandlers, ReportWhetherTheProviderIsThere) {
    reading.problems = problem(Message::providerUnavailable);
    EXPECT_EQ(get().status, 503U);
    EXPECT_FALSE(facts.now().isProviderThere);
    reading.problems.clear();
    EXPECT_EQ(get().status, 200U);
    EXPECT_TRUE(facts.now().isProviderThere);
}

TEST_F(TheWebGuiHandlers, SendNothingWhileAnyValueIsWrong) {
    const Response response = patch(R"({"Theme":"blue","Language":"Deutsch"})");
    EXPECT_EQ(response.status, 400U);
    EXPECT_EQ(test::messageOf(response), "PropertyValueNotInList");
    EXPECT_TRUE(askedUser.empty());
}

TEST_F(TheWebGuiHandlers, PassOnValuesUserAndPrecondition) {
    const Response response = patch(R"({"Theme":"dark"})", "\"old\"");
    EXPECT_EQ(response.status, 200U);
    EXPECT_THAT(askedChanges, ElementsAre(Pair("Theme", "dark")));
    EXPECT_EQ(askedUser, "worker");
    EXPECT_EQ(askedTag, "\"old\"");
    EXPECT_EQ(test::headerOf(response, "ETag"), "\"tag\"");
}

TEST_F(TheWebGuiHandlers, AnswerARefusedChangeWithItsReason) {
    changed = {.isAnythingChanged = false,
               .problems = problem(Message::preconditionFailed),
               .reading = {}};
    const Response response = patch(R"({"Theme":"dark"})");
    EXPECT_EQ(response.status, 412U);
    EXPECT_EQ(test::messageOf(response), "PreconditionFailed");
}

TEST_F(TheWebGuiHandlers, AnswerAChangeWithTheReadingThatCameWithIt) {
    changed.reading.body = redfish::makeText(R"({"Theme":"dark"})");
    changed.reading.entityTag = "\"new\"";
    const Response response = patch(R"({"Theme":"dark"})");
    EXPECT_EQ(test::bodyOf(response), R"({"Theme":"dark"})");
    EXPECT_EQ(test::headerOf(response, "ETag"), "\"new\"");
    EXPECT_EQ(reads, 0);
    changed.reading = {
        .body = nullptr, .entityTag = {}, .problems = problem(Message::operationTimeout)};
    EXPECT_EQ(patch(R"({"Theme":"dark"})").status, 504U) << "made, yet unread";
}

TEST_F(TheWebGuiHandlers, ShowWhatIsInForceAfterAPartialChange) {
    changed.problems = problem(Message::internalError);
    const Response response = patch(R"({"Theme":"dark","Language":"Deutsch"})");
    EXPECT_EQ(response.status, 200U);
    EXPECT_THAT(test::bodyOf(response), HasSubstr(R"("Theme":"light")"));
    EXPECT_THAT(test::bodyOf(response), HasSubstr("InternalError"));
    EXPECT_EQ(test::headerOf(response, "ETag"), "") << "the body is not the resource alone";
}

TEST_F(TheWebGuiHandlers, RunTheActions) {
    EXPECT_EQ(act(redfish::model::kTurnOffLcdTarget).status, 200U);
    const Response response = act(redfish::model::kGuiReadyTarget, "{}");
    EXPECT_EQ(response.status, 200U);
    EXPECT_THAT(test::bodyOf(response), HasSubstr("Success"));
    EXPECT_THAT(actions, ElementsAre(client::kTurnOffLcd, client::kGuiReady));
}

TEST_F(TheWebGuiHandlers, RefuseParametersOfActions) {
    const Response response = act(redfish::model::kTurnOffLcdTarget, R"({"Now":true})");
    EXPECT_EQ(response.status, 400U);
    EXPECT_EQ(test::messageOf(response), "ActionParameterUnknown");
    EXPECT_TRUE(actions.empty());
}

TEST_F(TheWebGuiHandlers, AnswerAFailedActionWithItsReason) {
    acted = problem(Message::operationTimeout);
    EXPECT_EQ(act(redfish::model::kGuiReadyTarget).status, 504U);
}

} // namespace
