// Creating and destroying the settings object: service/process_state.cpp. main_test.cpp covers the
// order of construction.
#include "agent/webgui_agent.h"
#include "tests/service/service_fixture.h"

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ProcessState : public service_test::ServiceTest {};

TEST_F(ProcessState, HasNoAgentUntilOneIsCreated) {
    EXPECT_EQ(G_WebGUIAgent, nullptr);
    EXPECT_EQ(createWebGUIAgent(), 1);
    ASSERT_NE(G_WebGUIAgent, nullptr);
    EXPECT_EQ(G_WebGUIAgent->getLanguage(), "English");
}

TEST_F(ProcessState, HasAnAgentEvenWhenTheDatabaseCannotBeOpened) {
    doubles::database().openResult = -1;
    EXPECT_EQ(createWebGUIAgent(), 1);
    ASSERT_NE(G_WebGUIAgent, nullptr);
    EXPECT_EQ(G_WebGUIAgent->getName(), "");
}

TEST_F(ProcessState, HasNoAgentAfterItsDestruction) {
    startAgent();
    destroyWebGUIAgent();
    EXPECT_EQ(G_WebGUIAgent, nullptr);
    EXPECT_THAT(doubles::calls(), ElementsAre("close_database()"));
}

TEST_F(ProcessState, DestroysNothingWithoutAnAgent) {
    destroyWebGUIAgent();
    EXPECT_EQ(G_WebGUIAgent, nullptr);
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(ProcessState, PassesAnExceptionOfTheConstructorOnAndHasNoAgent) {
    doubles::failAlways("query_database_dat_with_condition");
    doubles::duringPause() = [] { throw std::runtime_error("out of the constructor"); };
    EXPECT_THROW(createWebGUIAgent(), std::runtime_error);
    doubles::duringPause() = nullptr;
    EXPECT_EQ(G_WebGUIAgent, nullptr);
}

TEST(ModelNames, AreACopyOfEachModule) {
    EXPECT_NE(static_cast<const void*>(&G_ModelNames), service_test::otherModelNames());
}

TEST(ModelNames, AreTheTwoUnits) {
    EXPECT_EQ(G_ModelNames.first, "Tinvale");
    EXPECT_EQ(G_ModelNames.second, "Varrow");
}

} // namespace
