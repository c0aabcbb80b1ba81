// Every status that the program can send, with its headers and bodies, in front of a provider whose
// answers the test decides.
#include "redfish/model/addresses.h"
#include "tests/client/stand_in_provider.h"
#include "tests/redfish/end_to_end/redfish_process.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>
#include <set>

namespace {

using test::HttpAnswer;
using testing::HasSubstr;

const std::string kWebGui(redfish::model::kWebGui);
const std::string kTurnOffLcd(redfish::model::kTurnOffLcdTarget);
const std::string kAccounts(redfish::model::kAccounts);
const std::string kSessions(redfish::model::kSessions);
const std::string kRoot(redfish::model::kServiceRoot);
const std::string kStream(redfish::model::kEventStream);

class TheRedfishService : public testing::Test {
protected:
    HttpAnswer get(const std::string& path, const std::vector<std::string>& more = {}) {
        return service.ask("GET", path, more);
    }
    HttpAnswer patch(const std::string& body, const std::vector<std::string>& more = {}) {
        return service.send("PATCH", kWebGui, body, more);
    }
    int addAccount(const std::string& name, const std::string& role) {
        return service
            .send("POST", kAccounts,
                  R"({"UserName":")" + name + R"(","Password":"Kept-Secret-1","RoleId":")" + role +
                      "\"}")
            .status;
    }
    static std::vector<std::string> basic(const std::string& name) {
        return {"--user", name + ":Kept-Secret-1"};
    }

    test::RedisServer store;
    test::StandInProvider provider{store};
    test::RedfishProcess service{store.address(), {"--timeout", "1"}};
};

TEST_F(TheRedfishService, Answers200WithTheResourceAndItsTag) {
    const HttpAnswer answer = get(kWebGui);
    EXPECT_EQ(answer.status, 200);
    EXPECT_THAT(answer.body, HasSubstr(R"("ScreenBrightness":5)"));
    EXPECT_EQ(answer.headers.at("odata-version"), "4.0");
    EXPECT_EQ(answer.headers.at("allow"), "GET, HEAD, PATCH");
    const HttpAnswer head = service.ask("HEAD", kWebGui);
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.headers.at("etag"), answer.headers.at("etag"));
    EXPECT_EQ(head.body, "");
    EXPECT_THAT(get(kWebGui + "?$select=Theme").body, testing::Not(HasSubstr("ScreenBrightness")));
    EXPECT_EQ(service.askAsStranger("GET", "/redfish").status, 200);
    EXPECT_EQ(service.askAsStranger("GET", kRoot).status, 200);
    EXPECT_EQ(service.askAsStranger("GET", "/redfish/v1").status, 200);
    EXPECT_EQ(service.askAsStranger("GET", "/redfish/v1/$metadata").status, 200);
}

TEST_F(TheRedfishService, ServesWhateverItLinksTo) {
    std::vector<std::string> left{kRoot};
    std::set<std::string> seen(left.begin(), left.end());
    while (!left.empty()) {
        const std::string path = left.back();
        left.pop_back();
        const HttpAnswer answer = get(path);
        EXPECT_EQ(answer.status, 200) << path;
        const std::string name = R"("@odata.id":")";
        for (std::size_t at = answer.body.find(name); at != std::string::npos;
             at = answer.body.find(name, at + 1)) {
            const std::size_t begin = at + name.size();
            std::string link = answer.body.substr(begin, answer.body.find('"', begin) - begin);
            link = link.substr(0, link.find('#'));
            if (seen.insert(link).second) {
                left.push_back(link);
            }
        }
    }
    EXPECT_GT(seen.size(), 15U);
    EXPECT_TRUE(seen.contains(kWebGui));
}

TEST_F(TheRedfishService, Answers201And204WhenASessionBeginsAndEnds) {
    const HttpAnswer made = service.signIn("admin", service.firstPassword());
    EXPECT_EQ(made.status, 201);
    const std::string address = made.headers.at("location");
    const std::vector<std::string> token{"--header",
                                         "X-Auth-Token: " + made.headers.at("x-auth-token")};
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, token).status, 200);
    EXPECT_THAT(service.askAsStranger("GET", address, token).body, HasSubstr("admin"));
    EXPECT_EQ(service.askAsStranger("DELETE", address, token).status, 204);
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, token).status, 401);
}

