#include "redfish/service/account_handlers.h"

#include "redfish/http/entity_tag.h"
#include "redfish/model/addresses.h"
#include "tests/redfish/service/handlers_fixture.h"

#include <filesystem>
#include <future>

namespace {

using redfish::Method;
using redfish::Request;
using redfish::Response;
using redfish::model::Role;

const std::string kAllAccounts(redfish::model::kAccounts);

class TheAccountHandlers : public test::HandlersFixture {
protected:
    Response get(const std::string& path, const std::string& user) {
        return ask(handlers.routes(), Method::get, path, as(user));
    }
    Response post(const std::string& name, const std::string& password = "a-new-password") {
        return send(handlers.routes(), Method::post, kAllAccounts, as("admin"),
                    R"({"UserName":")" + name + R"(","Password":")" + password +
                        R"(","RoleId":"Operator"})");
    }
    Response patch(const std::string& name, std::string_view body,
                   const redfish::Identity& identity, std::string_view ifMatch = {}) {
        Request request;
        request.body = body;
        request.ifMatch = ifMatch;
        return ask(handlers.routes(), Method::patch, kAllAccounts + "/" + name, identity, request);
    }
    Response remove(const std::string& name) {
        return ask(handlers.routes(), Method::remove, kAllAccounts + "/" + name, as("admin"));
    }
    bool isPassword(const std::string& name, const std::string& password) {
        return redfish::isPasswordOf(password, accounts.find(name)->hash);
    }

    redfish::AccountHandlers handlers{accounts, sessions, authenticator, checks, loop.post()};
};

TEST_F(TheAccountHandlers, ShowAUserHisOwnAndAnAdministratorAll) {
    EXPECT_EQ(test::jsonOf(get(kAllAccounts, "worker"))["Members@odata.count"], 1);
    EXPECT_EQ(get(kAllAccounts + "/worker", "worker").status, 200U);
    EXPECT_EQ(get(kAllAccounts + "/admin", "worker").status, 404U);
    EXPECT_EQ(test::jsonOf(get(kAllAccounts, "admin"))["Members@odata.count"], 3);
    EXPECT_EQ(test::jsonOf(get(kAllAccounts + "/worker", "admin"))["RoleId"], "Operator");
    EXPECT_EQ(get(kAllAccounts + "/none", "admin").status, 404U);
}

TEST_F(TheAccountHandlers, CreateAnAccountWithAHashedPassword) {
    const Response response = post("joe");
    EXPECT_EQ(response.status, 201U);
    EXPECT_EQ(test::headerOf(response, "Location"), kAllAccounts + "/joe");
    ASSERT_NE(accounts.find("joe"), nullptr);
    EXPECT_EQ(accounts.find("joe")->role, Role::operatorRole);
    EXPECT_TRUE(isPassword("joe", "a-new-password"));
}

TEST_F(TheAccountHandlers, RefuseWhatCannotBeCreated) {
    EXPECT_EQ(post("joe", "short").status, 400U);
    EXPECT_EQ(post("a/b").status, 400U);
    const Response twice = post("worker");
    EXPECT_EQ(twice.status, 409U);
    EXPECT_EQ(test::messageOf(twice), "ResourceAlreadyExists");
    EXPECT_TRUE(isPassword("worker", kPassword));
    while (accounts.all().size() < redfish::kMaxAccounts) {
        addAccount("n" + std::to_string(accounts.all().size()), Role::readOnly);
    }
    EXPECT_EQ(test::messageOf(post("joe")), "CreateLimitReachedForResource");
}

TEST_F(TheAccountHandlers, AreBusyWhileTooManyPasswordsAreHashed) {
    // Shared: the worker may still be in there when the test has ended.
    const auto begun = std::make_shared<std::promise<void>>();
    std::promise<void> release;
    ASSERT_TRUE(checks.submit([begun, released = release.get_future().share()] {
        begun->set_value();
        released.get();
    }));
    begun->get_future().get();
    while (checks.submit([] {})) {
    }
    const Response response = post("joe");
    EXPECT_EQ(response.status, 503U);
    EXPECT_NE(test::headerOf(response, "Retry-After"), "");
    release.set_value();
}