TEST_F(TheRedfishService, Answers304IfTheTagIsStillTheSame) {
    for (const std::string& path : {kWebGui, kRoot}) {
        const std::string tag = get(path).headers.at("etag");
        const HttpAnswer answer = get(path, {"--header", "If-None-Match: " + tag});
        EXPECT_EQ(answer.status, 304) << path;
        EXPECT_EQ(answer.body, "");
        EXPECT_EQ(get(path, {"--header", "If-None-Match: \"other\""}).status, 200);
    }
}

TEST_F(TheRedfishService, Answers400ToWhatItDoesNotUnderstandAndSendsNothing) {
    EXPECT_EQ(patch("{").status, 400);
    EXPECT_EQ(patch("[]").status, 400);
    const HttpAnswer answer =
        patch(R"({"Theme":"blue","ScreenBrightness":9,"Nothing":1,"Language":"x"})");
    EXPECT_EQ(answer.status, 400);
    for (const char* const part :
         {"#/Theme", "#/ScreenBrightness", "#/Nothing", "@Message.ExtendedInfo"}) {
        EXPECT_THAT(answer.body, HasSubstr(part));
    }
    EXPECT_EQ(service.send("POST", kTurnOffLcd, R"({"Now":true})").status, 400);
    EXPECT_EQ(get(kStream + "?$filter=nonsense").status, 400);
    EXPECT_EQ(get(kStream, {"--header", "Last-Event-ID: x"}).status, 400);
    EXPECT_EQ(get("/redfish/%zz").status, 400);
    EXPECT_TRUE(provider.received().empty());
    provider.behave({.messageId = "ActionNotSupported", .arguments = {"WebGUI.TurnOffLCD"}});
    EXPECT_EQ(service.ask("POST", kTurnOffLcd).status, 400);
}

TEST_F(TheRedfishService, Answers401ToStrangersAndWrongPasswords) {
    const HttpAnswer answer = service.askAsStranger("GET", kWebGui);
    EXPECT_EQ(answer.status, 401);
    EXPECT_NE(answer.headers.at("www-authenticate"), "");
    EXPECT_EQ(service.signIn("admin", "wrong-password").status, 401);
    EXPECT_EQ(service.signIn("nobody", "wrong-password").status, 401);
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, basic("admin")).status, 401);
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, {"--header", "X-Auth-Token: x"}).status, 401);
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, {"--user", "admin:" + service.firstPassword()})
                  .status,
              200);
}

TEST_F(TheRedfishService, Answers403IfTheRoleDoesNotSuffice) {
    ASSERT_EQ(addAccount("looker", "ReadOnly"), 201);
    ASSERT_EQ(addAccount("worker", "Operator"), 201);
    const auto as = [this](const std::string& name, const std::string& method,
                           const std::string& path, const std::string& body) {
        std::vector<std::string> more = basic(name);
        more.insert(more.end(),
                    {"--header", "Content-Type: application/json", "--data-binary", body});
        return service.askAsStranger(method, path, more).status;
    };
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, basic("looker")).status, 200);
    EXPECT_EQ(as("looker", "PATCH", kWebGui, R"({"Theme":"dark"})"), 403);
    EXPECT_EQ(as("looker", "POST", kTurnOffLcd, "{}"), 403);
    EXPECT_EQ(as("worker", "PATCH", kWebGui, R"({"Theme":"dark"})"), 200);
    EXPECT_EQ(as("worker", "POST", kAccounts, "{}"), 403);
    EXPECT_EQ(as("worker", "DELETE", kAccounts + "/looker", ""), 403);
    EXPECT_EQ(as("worker", "PATCH", kAccounts + "/worker", R"({"RoleId":"Administrator"})"), 403);
    EXPECT_EQ(as("worker", "PATCH", kAccounts + "/looker", R"({"Password":"Another-Secret"})"),
              404);
    EXPECT_EQ(as("worker", "PATCH", kAccounts + "/worker", R"({"Password":"Another-Secret"})"),
              200);
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, basic("worker")).status, 401);
}

TEST_F(TheRedfishService, Answers404And405WithTheAllowedMethods) {
    for (const std::string& path :
         {std::string("/redfish/v2"), kWebGui + "/None", kSessions + "/none", kAccounts + "/none",
          std::string("/index.html")}) {
        EXPECT_EQ(get(path).status, 404) << path;
    }
    const HttpAnswer answer = service.ask("DELETE", kWebGui);
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(answer.headers.at("allow"), "GET, HEAD, PATCH");
    EXPECT_EQ(service.ask("OPTIONS", kRoot).status, 405);
    EXPECT_EQ(service.ask("BREW", kRoot).status, 405);
}

TEST_F(TheRedfishService, Answers406And415ToUnsupportedTypes) {
    EXPECT_EQ(get(kWebGui, {"--header", "Accept: text/html"}).status, 406);
    EXPECT_EQ(get(kWebGui, {"--header", "Accept: text/html, application/json;q=0.5"}).status, 200);
    EXPECT_EQ(
        service.ask("PATCH", kWebGui, {"--header", "Content-Type: text/plain", "--data", "{}"})
            .status,
        415);
}

TEST_F(TheRedfishService, Answers409ToConflictsBetweenAccounts) {
    EXPECT_EQ(addAccount("twice", "ReadOnly"), 201);
    EXPECT_EQ(addAccount("twice", "ReadOnly"), 409);
    EXPECT_EQ(service.ask("DELETE", kAccounts + "/admin").status, 409);
    EXPECT_EQ(service.send("PATCH", kAccounts + "/admin", R"({"Enabled":false})").status, 409);
    EXPECT_EQ(service.ask("DELETE", kAccounts + "/twice").status, 200);
}

TEST_F(TheRedfishService, Answers412IfTheResourceHasChanged) {
    const std::string tag = get(kWebGui).headers.at("etag");
    EXPECT_EQ(patch(R"({"Theme":"dark"})", {"--header", "If-Match: " + tag}).status, 200);
    EXPECT_EQ(patch(R"({"Theme":"light"})", {"--header", "If-Match: " + tag}).status, 412);
    const std::string weak = "W/" + get(kWebGui).headers.at("etag");
    EXPECT_EQ(patch(R"({"Theme":"light"})", {"--header", "If-Match: " + weak}).status, 412);
    EXPECT_THAT(get(kWebGui).body, HasSubstr(R"("Theme":"dark")"));
    EXPECT_EQ(get(kRoot, {"--header", "OData-Version: 3.0"}).status, 412);
}