TEST_F(TheAccountHandlers, EndTheOtherSessionsOfWhoChangesHisPassword) {
    const auto own = signIn("worker");
    const auto other = signIn("worker");
    const Response response =
        patch("worker", R"({"Password":"another-password"})", as("worker", own.id));
    EXPECT_EQ(response.status, 200U);
    EXPECT_NE(test::headerOf(response, "ETag"), "");
    EXPECT_TRUE(isPassword("worker", "another-password"));
    EXPECT_NE(sessions.find(own.id, redfish::Clock::now()), nullptr);
    EXPECT_EQ(sessions.find(other.id, redfish::Clock::now()), nullptr);
}

TEST_F(TheAccountHandlers, LetAUserChangeNothingButHisPassword) {
    for (const char* const body :
         {R"({"RoleId":"Administrator"})", R"({"Enabled":true})", R"({"Locked":false})",
          R"({"Password":"another-password","Enabled":true})"}) {
        const Response response = patch("worker", body, as("worker"));
        EXPECT_EQ(response.status, 403U) << body;
    }
    EXPECT_EQ(patch("looker", R"({"Password":"another-password"})", as("worker")).status, 404U);
    EXPECT_TRUE(isPassword("worker", kPassword));
    EXPECT_EQ(accounts.find("worker")->role, Role::operatorRole);
}

TEST_F(TheAccountHandlers, ChangeRoleAndStateForAnAdministrator) {
    const auto session = signIn("worker");
    EXPECT_EQ(patch("worker", R"({"RoleId":"ReadOnly"})", as("admin")).status, 200U);
    EXPECT_EQ(accounts.find("worker")->role, Role::readOnly);
    EXPECT_NE(sessions.find(session.id, redfish::Clock::now()), nullptr);
    EXPECT_EQ(patch("worker", R"({"Enabled":false})", as("admin")).status, 200U);
    EXPECT_FALSE(accounts.find("worker")->isEnabled);
    EXPECT_EQ(sessions.find(session.id, redfish::Clock::now()), nullptr);
}

TEST_F(TheAccountHandlers, KeepTheLastAdministrator) {
    for (const char* const body : {R"({"RoleId":"Operator"})", R"({"Enabled":false})"}) {
        const Response response = patch("admin", body, as("admin"));
        EXPECT_EQ(response.status, 409U) << body;
        EXPECT_EQ(test::messageOf(response), "LastAdministrator");
    }
    EXPECT_EQ(remove("admin").status, 409U);
    addAccount("second", Role::administrator);
    EXPECT_EQ(remove("admin").status, 200U);
}

TEST_F(TheAccountHandlers, ChangeOnlyTheStateThatIfMatchNames) {
    const std::string tag = test::headerOf(get(kAllAccounts + "/worker", "admin"), "ETag");
    EXPECT_EQ(patch("worker", R"({"Enabled":false})", as("admin"), "\"other\"").status, 412U);
    EXPECT_EQ(patch("worker", R"({"Enabled":false})", as("admin"), "W/" + tag).status, 412U);
    EXPECT_EQ(patch("worker", R"({"Enabled":false})", as("admin"), tag).status, 200U);
    EXPECT_EQ(patch("worker", R"({"Enabled":true})", as("admin"), tag).status, 412U);
}

TEST_F(TheAccountHandlers, RemoveAnAccountWithItsSessions) {
    const auto session = signIn("worker");
    const Response response = remove("worker");
    EXPECT_EQ(response.status, 200U);
    EXPECT_THAT(test::bodyOf(response), testing::HasSubstr("AccountRemoved"));
    EXPECT_EQ(accounts.find("worker"), nullptr);
    EXPECT_EQ(sessions.find(session.id, redfish::Clock::now()), nullptr);
    EXPECT_EQ(remove("worker").status, 404U);
}

TEST_F(TheAccountHandlers, FailWhereTheFileCannotBeWritten) {
    std::filesystem::remove_all(folder.path());
    EXPECT_EQ(post("joe").status, 500U);
    EXPECT_EQ(patch("worker", R"({"Enabled":false})", as("admin")).status, 500U);
    EXPECT_EQ(remove("worker").status, 500U);
    EXPECT_EQ(accounts.find("joe"), nullptr);
    EXPECT_TRUE(accounts.find("worker")->isEnabled);
}

} // namespace