TEST_F(TheRedfishService, Answers413And431ToWhatIsTooLarge) {
    EXPECT_EQ(patch(std::string(70'000, ' ')).status, 413);
    EXPECT_EQ(get(kRoot, {"--header", "Cookie: " + std::string(9000, 'x')}).status, 431);
}

TEST_F(TheRedfishService, Answers500IfTheProviderFails) {
    provider.behave({.messageId = "InternalError"});
    const HttpAnswer answer = patch(R"({"Theme":"dark"})");
    EXPECT_EQ(answer.status, 500);
    EXPECT_THAT(answer.body, HasSubstr("InternalError"));
    EXPECT_EQ(service.ask("POST", kTurnOffLcd).status, 500);
}

TEST_F(TheRedfishService, ReportsWhichPartOfAChangeIsInEffect) {
    provider.behave("00003", {.messageId = "InternalError"});
    const HttpAnswer answer = patch(R"({"Language":"Deutsch","Theme":"dark"})");
    EXPECT_EQ(answer.status, 200);
    EXPECT_THAT(answer.body, HasSubstr(R"("Language":"Deutsch")"));
    EXPECT_THAT(answer.body, HasSubstr(R"("Theme":"light")"));
    EXPECT_THAT(answer.body, HasSubstr("@Message.ExtendedInfo"));
}

TEST_F(TheRedfishService, Answers501ToUnsupportedQueriesOfTheStandard) {
    EXPECT_EQ(get(kAccounts + "?$filter=a").status, 501);
    EXPECT_EQ(get(kAccounts + "?other=a").status, 200);
}

TEST_F(TheRedfishService, Answers503WithoutAProviderAndRecovers) {
    provider.stopListening();
    const HttpAnswer answer = get(kWebGui);
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.headers.at("retry-after"), "5");
    EXPECT_EQ(patch(R"({"Theme":"dark"})").status, 503);
    store.kill();
    EXPECT_EQ(get(kWebGui).status, 503);
    EXPECT_EQ(get(kRoot).status, 200);
    store.start();
    const test::StandInProvider again(store);
    EXPECT_EQ(get(kWebGui).status, 200);
}

TEST_F(TheRedfishService, Answers504WhenTheProviderDoesNotAnswerInTime) {
    provider.behave({.times = 0});
    EXPECT_EQ(get(kWebGui).status, 504);
    EXPECT_EQ(service.ask("POST", kTurnOffLcd).status, 504);
}

TEST_F(TheRedfishService, Answers429ToTooManyRequests) {
    const test::RedfishProcess strict(store.address(),
                                      {"--request-rate", "0.001", "--request-burst", "1"});
    EXPECT_EQ(strict.askAsStranger("GET", kRoot).status, 200);
    const HttpAnswer answer = strict.askAsStranger("GET", kRoot);
    EXPECT_EQ(answer.status, 429);
    EXPECT_EQ(answer.headers.at("retry-after"), "1");
}

TEST_F(TheRedfishService, PassesTheUserOnAndLogsNoSecret) {
    EXPECT_EQ(patch(R"({"Theme":"dark"})").status, 200);
    EXPECT_EQ(provider.received().back().object.at("EventUserName"), "admin");
    service.signIn("admin", "a-wrong-password");
    EXPECT_EQ(service.output().find(service.firstPassword()), std::string::npos);
    EXPECT_EQ(service.output().find("a-wrong-password"), std::string::npos);
}

TEST_F(TheRedfishService, KeepsAccountsAndCertificateOverARestart) {
    ASSERT_EQ(addAccount("looker", "ReadOnly"), 201);
    const std::string certificate = test::readFile(service.certificate());
    service.restart();
    EXPECT_EQ(test::readFile(service.certificate()), certificate);
    EXPECT_EQ(service.askAsStranger("GET", kWebGui, basic("looker")).status, 200);
    EXPECT_EQ(service.output().find("First start"), std::string::npos);
}

TEST_F(TheRedfishService, ResumesAnEventStreamWhereTheClientStopped) {
    ASSERT_EQ(patch(R"({"Theme":"dark"})").status, 200);
    ASSERT_EQ(patch(R"({"Theme":"light"})").status, 200);
    const std::string file = service.folder().file("events");
    const auto count = [&file] {
        const std::string text = test::readFile(file);
        std::size_t events = 0;
        for (std::size_t at = text.find("\nid: "); at != std::string::npos;
             at = text.find("\nid: ", at + 1)) {
            ++events;
        }
        return events;
    };
    const test::ChildProcess listener(
        service.curl("GET", kStream + "?$filter=RegistryPrefix%20eq%20'Orvane'",
                     {"--header", "Last-Event-ID: 0"}),
        {}, file);
    EXPECT_TRUE(test::waitUntil([&] { return count() == 2; })) << test::readFile(file);
    ASSERT_EQ(patch(R"({"Theme":"dark"})").status, 200);
    EXPECT_TRUE(test::waitUntil([&] { return count() == 3; })) << test::readFile(file);
    EXPECT_THAT(test::readFile(file), HasSubstr("Content-Type: text/event-stream"));
    EXPECT_THAT(test::readFile(file), HasSubstr(kWebGui));
}

} // namespace
